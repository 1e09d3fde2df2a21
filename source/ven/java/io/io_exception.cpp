// The java/io/IOException unit: the throwable pattern over its own class.
#include "ven/java/class_unit.hpp"
#include "ven/java/io/io_exception.h"

extern "C" {

VEN_DEFINE_THROWABLE_UNIT(venIOExceptionGetClass, venIOExceptionIsInstance, venIOExceptionThrowUseMessageCstr,
                          venIOExceptionThrowUseMessage, venIOExceptionThrowUseMessageFormatCstr,
                          "java/io/IOException")

} // extern "C"
