// The rows of the java/lang throwable units, shared by throwables.cpp and the sweep suite.
#pragma once

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
