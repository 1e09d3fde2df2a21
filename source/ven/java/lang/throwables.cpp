// The java/lang throwable units. IllegalArgumentException's lookup and C-string throw
// are the argument failure of every integration function.
#include <cstdarg>

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/export.h"
#include "ven/integration.h"
#include "ven/java/class_unit.hpp"
#include "ven/java/lang/throwable_table.hpp"
#include "ven/java/lang/throwables.h"

extern "C" {

VEN_THROWABLE_UNITS(VEN_DEFINE_THROWABLE_UNIT)
VEN_THROWABLE_UNITS_MESSAGE_FIRST(VEN_DEFINE_THROWABLE_UNIT_MESSAGE_FIRST)

} // extern "C"
