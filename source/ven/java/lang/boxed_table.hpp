// The rows of the boxed class units and boxing functions, shared by boxed.cpp and the sweep suite.
#pragma once

#define VEN_BOXED_CLASSES(X)                                                                                 \
    X(venBooleanGetClass, venBooleanIsInstance, "java/lang/Boolean")                                         \
    X(venDoubleGetClass, venDoubleIsInstance, "java/lang/Double")                                            \
    X(venLongGetClass, venLongIsInstance, "java/lang/Long")                                                  \
    X(venObjectGetClass, venObjectIsInstance, "java/lang/Object")

// One row per function: exported name, class lookup, signature of valueOf, value type, JNI type.
#define VEN_BOXING_FUNCTIONS(X)                                                                              \
    X(venBooleanValueOf, venBooleanGetClass, "(Z)Ljava/lang/Boolean;", KS_BOOL, jboolean)                    \
    X(venDoubleValueOf, venDoubleGetClass, "(D)Ljava/lang/Double;", double, jdouble)                         \
    X(venLongValueOf, venLongGetClass, "(J)Ljava/lang/Long;", KS_INT, jlong)
