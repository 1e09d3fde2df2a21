/* ven: native modules' access to the Java virtual machine they run in.
 * The umbrella header: the whole public surface, with the ks and lg types. */
#ifndef VEN_VEN_H
#define VEN_VEN_H

#include "ven/frame.h"
#include "ven/wrapper.h"
#include "ven/integration.h"
#include "ven/strings.h"
#include "ven/fields.h"
#include "ven/methods.h"
#include "ven/arrays.h"
#include "ven/bridges.h"
#include "ven/java/lang/string.h"
#include "ven/java/lang/throwables.h"
#include "ven/java/io/io_exception.h"
#include "ven/java/lang/boxed.h"
#include "ven/java/util/collections.h"

#endif
