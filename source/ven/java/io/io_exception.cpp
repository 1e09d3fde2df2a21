// The java/io/IOException unit: the throwable pattern over its own class.
#include <cstdarg>

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/export.h"
#include "ven/integration.h"
#include "ven/java/class_unit.hpp"
#include "ven/java/io/io_exception.h"

extern "C" {

VEN_DEFINE_THROWABLE_UNIT(venIOExceptionGetClass, venIOExceptionIsInstance, venIOExceptionThrowUseMessageCstr,
                          venIOExceptionThrowUseMessage, venIOExceptionThrowUseMessageFormatCstr,
                          "java/io/IOException")

} // extern "C"
