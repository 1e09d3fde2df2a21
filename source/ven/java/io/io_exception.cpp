// The java/io/IOException unit: the throwable pattern over its own class.
#include "ven/java/io/io_exception.h"
#include "ven/java/class_unit.hpp"

VEN_DEFINE_THROWABLE_UNIT(venIOExceptionGetClass, venIOExceptionIsInstance, venIOExceptionThrowUseMessageCstr,
                          venIOExceptionThrowUseMessage, venIOExceptionThrowUseMessageFormatCstr,
                          "java/io/IOException")
