// Integration field access: lookups, the 36 readers and writers of instance and static
// fields, and the string fields composed of the object accessors and the String unit.
#include <type_traits>

#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/fields.h"
#include "ven/integration.h"
#include "ven/integration/convention.hpp"
#include "ven/integration/field_table.hpp"
#include "ven/integration/members.hpp"
#include "ven/integration/settled.hpp"
#include "ven/java/lang/string.h"
#include "ven/wrapper.h"
#include "ven/wrapper/settled.hpp"

namespace ven::integration
{
namespace
{

// The writer's range test of a value type, with the condition text it reports.
struct Unchecked {
    template <typename Ven> static Requirement test(Ven) { return {true, ""}; }
};
struct CharRange {
    static Requirement test(KS_CHAR value)
    {
        return VEN_RANGE_REQUIREMENT(VEN_KS_CHAR_TO_JCHAR_CONV_OK, value);
    }
};
struct ShortRange {
    static Requirement test(KS_INT value)
    {
        return VEN_RANGE_REQUIREMENT(VEN_KS_INT_TO_JSHORT_CONV_OK, value);
    }
};
struct IntRange {
    static Requirement test(KS_INT value) { return VEN_RANGE_REQUIREMENT(VEN_KS_INT_TO_JINT_CONV_OK, value); }
};

// Field accesses detect no failure after the call: the wrapper stops the process if the
// JNI call raised. An object reader replaces the reference *result held.
template <auto Read, typename Jni, typename Target>
KS_BOOL readField(const char* function, VenValue<Jni>* result, JNIEnv* env, lgStream* trace, Target target,
                  jfieldID fieldID)
{
    if (!checkArguments(env, trace, function,
                        {{result != nullptr, "result != NULL"}, notNull(target), notNull(fieldID)})) {
        return KS_FALSE;
    }
    if constexpr (std::is_same_v<Jni, jobject>) {
        deliverLocalRef(env, result, Read(env, target, fieldID));
    } else {
        *result = Value<Jni>::toVen(Read(env, target, fieldID));
    }
    return KS_TRUE;
}

template <auto Write, typename Jni, typename Range, typename Target>
KS_BOOL writeField(const char* function, JNIEnv* env, lgStream* trace, Target target, jfieldID fieldID,
                   VenValue<Jni> value)
{
    if (!checkArguments(env, trace, function, {notNull(target), notNull(fieldID), Range::test(value)})) {
        return KS_FALSE;
    }
    Write(env, target, fieldID, Value<Jni>::toJni(value));
    return KS_TRUE;
}

// The Java string is read first, through the object reader and under its name.
template <auto ReadObject, typename Target>
KS_BOOL readStringField(ksString** result, JNIEnv* env, lgStream* trace, Target target, jfieldID fieldID)
{
    return composed(env, [&]<typename Path>() {
        return deliverText<Path>(result, env, trace, [&](jobject* string) {
            return Path::template call<ReadObject>(string, env, trace, target, fieldID);
        });
    });
}

// The Java string is made before the target and the field ID are tested by the object writer.
template <auto WriteObject, typename Target>
KS_BOOL writeStringField(JNIEnv* env, lgStream* trace, Target target, jfieldID fieldID, ksString* value)
{
    return composed(env, [&]<typename Path>() {
        jstring string = nullptr;
        KS_BOOL ok = Path::fromKsString(&string, env, trace, value);
        if (ok) {
            ok = Path::template call<WriteObject>(env, trace, target, fieldID, string);
        }
        deleteLocal(env, string);
        return ok;
    });
}

} // namespace

} // namespace ven::integration

using namespace ven::integration;

// One definition per kind: `function` is the name defined, `reported` the name that argument
// failures are reported under (the exported name, also for a settled twin).
#define VEN_DEFINE_FIELD_Get(function, reported, callee, target, Ven, Jni, Range)                            \
    KS_BOOL function(Ven* result, JNIEnv* env, lgStream* trace, VEN_FIELD_TARGET_##target, jfieldID fieldID) \
    {                                                                                                        \
        return readField<callee, Jni>(#reported, result, env, trace, target, fieldID);                       \
    }
#define VEN_DEFINE_FIELD_Set(function, reported, callee, target, Ven, Jni, Range)                            \
    KS_BOOL function(JNIEnv* env, lgStream* trace, VEN_FIELD_TARGET_##target, jfieldID fieldID, Ven value)   \
    {                                                                                                        \
        return writeField<callee, Jni, Range>(#reported, env, trace, target, fieldID, value);                \
    }
#define VEN_DEFINE_FIELD_GetString(function, reported, callee, target, Ven, Jni, Range)                      \
    KS_BOOL function(Ven* result, JNIEnv* env, lgStream* trace, VEN_FIELD_TARGET_##target, jfieldID fieldID) \
    {                                                                                                        \
        return readStringField<callee>(result, env, trace, target, fieldID);                                 \
    }
#define VEN_DEFINE_FIELD_SetString(function, reported, callee, target, Ven, Jni, Range)                      \
    KS_BOOL function(JNIEnv* env, lgStream* trace, VEN_FIELD_TARGET_##target, jfieldID fieldID, Ven value)   \
    {                                                                                                        \
        return writeStringField<callee>(env, trace, target, fieldID, value);                                 \
    }
#define VEN_DEFINE_FIELD(kind, name, callee, target, Ven, Jni, Range)                                        \
    extern "C" VEN_DEFINE_FIELD_##kind(name, name, callee, target, Ven, Jni, Range)
#define VEN_DEFINE_SETTLED_FIELD(twin, exported, wrapperTwin, kind, target, Ven, Jni, Range)                 \
    VEN_DEFINE_FIELD_##kind(settled::twin, exported, ven::wrapper::settled::wrapperTwin, target, Ven, Jni,   \
                            Range)

VEN_SETTLED_FIELDS(VEN_DEFINE_SETTLED_FIELD)
VEN_FIELD_FUNCTIONS(VEN_DEFINE_FIELD)

extern "C" KS_BOOL venGetFieldID(jfieldID* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                 const char* name, const char* sig)
{
    return lookUpMember<ven___GetFieldID>("venGetFieldID", result, env, trace, clazz, name, sig);
}

extern "C" KS_BOOL venGetStaticFieldID(jfieldID* result, JNIEnv* env, lgStream* trace, jclass clazz,
                                       const char* name, const char* sig)
{
    return lookUpMember<ven___GetStaticFieldID>("venGetStaticFieldID", result, env, trace, clazz, name, sig);
}
