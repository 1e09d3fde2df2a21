// The six throwable units, one row each: class lookup, instance test, and every throw form
// with its message, argument order and trace line, with the class found and not found.
#include <functional>
#include <string>
#include <vector>

#include "core_test.hpp"

namespace
{

using namespace ven::core_test;

struct ThrowableUnit {
    const char* className;
    const char* javaName;
    bool unchecked;
    KS_BOOL (*getClass)(jclass*, JNIEnv*, lgStream*);
    KS_BOOL (*isInstance)(KS_BOOL*, JNIEnv*, lgStream*, jobject);
    KS_BOOL (*throwCstr)(JNIEnv*, lgStream*, const char* methodName, const char* message);
    KS_BOOL (*throwKsString)(JNIEnv*, lgStream*, const char*, ksString*);
    KS_BOOL (*throwFormat)(JNIEnv*, lgStream*, const char*, const char*, KS_INT, ...);
};

// clang-format off
#define THROWABLE_UNIT(unit, className, javaName, unchecked)                                                  \
    ThrowableUnit{className, javaName, unchecked, ven##unit##GetClass, ven##unit##IsInstance,                 \
                  ven##unit##ThrowUseMessageCstr, ven##unit##ThrowUseMessage, ven##unit##ThrowUseMessageFormatCstr}
// Error and RuntimeException take (message, methodName) and have no other throw forms.
#define SMALL_THROWABLE_UNIT(unit, className, javaName)                                                       \
    ThrowableUnit{className, javaName, true, ven##unit##GetClass, ven##unit##IsInstance,                      \
                  [](JNIEnv* e, lgStream* t, const char* name, const char* message) {                         \
                      return ven##unit##ThrowUseMessage(e, t, message, name); }, nullptr, nullptr}

const ThrowableUnit kUnits[] = {
    THROWABLE_UNIT(IOException, "java/io/IOException", "java.io.IOException", false),
    THROWABLE_UNIT(AssertionError, "java/lang/AssertionError", "java.lang.AssertionError", true),
    SMALL_THROWABLE_UNIT(Error, "java/lang/Error", "java.lang.Error"),
    THROWABLE_UNIT(IllegalArgumentException, "java/lang/IllegalArgumentException", "java.lang.IllegalArgumentException", true),
    THROWABLE_UNIT(IllegalStateException, "java/lang/IllegalStateException", "java.lang.IllegalStateException", true),
    SMALL_THROWABLE_UNIT(RuntimeException, "java/lang/RuntimeException", "java.lang.RuntimeException"),
};
// clang-format on

using Throwables = JvmTest;

// The lookup gives the class; the instance test knows instances, subclasses and strangers.
TEST_F(Throwables, LookupAndInstanceTest)
{
    jobject stranger = jstr(env, "not a throwable");
    for (const ThrowableUnit& unit : kUnits) {
        SCOPED_TRACE(unit.javaName);
        jclass clazz = nullptr;
        KS_BOOL own = KS_FALSE;
        KS_BOOL other = KS_TRUE;
        ASSERT_EQ(unit.getClass(&clazz, env, nullptr), KS_TRUE);
        EXPECT_TRUE(env->IsSameObject(clazz, findClass(env, unit.className)));
        EXPECT_TRUE(unit.isInstance(&own, env, nullptr, makeThrowable(env, unit.className, "m")) && own);
        EXPECT_TRUE(unit.isInstance(&other, env, nullptr, stranger) && other == KS_FALSE);
    }
    KS_BOOL answer = KS_FALSE;
    jobject subclass = makeThrowable(env, "java/lang/IllegalStateException", "s");
    EXPECT_TRUE(venRuntimeExceptionIsInstance(&answer, env, nullptr, subclass) && answer == KS_TRUE);
    jobject error = makeThrowable(env, "java/lang/Error", "e");
    EXPECT_TRUE(venRuntimeExceptionIsInstance(&answer, env, nullptr, error) && answer == KS_FALSE);
}

// Every form throws "F: <message>", traced only when unchecked; the caller's ksString is
// neither taken nor released, the formatted one is released (the frame counts ks objects).
// A class that cannot be found leaves the lookup's exception and nothing of the unit's own.
TEST_F(Throwables, EveryThrowForm)
{
    for (const ThrowableUnit& unit : kUnits) {
        SCOPED_TRACE(unit.javaName);
        KsRef<ksString> msg(ksStringCreateFromCstr("M \xE2\x82\xAC", -1));
        // clang-format off
        std::vector<std::pair<std::function<KS_BOOL(JNIEnv*, lgStream*)>, const char*>> forms = {
            {[&](JNIEnv* e, lgStream* t) { return unit.throwCstr(e, t, "F", "M"); }, "F: M"},
            {[&](JNIEnv* e, lgStream* t) { KS_BOOL answer; return unit.isInstance(&answer, e, t, nullptr); }, nullptr}};
        if (unit.throwKsString != nullptr) {
            forms.emplace_back([&](JNIEnv* e, lgStream* t) { return unit.throwKsString(e, t, "F", msg); }, "F: M \xE2\x82\xAC");
            forms.emplace_back([&](JNIEnv* e, lgStream* t) { return unit.throwFormat(e, t, "F", "value %i", -1, KS_INT{42}); }, "F: value 42");
        }
        // clang-format on
        for (const auto& [call, message] : forms) {
            for (bool found : {true, false}) {
                SCOPED_TRACE(message ? message : "instance test");
                TestFrame rowFrame(env);
                FaultEnv fault(env);
                ObtainedRefs obtained(fault, found ? "" : unit.className);
                Trace trace;
                EXPECT_EQ(call(fault.env(), trace.get()), found ? KS_TRUE : KS_FALSE);
                EXPECT_TRUE(obtained.outstanding.empty());
                EXPECT_EQ(ksObjRefCount(msg.get()), 1);
                if (!found) {
                    ExpectPending(env, "java.lang.NoClassDefFoundError", unit.className);
                } else if (message != nullptr) {
                    const std::string line =
                        std::string("[F()] Exception: ") + unit.javaName + ": " + message;
                    EXPECT_EQ(trace.lines(), unit.unchecked ? Lines{line} : Lines{});
                    EXPECT_EQ(trace.notable(), unit.unchecked);
                    ExpectPending(env, unit.javaName, message);
                }
            }
        }
    }
}

// Without a name the message is thrown alone, and the trace reports the missing name.
TEST_F(Throwables, ThrowNewWithoutName)
{
    Trace trace;
    EXPECT_EQ(
        venThrowNew(env, trace.get(), findClass(env, "java/lang/IllegalStateException"), "bare", nullptr),
        KS_TRUE);
    EXPECT_EQ(trace.lines(), Lines{"[venTraceException()] methodName: NULL"});
    ExpectPending(env, "java.lang.IllegalStateException", "bare");
}

} // namespace
