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

#define THROWABLE_UNIT(unit, className, javaName, unchecked)                                                 \
    ThrowableUnit                                                                                            \
    {                                                                                                        \
        className, javaName, unchecked, ven##unit##GetClass, ven##unit##IsInstance,                          \
            ven##unit##ThrowUseMessageCstr, ven##unit##ThrowUseMessage, ven##unit##ThrowUseMessageFormatCstr \
    }
// Error and RuntimeException take (message, methodName) and have no other throw forms.
#define SMALL_THROWABLE_UNIT(unit, className, javaName)                                                      \
    ThrowableUnit                                                                                            \
    {                                                                                                        \
        className, javaName, true, ven##unit##GetClass, ven##unit##IsInstance,                               \
            [](JNIEnv* e, lgStream* t, const char* name, const char* message) {                              \
                return ven##unit##ThrowUseMessage(e, t, message, name);                                      \
            },                                                                                               \
            nullptr, nullptr                                                                                 \
    }

const ThrowableUnit kUnits[] = {
    THROWABLE_UNIT(IOException, "java/io/IOException", "java.io.IOException", false),
    THROWABLE_UNIT(AssertionError, "java/lang/AssertionError", "java.lang.AssertionError", true),
    SMALL_THROWABLE_UNIT(Error, "java/lang/Error", "java.lang.Error"),
    THROWABLE_UNIT(IllegalArgumentException, "java/lang/IllegalArgumentException",
                   "java.lang.IllegalArgumentException", true),
    THROWABLE_UNIT(IllegalStateException, "java/lang/IllegalStateException", "java.lang.IllegalStateException",
                   true),
    SMALL_THROWABLE_UNIT(RuntimeException, "java/lang/RuntimeException", "java.lang.RuntimeException"),
};

class Throwables : public JvmTest
{
};

// The lookup gives the class; the instance test knows instances, subclasses and strangers;
// neither keeps a class reference.
TEST_F(Throwables, LookupAndInstanceTest)
{
    jobject stranger = jstr(env, "not a throwable");
    for (const ThrowableUnit& unit : kUnits) {
        SCOPED_TRACE(unit.javaName);
        TestFrame rowFrame(env);
        FaultEnv fault(env);
        ObtainedRefs obtained(fault);
        jclass clazz = nullptr;
        ASSERT_EQ(unit.getClass(&clazz, fault.env(), nullptr), KS_TRUE);
        EXPECT_TRUE(env->IsSameObject(clazz, findClass(env, unit.className)));
        fault.env()->DeleteLocalRef(clazz);
        for (auto [obj, expected] : {std::pair{(jobject)makeThrowable(env, unit.className, "m"), KS_TRUE},
                                     std::pair{stranger, KS_FALSE}}) {
            KS_BOOL answer = 0x55;
            EXPECT_EQ(unit.isInstance(&answer, fault.env(), nullptr, obj), KS_TRUE);
            EXPECT_EQ(answer, expected);
        }
        EXPECT_EQ(obtained.outstanding(), 0);
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
        std::vector<std::pair<std::function<KS_BOOL(JNIEnv*, lgStream*)>, const char*>> forms = {
            {[&](JNIEnv* e, lgStream* t) { return unit.throwCstr(e, t, "F", "M"); }, "F: M"}};
        if (unit.throwKsString != nullptr) {
            forms.emplace_back([&](JNIEnv* e, lgStream* t) { return unit.throwKsString(e, t, "F", msg); },
                               "F: M \xE2\x82\xAC");
            forms.emplace_back(
                [&](JNIEnv* e, lgStream* t) { return unit.throwFormat(e, t, "F", "value %i", -1, KS_INT{42}); },
                "F: value 42");
        }
        forms.emplace_back(
            [&](JNIEnv* e, lgStream* t) {
                KS_BOOL answer = 0x55;
                return unit.isInstance(&answer, e, t, nullptr);
            },
            nullptr);
        for (const auto& [call, message] : forms) {
            for (bool found : {true, false}) {
                SCOPED_TRACE(message ? message : "instance test");
                TestFrame rowFrame(env);
                FaultEnv fault(env);
                ObtainedRefs obtained(fault, found ? "" : unit.className);
                Trace trace;
                EXPECT_EQ(call(fault.env(), trace.get()), found ? KS_TRUE : KS_FALSE);
                EXPECT_EQ(obtained.outstanding(), 0);
                EXPECT_EQ(ksObjRefCount(msg.get()), 1);
                if (!found) {
                    ExpectPending(env, "java.lang.NoClassDefFoundError", unit.className);
                } else if (message != nullptr) {
                    const std::string line = std::string("[F()] Exception: ") + unit.javaName + ": " + message;
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
    EXPECT_EQ(venThrowNew(env, trace.get(), findClass(env, "java/lang/IllegalStateException"), "bare", nullptr),
              KS_TRUE);
    EXPECT_EQ(trace.lines(), Lines{"[venTraceException()] methodName: NULL"});
    ExpectPending(env, "java.lang.IllegalStateException", "bare");
}

} // namespace
