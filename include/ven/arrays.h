/* (filled in by the unit that owns it) */
#ifndef VEN_ARRAYS_H
#define VEN_ARRAYS_H

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/export.h"

VEN_EXTERN_C_BEGIN

VEN_EXTERN_C_END

#endif
