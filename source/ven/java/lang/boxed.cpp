// The Boolean, Double, Long and Object class support units: class lookup, instance test,
// boxing through the class's own static valueOf, and the text of any object.
#include <jni.h>

#include "ks/ks.h"
#include "lg/lg.h"
#include "ven/integration/convention.hpp"
#include "ven/integration/members.hpp"
#include "ven/java/class_unit.hpp"
#include "ven/java/lang/boxed.h"
#include "ven/java/lang/boxed_table.hpp"
#include "ven/methods.h"

using namespace ven::integration;
using namespace ven::java;

VEN_BOXED_CLASSES(VEN_DEFINE_CLASS_UNIT)

namespace
{

// No tests of its own: a NULL result is reported by venCallStaticObjectMethod, after the
// class and the method have been looked up.
template <auto GetClass, typename Jni>
KS_BOOL box(jobject* result, JNIEnv* env, lgStream* trace, const char* sig, VenValue<Jni> value)
{
    return callOnUnitClass<GetClass, venGetStaticMethodID>(
        env, trace, "valueOf", sig, [&]<typename Path>(jclass clazz, jmethodID valueOf) {
            return Path::template call<venCallStaticObjectMethod>(result, env, trace, clazz, valueOf,
                                                                  Value<Jni>::toJni(value));
        });
}

} // namespace

#define VEN_DEFINE_BOXING(name, getClass, sig, Ven, Jni)                                                     \
    extern "C" KS_BOOL name(jobject* result, JNIEnv* env, lgStream* trace, Ven value)                        \
    {                                                                                                        \
        return box<getClass, Jni>(result, env, trace, sig, value);                                           \
    }

VEN_BOXING_FUNCTIONS(VEN_DEFINE_BOXING)

// toString is looked up on the object's own class and its text converted by the string call.
extern "C" KS_BOOL venObjectToString(ksString** result, JNIEnv* env, lgStream* trace, jobject obj)
{
    if (!checkArguments(
            env, trace, "venObjectToString",
            {{result != nullptr, "result != ((void *)0)"}, {obj != nullptr, "obj != ((void *)0)"}})) {
        return KS_FALSE;
    }
    return callOnObjectClass(
        env, trace, obj, "toString", "()Ljava/lang/String;", [&]<typename Path>(jclass, jmethodID toString) {
            return Path::template call<venCallStringMethod>(result, env, trace, obj, toString);
        });
}
