// Wrappers for method lookups (checked-result calls) and the 90 call wrappers (flagged
// calls), one table row per result type. A variadic form runs its V twin's code with the
// V twin's lines.
#include <cstdarg>

#include <jni.h>

#include "ven/wrapper.h"
#include "ven/wrapper/convention.hpp"
#include "ven/wrapper/settled.hpp"

using namespace ven::wrapper;

// X(Type, type, shape, virtual A, virtual V, nonvirtual A, nonvirtual V, static A, static V):
// the line of each wrapper's "env" check; "obj" and/or "clazz", then "methodID" follow on the
// next lines, and `args` is not checked. The shape says how the result is handed over: VOID
// none, VALUE stored, REFERENCE stored by the A forms and replaced by the V and variadic forms.
// clang-format off
#define VEN_CALL_TYPES(X)                                                                                    \
    X(Void,    void,     VOID,      1119, 1443, 1879, 2213, 3106, 3430)                                      \
    X(Object,  jobject,  REFERENCE, 1147, 1471, 1908, 2242, 3134, 3458)                                      \
    X(Boolean, jboolean, VALUE,     1180, 1504, 1942, 2276, 3167, 3491)                                      \
    X(Byte,    jbyte,    VALUE,     1213, 1537, 1976, 2310, 3200, 3524)                                      \
    X(Char,    jchar,    VALUE,     1246, 1570, 2010, 2344, 3233, 3557)                                      \
    X(Short,   jshort,   VALUE,     1279, 1603, 2044, 2378, 3266, 3590)                                      \
    X(Int,     jint,     VALUE,     1312, 1636, 2078, 2412, 3299, 3623)                                      \
    X(Long,    jlong,    VALUE,     1345, 1669, 2112, 2446, 3332, 3656)                                      \
    X(Float,   jfloat,   VALUE,     1378, 1702, 2146, 2480, 3365, 3689)                                      \
    X(Double,  jdouble,  VALUE,     1411, 1735, 2180, 2514, 3398, 3722)

// What each call kind takes between `env` and `methodID`, and the checks of those arguments.
#define VEN_TARGET_PARAMS_VIRTUAL jobject obj
#define VEN_TARGET_ARGS_VIRTUAL obj
#define VEN_TARGET_CHECKS_VIRTUAL {obj, "obj"}
#define VEN_TARGET_PARAMS_NONVIRTUAL jobject obj, jclass clazz
#define VEN_TARGET_ARGS_NONVIRTUAL obj, clazz
#define VEN_TARGET_CHECKS_NONVIRTUAL {obj, "obj"}, {clazz, "clazz"}
#define VEN_TARGET_PARAMS_STATIC jclass clazz
#define VEN_TARGET_ARGS_STATIC clazz
#define VEN_TARGET_CHECKS_STATIC {clazz, "clazz"}

#define VEN_DEFINE_CALLS(Type, type, shape, virtualA, virtualV, nonvirtualA, nonvirtualV, staticA, staticV)  \
    VEN_DEFINE_FORMS_##shape(, VIRTUAL, Type, type, virtualA, virtualV)                                      \
    VEN_DEFINE_FORMS_##shape(Nonvirtual, NONVIRTUAL, Type, type, nonvirtualA, nonvirtualV)                   \
    VEN_DEFINE_FORMS_##shape(Static, STATIC, Type, type, staticA, staticV)
#define VEN_DEFINE_CALL_ROWS(Type, type, shape, virtualA, virtualV, nonvirtualA, nonvirtualV, staticA, staticV) \
    VEN_DEFINE_ROWS_##shape(, VIRTUAL, Type, type, virtualV)                                                 \
    VEN_DEFINE_ROWS_##shape(Nonvirtual, NONVIRTUAL, Type, type, nonvirtualV)                                 \
    VEN_DEFINE_ROWS_##shape(Static, STATIC, Type, type, staticV)

// clang-format on

// The va_list form of a call with a value is a template over the guard (SavedException for the
// exported wrappers, NothingPending for the settled twins); its variadic twin shares it.
#define VEN_DEFINE_ROWS_VALUE(Kind, KIND, Type, type, lineV)                                                 \
    VEN_DEFINE_V_ROW(Kind, KIND, Type, type, Delivery::store, lineV)
