// The six throwable units, one row each: class lookup, instance test, and every throw
// form with its message composition, argument order, trace line (unchecked only), and
// the release of every class reference and of the formatted string on every path.
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "core_test.hpp"

namespace
{

using namespace ven::core_test;

using ThrowCstr = KS_BOOL (*)(JNIEnv*, lgStream*, const char* methodName, const char* message);

struct ThrowableUnit {
    const char* className; // JNI form
    const char* javaName;
    bool unchecked;
    KS_BOOL (*getClass)(jclass*, JNIEnv*, lgStream*);
    KS_BOOL (*isInstance)(KS_BOOL*, JNIEnv*, lgStream*, jobject);
    ThrowCstr throwCstr; // (methodName, message) whatever the unit's own order
    KS_BOOL (*throwKsString)(JNIEnv*, lgStream*, const char*, ksString*);
    KS_BOOL (*throwFormat)(JNIEnv*, lgStream*, const char*, const char*, KS_INT, ...);
};

const ThrowableUnit kUnits[] = {
    {"java/io/IOException", "java.io.IOException", false, venIOExceptionGetClass, venIOExceptionIsInstance,
     venIOExceptionThrowUseMessageCstr, venIOExceptionThrowUseMessage,
     venIOExceptionThrowUseMessageFormatCstr},
    {"java/lang/AssertionError", "java.lang.AssertionError", true, venAssertionErrorGetClass,
     venAssertionErrorIsInstance, venAssertionErrorThrowUseMessageCstr, venAssertionErrorThrowUseMessage,
     venAssertionErrorThrowUseMessageFormatCstr},
    {"java/lang/Error", "java.lang.Error", true, venErrorGetClass, venErrorIsInstance,
     [](JNIEnv* e, lgStream* t, const char* name, const char* message) {
         return venErrorThrowUseMessage(e, t, message, name);
     },
     nullptr, nullptr},
    {"java/lang/IllegalArgumentException", "java.lang.IllegalArgumentException", true,
     venIllegalArgumentExceptionGetClass, venIllegalArgumentExceptionIsInstance,
     venIllegalArgumentExceptionThrowUseMessageCstr, venIllegalArgumentExceptionThrowUseMessage,
     venIllegalArgumentExceptionThrowUseMessageFormatCstr},
    {"java/lang/IllegalStateException", "java.lang.IllegalStateException", true,
     venIllegalStateExceptionGetClass, venIllegalStateExceptionIsInstance,
     venIllegalStateExceptionThrowUseMessageCstr, venIllegalStateExceptionThrowUseMessage,
     venIllegalStateExceptionThrowUseMessageFormatCstr},
    {"java/lang/RuntimeException", "java.lang.RuntimeException", true, venRuntimeExceptionGetClass,
     venRuntimeExceptionIsInstance,
     [](JNIEnv* e, lgStream* t, const char* name, const char* message) {
         return venRuntimeExceptionThrowUseMessage(e, t, message, name);
     },
     nullptr, nullptr},
};

class Throwables : public JvmTest
{
};

TEST_F(Throwables, LookupAndInstanceTest)
{
    jobject plainObject = ven::test::jstr(env, "not a throwable");
    for (const ThrowableUnit& unit : kUnits) {
        SCOPED_TRACE(unit.javaName);
        ven::test::TestFrame rowFrame(env);
        FaultEnv fault(env);
        ven::core_test::ObtainedRefs obtained(fault);
        jclass clazz = nullptr;
        ASSERT_EQ(unit.getClass(&clazz, fault.env(), nullptr), KS_TRUE);
        EXPECT_TRUE(env->IsSameObject(clazz, ven::test::findClass(env, unit.className)));
        fault.env()->DeleteLocalRef(clazz);

        jobject instance = ven::test::makeThrowable(env, unit.className, "m");
        KS_BOOL answer = 0x55;
        EXPECT_EQ(unit.isInstance(&answer, fault.env(), nullptr, instance), KS_TRUE);
        EXPECT_EQ(answer, KS_TRUE);
        EXPECT_EQ(unit.isInstance(&answer, fault.env(), nullptr, plainObject), KS_TRUE);
        EXPECT_EQ(answer, KS_FALSE);
        EXPECT_EQ(obtained.outstanding(), 0);
    }
}

TEST_F(Throwables, SubclassesAreInstances)
{
    KS_BOOL answer = KS_FALSE;
    EXPECT_EQ(
        venRuntimeExceptionIsInstance(&answer, env, nullptr,
                                      ven::test::makeThrowable(env, "java/lang/IllegalStateException", "s")),
        KS_TRUE);
    EXPECT_EQ(answer, KS_TRUE);
    EXPECT_EQ(venRuntimeExceptionIsInstance(&answer, env, nullptr,
                                            ven::test::makeThrowable(env, "java/lang/Error", "e")),
              KS_TRUE);
    EXPECT_EQ(answer, KS_FALSE);
}

TEST_F(Throwables, EveryThrowFormComposesTheMessage)
{
    for (const ThrowableUnit& unit : kUnits) {
        SCOPED_TRACE(unit.javaName);
        struct Form {
            const char* what;
            std::function<KS_BOOL(JNIEnv*, lgStream*)> call;
            const char* message;
        };
        std::vector<Form> forms = {
            {"C string", [&](JNIEnv* e, lgStream* t) { return unit.throwCstr(e, t, "F", "M"); }, "F: M"}};
        if (unit.throwKsString != nullptr) {
            forms.push_back({"ksString",
                             [&](JNIEnv* e, lgStream* t) {
                                 ven::test::KsRef<ksString> msg(ksStringCreateFromCstr("M \xE2\x82\xAC", -1));
                                 const KS_BOOL thrown = unit.throwKsString(e, t, "F", msg.get());
                                 EXPECT_EQ(ksObjRefCount(msg.get()), 1)
                                     << "the caller's reference was touched";
                                 return thrown;
                             },
                             "F: M \xE2\x82\xAC"});
            forms.push_back({"format",
                             [&](JNIEnv* e, lgStream* t) {
                                 return unit.throwFormat(e, t, "F", "value %i", -1, KS_INT{42});
                             },
                             "F: value 42"});
        }
        for (const Form& form : forms) {
            SCOPED_TRACE(form.what);
            ven::test::TestFrame rowFrame(env);
            FaultEnv fault(env);
            ven::core_test::ObtainedRefs obtained(fault);
            Trace trace;
            std::optional<ven::test::ExpectJniWarning> critical;
            if (unit.unchecked && std::string(form.message).find('\xE2') != std::string::npos) {
                critical.emplace(ven::test::kCriticalRegionWarning,
                                 "the trace reads a toString() text beyond Latin-1 in a critical region");
            }
            EXPECT_EQ(form.call(fault.env(), trace.get()), KS_TRUE);
            const Lines expected =
                unit.unchecked ? Lines{std::string("[F()] Exception: ") + unit.javaName + ": " + form.message}
                               : Lines{};
            EXPECT_EQ(trace.lines(), expected);
            EXPECT_EQ(trace.notable(), unit.unchecked);
            EXPECT_EQ(obtained.outstanding(), 0);
            ExpectPending(env, unit.javaName, form.message);
        }
    }
}

TEST_F(Throwables, MissingClassThrowsNothingOfItsOwn)
{
    for (const ThrowableUnit& unit : kUnits) {
        SCOPED_TRACE(unit.javaName);
        std::vector<std::function<KS_BOOL(JNIEnv*)>> forms = {
            [&](JNIEnv* e) { return unit.throwCstr(e, nullptr, "F", "M"); },
            [&](JNIEnv* e) {
                KS_BOOL answer = 0x55;
                return unit.isInstance(&answer, e, nullptr, nullptr);
            }};
        if (unit.throwFormat != nullptr) {
            forms.push_back(
                [&](JNIEnv* e) { return unit.throwFormat(e, nullptr, "F", "%i", -1, KS_INT{1}); });
        }
        for (const auto& form : forms) {
            // The frame also checks that the string made from the format is released.
            ven::test::TestFrame rowFrame(env);
            FaultEnv fault(env);
            ven::core_test::ObtainedRefs obtained(fault, unit.className);
            EXPECT_EQ(form(fault.env()), KS_FALSE);
            EXPECT_EQ(obtained.outstanding(), 0);
            ExpectPending(env, "java.lang.NoClassDefFoundError", unit.className);
        }
    }
}

TEST_F(Throwables, ThrowNewWithoutNameThrowsTheMessageAlone)
{
    Trace trace;
    jclass clazz = ven::test::findClass(env, "java/lang/IllegalStateException");
    EXPECT_EQ(venThrowNew(env, trace.get(), clazz, "bare", nullptr), KS_TRUE);
    EXPECT_EQ(trace.lines(), Lines{"[venTraceException()] methodName: NULL"});
    ExpectPending(env, "java.lang.IllegalStateException", "bare");
}

} // namespace
