// ven for C++: the C API (ven/ven.h) with owning handles, a call context and signatures
// computed from C++ types. Header-only; every operation is a call of the C API underneath,
// and no C++ exception leaves these headers.
#ifndef VEN_VEN_HPP
#define VEN_VEN_HPP

#include "ven/context.hpp"
#include "ven/handles.hpp"
#include "ven/signature.hpp"
#include "ven/ven.h"

#endif