#define VEN_DEFINE_ROWS_REFERENCE(Kind, KIND, Type, type, lineV)                                             \
    VEN_DEFINE_V_ROW(Kind, KIND, Type, type, Delivery::replace, lineV)
#define VEN_DEFINE_ROWS_VOID(Kind, KIND, Type, type, lineV)
#define VEN_DEFINE_V_ROW(Kind, KIND, Type, type, vDelivery, lineV)                                           \
    template <typename Guard>                                                                                \
    jboolean Call##Kind##Type##MethodV(type* result, JNIEnv* env, VEN_TARGET_PARAMS_##KIND,                  \
                                       jmethodID methodID, va_list args)                                     \
    {                                                                                                        \
        checkRequired(lineV, {{env, "env"}, VEN_TARGET_CHECKS_##KIND, {methodID, "methodID"}});              \
        return flaggedValue<&Jni::Call##Kind##Type##MethodV, vDelivery, Guard>(                              \
            result, env, VEN_TARGET_ARGS_##KIND, methodID, args);                                            \
    }

#define VEN_DEFINE_FORMS_VALUE(Kind, KIND, Type, type, lineA, lineV)                                         \
    VEN_DEFINE_VALUE_FORMS(Kind, KIND, Type, type, Delivery::store, lineA, lineV)
#define VEN_DEFINE_FORMS_REFERENCE(Kind, KIND, Type, type, lineA, lineV)                                     \
    VEN_DEFINE_VALUE_FORMS(Kind, KIND, Type, type, Delivery::replace, lineA, lineV)

// The A, V and variadic wrappers of one call kind and one result type with a value.
#define VEN_DEFINE_VALUE_FORMS(Kind, KIND, Type, type, vDelivery, lineA, lineV)                              \
    VEN_API jboolean ven___Call##Kind##Type##MethodA(type* result, JNIEnv* env, VEN_TARGET_PARAMS_##KIND,    \
                                                     jmethodID methodID, const jvalue* args)                 \
    {                                                                                                        \
        checkRequired(lineA, {{env, "env"}, VEN_TARGET_CHECKS_##KIND, {methodID, "methodID"}});              \
        return flaggedValue<&Jni::Call##Kind##Type##MethodA, Delivery::store>(                               \
            result, env, VEN_TARGET_ARGS_##KIND, methodID, args);                                            \
    }                                                                                                        \
    VEN_API jboolean ven___Call##Kind##Type##MethodV(type* result, JNIEnv* env, VEN_TARGET_PARAMS_##KIND,    \
                                                     jmethodID methodID, va_list args)                       \
    {                                                                                                        \
        return rows::Call##Kind##Type##MethodV<SavedException>(result, env, VEN_TARGET_ARGS_##KIND,          \
                                                               methodID, args);                              \
    }                                                                                                        \
    VEN_API jboolean ven___Call##Kind##Type##Method(type* result, JNIEnv* env, VEN_TARGET_PARAMS_##KIND,     \
                                                    jmethodID methodID, ...)                                 \
    {                                                                                                        \
        va_list args;                                                                                        \
        va_start(args, methodID);                                                                            \
        jboolean succeeded = rows::Call##Kind##Type##MethodV<SavedException>(                                \
            result, env, VEN_TARGET_ARGS_##KIND, methodID, args);                                            \
        va_end(args);                                                                                        \
        return succeeded;                                                                                    \
    }

