// The java/lang throwable units. IllegalArgumentException's lookup and C-string throw
// are the argument failure of every integration function.
#include "ven/java/lang/throwables.h"
#include "ven/java/class_unit.hpp"
#include "ven/java/lang/throwable_table.hpp"

VEN_THROWABLE_UNITS(VEN_DEFINE_THROWABLE_UNIT)
VEN_THROWABLE_UNITS_MESSAGE_FIRST(VEN_DEFINE_THROWABLE_UNIT_MESSAGE_FIRST)
