// Java strings through the integration layer; the String unit and the six throwable units:
// conversions at their edges and every throw form.
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "core_test.hpp"

namespace
{

using namespace ven::core_test;

using Strings = JvmTest;
using Throwables = JvmTest;

// Creation and lengths; the largest length passes the range check and reaches the JVM.
TEST_F(Strings, CreationAndLengths)
{
    jstring result = nullptr;
    const jchar units[] = {0xE9, 0xD83D, 0xDE00};
    ASSERT_EQ(venNewString(&result, env, nullptr, units, 3), KS_TRUE);
    EXPECT_EQ(ven::test::units(env, result), u"\u00E9\U0001F600");
    KS_INT lengths[2] = {0x7FFFFFFF00000000LL, 0x7FFFFFFF00000000LL}; // every bit of both is stored
    EXPECT_TRUE(venGetStringLength(&lengths[0], env, nullptr, result) &&
                venGetStringUTFLength(&lengths[1], env, nullptr, result));
    EXPECT_EQ(std::vector<KS_INT>(lengths, lengths + 2), (std::vector<KS_INT>{3, 8})); // UTF-8: 2 + 3 + 3
    ASSERT_EQ(venNewString(&result, env, nullptr, nullptr, 0), KS_TRUE);
    EXPECT_EQ(ven::test::units(env, result), u"");
    ASSERT_EQ(venNewStringUTF(&result, env, nullptr, "utf \xC3\xA9"), KS_TRUE);
    EXPECT_EQ(utf8(env, result), "utf \xC3\xA9");

    FaultEnv fault(env);
    jsize reached = 0;
    fault.override<&JNINativeInterface_::NewString>([&](JNIEnv* real, const jchar*, jsize len) {
        reached = len;
        return real->NewString(nullptr, 0);
    });
    EXPECT_EQ(venNewString(&result, fault.env(), nullptr, units, 2147483647LL), KS_TRUE);
    EXPECT_EQ(reached, 2147483647);
}

struct PinRow {
    const char* name;
    KS_BOOL (*pin)(const void**, JNIEnv*, lgStream*, jstring, KS_BOOL*);
    KS_BOOL (*release)(JNIEnv*, lgStream*, jstring, const void*);
    void (*inject)(FaultEnv&);
    std::size_t width;
};

// clang-format off
#define PIN_ROW(pin, release, Char, entry)                                                                   \
    PinRow{#pin,                                                                                             \
           [](const void** r, JNIEnv* e, lgStream* t, jstring s, KS_BOOL* c) { return pin(reinterpret_cast<const Char**>(r), e, t, s, c); }, \
           [](JNIEnv* e, lgStream* t, jstring s, const void* p) { return release(e, t, s, static_cast<const Char*>(p)); }, \
           [](FaultEnv& f) { f.raiseOutOfMemory<&JNINativeInterface_::entry>(FaultEnv::Calls::nth(1)); }, sizeof(Char)}
// clang-format on

// Regions in bounds, and out of bounds the JVM's exception traced under the function's name.
TEST_F(Strings, Regions)
{
    jstring text = jstr(env, "ab\xC3\xA9"
                             "d");
    jchar units[8] = {};
    char bytes[4] = {};
    EXPECT_EQ(venGetStringRegion(env, nullptr, text, 1, 2, units), KS_TRUE);
    EXPECT_TRUE(units[0] == u'b' && units[1] == 0xE9);
    EXPECT_EQ(venGetStringUTFRegion(env, nullptr, text, 2, 1, bytes), KS_TRUE);
    EXPECT_STREQ(bytes, "\xC3\xA9");
    Trace trace;
    EXPECT_EQ(venGetStringRegion(env, trace.get(), text, 2, 5, units), KS_FALSE);
    ExpectPendingClass(env, "java.lang.StringIndexOutOfBoundsException");
    EXPECT_EQ(venGetStringUTFRegion(env, trace.get(), text, -1, 1, bytes), KS_FALSE);
    ExpectPendingClass(env, "java.lang.StringIndexOutOfBoundsException");
    using testing::StartsWith;
    EXPECT_THAT(
        trace.lines(),
        testing::ElementsAre(
            StartsWith("[venGetStringRegion()] Exception: java.lang.StringIndexOutOfBoundsException"),
            StartsWith("[venGetStringUTFRegion()] Exception: java.lang.StringIndexOutOfBoundsException")));
}

// Both ways: whole characters, the empty text (from Java without fetching characters), and
// NULL releasing or deleting what the out-parameter held; nothing is left behind.
TEST_F(Strings, Conversions)
{
    KsRef<ksString> text(ksStringCreateFromCstr("held", -1));
    ASSERT_EQ(venStringToKsString(text.out(), env, nullptr, jstr(env, "a\xF0\x9F\x98\x80z")), KS_TRUE);
    EXPECT_EQ(codePoints(text), U"a\U0001F600z");
    FaultEnv fault(env);
    jstring result = jstr(env, "held");
    ASSERT_EQ(venStringFromKsString(&result, fault.env(), nullptr, text), KS_TRUE);
    EXPECT_EQ(units(env, result), u"a\U0001F600z");
    EXPECT_EQ(fault.ledger().deleted(), 1);
    ASSERT_EQ(venStringToKsString(text.out(), fault.env(), nullptr, jstr(env, "")), KS_TRUE);
    EXPECT_TRUE(text.get() != nullptr && ksStringLength(text) == 0);
    EXPECT_EQ(fault.calls<&JNINativeInterface_::GetStringCritical>(), 0);
    ASSERT_EQ(venStringFromKsString(&result, fault.env(), nullptr, text), KS_TRUE);
    EXPECT_TRUE(result != nullptr && env->GetStringLength(result) == 0);
    ASSERT_EQ(venStringToKsString(text.out(), env, nullptr, nullptr), KS_TRUE);
    ASSERT_EQ(venStringFromKsString(&result, fault.env(), nullptr, nullptr), KS_TRUE);
    EXPECT_TRUE(text.get() == nullptr && result == nullptr);
    EXPECT_EQ(fault.ledger().live(), 0);
}

// A failed fetch and ill-formed text (an AssertionError, thrown only after the characters
// went back) both keep the result; every text obtained, ours or the trace's, goes back. Short
// text is copied out with a region call, long text is read in the critical region.
TEST_F(Strings, ToKsStringFailuresKeepTheResult)
{
    std::u16string longText(300, u'\u00e9');
    longText[299] = 0xD83D;
    const jchar unpaired[] = {'x', 0xD83D, 'y'};
    const jstring shortText = jstr(env, "abc");
    const jstring longValid = env->NewString(reinterpret_cast<const jchar*>(longText.data()), 299);
    const jstring longUnpaired = env->NewString(reinterpret_cast<const jchar*>(longText.data()), 300);
    const char* const kOome = "java.lang.OutOfMemoryError";
    const char* const kInjected = "injected by FaultEnv";
    const char* const kAssertion = "java.lang.AssertionError";
    const char* const kInvalid = "venStringToKsString: Invalid UTF16 String.";
    using Inject = void (*)(FaultEnv&);
    const Inject none = nullptr;
    const Inject region = [](FaultEnv& f) {
        f.raiseOutOfMemory<&JNINativeInterface_::GetStringRegion>(FaultEnv::Calls::nth(1));
    };
    const Inject critical = [](FaultEnv& f) {
        f.raiseOutOfMemory<&JNINativeInterface_::GetStringCritical>(FaultEnv::Calls::nth(1));
    };
    const struct {
        Inject inject;
        jstring text;
        bool pins; // the conversion itself holds the characters in the critical region
        const char* function;
        const char* exception;
        const char* message;
    } rows[] = {
        {.inject = region, .text = shortText, .pins = false, .function = "venGetStringRegion", .exception = kOome,
         .message = kInjected},
        {.inject = critical, .text = longValid, .pins = false, .function = "venGetStringCritical", .exception = kOome,
         .message = kInjected},
        {.inject = none, .text = env->NewString(unpaired, 3), .pins = false, .function = "venStringToKsString",
         .exception = kAssertion, .message = kInvalid},
        {.inject = none, .text = longUnpaired, .pins = true, .function = "venStringToKsString", .exception = kAssertion,
         .message = kInvalid},
    };
    for (const auto& row : rows) {
        FaultEnv fault(env);
        if (row.inject != nullptr) {
            row.inject(fault);
        }
        Trace trace;
        KsRef<ksString> held(ksStringCreateFromCstr("held", -1));
        ksString* const before = held.get();
        EXPECT_EQ(venStringToKsString(held.out(), fault.env(), trace.get(), row.text), KS_FALSE);
        EXPECT_EQ(held.get(), before);
        EXPECT_EQ(trace.lines(), Lines{std::string("[") + row.function + "()] Exception: " + row.exception +
                                       ": " + row.message});
        const Lines trail = fault.trail();
        EXPECT_EQ(std::ranges::count(trail, "ReleaseStringCritical") + (row.inject == critical),
                  std::ranges::count(trail, "GetStringCritical"));
        if (row.pins) {
            EXPECT_LT(std::ranges::find(trail, "ReleaseStringCritical"), std::ranges::find(trail, "ThrowNew"));
        }
        ExpectPending(env, row.exception, row.message);
    }
}

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
                    const std::string line = std::string("[F()] Exception: ") + unit.javaName + ": ";
                    EXPECT_EQ(trace.lines(), unit.unchecked ? Lines{line + message} : Lines{});
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
    jclass clazz = findClass(env, "java/lang/IllegalStateException");
    EXPECT_EQ(venThrowNew(env, trace.get(), clazz, "bare", nullptr), KS_TRUE);
    EXPECT_EQ(trace.lines(), Lines{"[venTraceException()] methodName: NULL"});
    ExpectPending(env, "java.lang.IllegalStateException", "bare");
}

} // namespace
