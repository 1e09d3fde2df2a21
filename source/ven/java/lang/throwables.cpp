// The java/lang throwable units. IllegalArgumentException's lookup and C-string throw
// are the argument failure of every integration function.
#include "java/lang/class_unit.hpp"

#define VEN_THROWABLE_UNITS(X)                                                                               \
    X(venAssertionErrorGetClass, venAssertionErrorIsInstance, venAssertionErrorThrowUseMessageCstr,          \
      venAssertionErrorThrowUseMessage, venAssertionErrorThrowUseMessageFormatCstr,                          \
      "java/lang/AssertionError")                                                                            \
    X(venIllegalArgumentExceptionGetClass, venIllegalArgumentExceptionIsInstance,                            \
      venIllegalArgumentExceptionThrowUseMessageCstr, venIllegalArgumentExceptionThrowUseMessage,            \
      venIllegalArgumentExceptionThrowUseMessageFormatCstr, "java/lang/IllegalArgumentException")            \
    X(venIllegalStateExceptionGetClass, venIllegalStateExceptionIsInstance,                                  \
      venIllegalStateExceptionThrowUseMessageCstr, venIllegalStateExceptionThrowUseMessage,                  \
      venIllegalStateExceptionThrowUseMessageFormatCstr, "java/lang/IllegalStateException")

#define VEN_THROWABLE_UNITS_MESSAGE_FIRST(X)                                                                 \
    X(venErrorGetClass, venErrorIsInstance, venErrorThrowUseMessage, "java/lang/Error")                      \
    X(venRuntimeExceptionGetClass, venRuntimeExceptionIsInstance, venRuntimeExceptionThrowUseMessage,        \
      "java/lang/RuntimeException")

extern "C" {

VEN_THROWABLE_UNITS(VEN_DEFINE_THROWABLE_UNIT)
VEN_THROWABLE_UNITS_MESSAGE_FIRST(VEN_DEFINE_THROWABLE_UNIT_MESSAGE_FIRST)

} // extern "C"
