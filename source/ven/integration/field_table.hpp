// The rows of the field family, shared by fields.cpp and the sweep suite.
#pragma once

// One row per function: kind, exported name, the function it calls, target parameter,
// value type, JNI type, range test of a written value (readers have none).
#define VEN_FIELD_FUNCTIONS(X)                                                                               \
    X(Get, venGetObjectField, ven___GetObjectField, obj, jobject, jobject, Unchecked)                        \
    X(Get, venGetBooleanField, ven___GetBooleanField, obj, KS_BOOL, jboolean, Unchecked)                     \
    X(Get, venGetByteField, ven___GetByteField, obj, jbyte, jbyte, Unchecked)                                \
    X(Get, venGetCharField, ven___GetCharField, obj, KS_CHAR, jchar, Unchecked)                              \
    X(Get, venGetShortField, ven___GetShortField, obj, KS_INT, jshort, Unchecked)                            \
    X(Get, venGetIntField, ven___GetIntField, obj, KS_INT, jint, Unchecked)                                  \
    X(Get, venGetLongField, ven___GetLongField, obj, KS_INT, jlong, Unchecked)                               \
    X(Get, venGetFloatField, ven___GetFloatField, obj, double, jfloat, Unchecked)                            \
    X(Get, venGetDoubleField, ven___GetDoubleField, obj, double, jdouble, Unchecked)                         \
    X(Get, venGetStaticObjectField, ven___GetStaticObjectField, clazz, jobject, jobject, Unchecked)          \
    X(Get, venGetStaticBooleanField, ven___GetStaticBooleanField, clazz, KS_BOOL, jboolean, Unchecked)       \
    X(Get, venGetStaticByteField, ven___GetStaticByteField, clazz, jbyte, jbyte, Unchecked)                  \
    X(Get, venGetStaticCharField, ven___GetStaticCharField, clazz, KS_CHAR, jchar, Unchecked)                \
    X(Get, venGetStaticShortField, ven___GetStaticShortField, clazz, KS_INT, jshort, Unchecked)              \
    X(Get, venGetStaticIntField, ven___GetStaticIntField, clazz, KS_INT, jint, Unchecked)                    \
    X(Get, venGetStaticLongField, ven___GetStaticLongField, clazz, KS_INT, jlong, Unchecked)                 \
    X(Get, venGetStaticFloatField, ven___GetStaticFloatField, clazz, double, jfloat, Unchecked)              \
    X(Get, venGetStaticDoubleField, ven___GetStaticDoubleField, clazz, double, jdouble, Unchecked)           \
    X(Set, venSetObjectField, ven___SetObjectField, obj, jobject, jobject, Unchecked)                        \
    X(Set, venSetBooleanField, ven___SetBooleanField, obj, KS_BOOL, jboolean, Unchecked)                     \
    X(Set, venSetByteField, ven___SetByteField, obj, jbyte, jbyte, Unchecked)                                \
    X(Set, venSetCharField, ven___SetCharField, obj, KS_CHAR, jchar, CharRange)                              \
    X(Set, venSetShortField, ven___SetShortField, obj, KS_INT, jshort, ShortRange)                           \
    X(Set, venSetIntField, ven___SetIntField, obj, KS_INT, jint, IntRange)                                   \
    X(Set, venSetLongField, ven___SetLongField, obj, KS_INT, jlong, Unchecked)                               \
    X(Set, venSetFloatField, ven___SetFloatField, obj, double, jfloat, Unchecked)                            \
    X(Set, venSetDoubleField, ven___SetDoubleField, obj, double, jdouble, Unchecked)                         \
    X(Set, venSetStaticObjectField, ven___SetStaticObjectField, clazz, jobject, jobject, Unchecked)          \
    X(Set, venSetStaticBooleanField, ven___SetStaticBooleanField, clazz, KS_BOOL, jboolean, Unchecked)       \
    X(Set, venSetStaticByteField, ven___SetStaticByteField, clazz, jbyte, jbyte, Unchecked)                  \
    X(Set, venSetStaticCharField, ven___SetStaticCharField, clazz, KS_CHAR, jchar, CharRange)                \
    X(Set, venSetStaticShortField, ven___SetStaticShortField, clazz, KS_INT, jshort, ShortRange)             \
    X(Set, venSetStaticIntField, ven___SetStaticIntField, clazz, KS_INT, jint, IntRange)                     \
    X(Set, venSetStaticLongField, ven___SetStaticLongField, clazz, KS_INT, jlong, Unchecked)                 \
    X(Set, venSetStaticFloatField, ven___SetStaticFloatField, clazz, double, jfloat, Unchecked)              \
    X(Set, venSetStaticDoubleField, ven___SetStaticDoubleField, clazz, double, jdouble, Unchecked)           \
    X(GetString, venGetStringField, venGetObjectField, obj, ksString*, jobject, Unchecked)                   \
    X(GetString, venGetStaticStringField, venGetStaticObjectField, clazz, ksString*, jobject, Unchecked)     \
    X(SetString, venSetStringField, venSetObjectField, obj, ksString*, jobject, Unchecked)                   \
    X(SetString, venSetStaticStringField, venSetStaticObjectField, clazz, ksString*, jobject, Unchecked)

// The target parameter of each kind.
#define VEN_FIELD_TARGET_obj jobject obj
#define VEN_FIELD_TARGET_clazz jclass clazz

// The accesses that composed operations make, which have settled twins (settled.hpp): twin,
// exported function, the wrapper's settled twin it calls, then the columns of its row above.
#define VEN_SETTLED_FIELDS(X)                                                                                \
    X(getObjectField, venGetObjectField, GetObjectField, Get, obj, jobject, jobject, Unchecked)              \
    X(getStaticObjectField, venGetStaticObjectField, GetStaticObjectField, Get, clazz, jobject, jobject,     \
      Unchecked)                                                                                             \
    X(setObjectField, venSetObjectField, SetObjectField, Set, obj, jobject, jobject, Unchecked)              \
    X(setStaticObjectField, venSetStaticObjectField, SetStaticObjectField, Set, clazz, jobject, jobject,     \
      Unchecked)