// The same for Void: no result, only the flag.
#define VEN_DEFINE_FORMS_VOID(Kind, KIND, Type, type, lineA, lineV)                                          \
    VEN_API jboolean ven___Call##Kind##Type##MethodA(JNIEnv* env, VEN_TARGET_PARAMS_##KIND,                  \
                                                     jmethodID methodID, const jvalue* args)                 \
    {                                                                                                        \
        checkRequired(lineA, {{env, "env"}, VEN_TARGET_CHECKS_##KIND, {methodID, "methodID"}});              \
        return flagged<&Jni::Call##Kind##Type##MethodA>(env, VEN_TARGET_ARGS_##KIND, methodID, args);        \
    }                                                                                                        \
    VEN_API jboolean ven___Call##Kind##Type##MethodV(JNIEnv* env, VEN_TARGET_PARAMS_##KIND,                  \
                                                     jmethodID methodID, va_list args)                       \
    {                                                                                                        \
        checkRequired(lineV, {{env, "env"}, VEN_TARGET_CHECKS_##KIND, {methodID, "methodID"}});              \
        return flagged<&Jni::Call##Kind##Type##MethodV>(env, VEN_TARGET_ARGS_##KIND, methodID, args);        \
    }                                                                                                        \
    VEN_API jboolean ven___Call##Kind##Type##Method(JNIEnv* env, VEN_TARGET_PARAMS_##KIND,                   \
                                                    jmethodID methodID, ...)                                 \
    {                                                                                                        \
        va_list args;                                                                                        \
        va_start(args, methodID);                                                                            \
        checkRequired(lineV, {{env, "env"}, VEN_TARGET_CHECKS_##KIND, {methodID, "methodID"}});              \
        jboolean succeeded =                                                                                 \
            flagged<&Jni::Call##Kind##Type##MethodV>(env, VEN_TARGET_ARGS_##KIND, methodID, args);           \
        va_end(args);                                                                                        \
        return succeeded;                                                                                    \
    }

namespace ven::wrapper
{

namespace rows
{

VEN_CALL_TYPES(VEN_DEFINE_CALL_ROWS)

template <typename Guard> jmethodID GetMethodID(JNIEnv* env, jclass clazz, const char* name, const char* sig)
{
    checkRequired(971, {{env, "env"}, {clazz, "clazz"}, {name, "name"}, {sig, "sig"}});
    return checkedResult<&Jni::GetMethodID, Guard>(env, {986, VEN_NULL_RESULT_MESSAGE(GetMethodID)}, clazz,
                                                   name, sig);
}

template <typename Guard>
jmethodID GetStaticMethodID(JNIEnv* env, jclass clazz, const char* name, const char* sig)
{
    checkRequired(2965, {{env, "env"}, {clazz, "clazz"}, {name, "name"}, {sig, "sig"}});
    return checkedResult<&Jni::GetStaticMethodID, Guard>(
        env, {2980, VEN_NULL_RESULT_MESSAGE(GetStaticMethodID)}, clazz, name, sig);
}

} // namespace rows

jmethodID settled::GetMethodID(JNIEnv* env, jclass clazz, const char* name, const char* sig)
{
    return rows::GetMethodID<NothingPending>(env, clazz, name, sig);
}

jmethodID settled::GetStaticMethodID(JNIEnv* env, jclass clazz, const char* name, const char* sig)
{
    return rows::GetStaticMethodID<NothingPending>(env, clazz, name, sig);
}

// The va_list calls that composed operations make (the string forms, the class support units),
// each its row's template with no query before the call.
#define VEN_DEFINE_SETTLED_CALL(Kind, KIND, Type, type)                                                      \
    jboolean settled::Call##Kind##Type##MethodV(type* result, JNIEnv* env, VEN_TARGET_PARAMS_##KIND,         \
                                                jmethodID methodID, va_list args)                            \
    {                                                                                                        \
        return rows::Call##Kind##Type##MethodV<NothingPending>(result, env, VEN_TARGET_ARGS_##KIND,          \
                                                               methodID, args);                              \
    }
VEN_DEFINE_SETTLED_CALL(, VIRTUAL, Object, jobject)
VEN_DEFINE_SETTLED_CALL(Nonvirtual, NONVIRTUAL, Object, jobject)
VEN_DEFINE_SETTLED_CALL(Static, STATIC, Object, jobject)
VEN_DEFINE_SETTLED_CALL(, VIRTUAL, Int, jint)
VEN_DEFINE_SETTLED_CALL(, VIRTUAL, Boolean, jboolean)
#undef VEN_DEFINE_SETTLED_CALL

} // namespace ven::wrapper

extern "C" {

VEN_API jmethodID ven___GetMethodID(JNIEnv* env, jclass clazz, const char* name, const char* sig)
{
    return rows::GetMethodID<SavedException>(env, clazz, name, sig);
}

VEN_API jmethodID ven___GetStaticMethodID(JNIEnv* env, jclass clazz, const char* name, const char* sig)
{
    return rows::GetStaticMethodID<SavedException>(env, clazz, name, sig);
}

VEN_CALL_TYPES(VEN_DEFINE_CALLS)

} // extern "C"
