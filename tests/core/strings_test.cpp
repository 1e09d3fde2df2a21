// Java strings through the integration layer and the String unit: creation, lengths,
// pinning, release, regions, and the conversions between jstring and ksString.
#include <cstring>
#include <random>

#include "core_test.hpp"

namespace
{

using namespace ven::core_test;

class Strings : public JvmTest
{
};

const char* const kCritical = "venStringToKsString reads characters beyond Latin-1 in a critical region";

// Creation and lengths; the largest length passes the range check and reaches the JVM.
TEST_F(Strings, CreationAndLengths)
{
    jstring result = nullptr;
    const jchar units[] = {0xE9, 0xD83D, 0xDE00};
    ASSERT_EQ(venNewString(&result, env, nullptr, units, 3), KS_TRUE);
    EXPECT_EQ(ven::test::units(env, result), u"\u00E9\U0001F600");
    KS_INT length = 0x7FFFFFFF00000000LL;
    EXPECT_EQ(venGetStringLength(&length, env, nullptr, result), KS_TRUE);
    EXPECT_EQ(length, 3);
    length = 0x7FFFFFFF00000000LL;
    EXPECT_EQ(venGetStringUTFLength(&length, env, nullptr, result), KS_TRUE);
    EXPECT_EQ(length, 8); // modified UTF-8: 2 + 3 + 3
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

#define PIN_ROW(pinFunction, releaseFunction, Char, entry)                                                   \
    PinRow                                                                                                   \
    {                                                                                                        \
        #pinFunction,                                                                                        \
            [](const void** r, JNIEnv* e, lgStream* t, jstring s, KS_BOOL* c) {                              \
                return pinFunction(reinterpret_cast<const Char**>(r), e, t, s, c);                           \
            },                                                                                               \
            [](JNIEnv* e, lgStream* t, jstring s, const void* p) {                                           \
                return releaseFunction(e, t, s, static_cast<const Char*>(p));                                \
            },                                                                                               \
            [](FaultEnv& f) { f.raiseOutOfMemory<&JNINativeInterface_::entry>(FaultEnv::Calls::nth(1)); },   \
            sizeof(Char)                                                                                     \
    }

// Pinned text with and without isCopy, a NULL pointer released by doing nothing, and a
// failure that stores NULL, writes the flag as "no copy" and traces.
TEST_F(Strings, PinningAndRelease)
{
    const PinRow rows[] = {PIN_ROW(venGetStringChars, venReleaseStringChars, jchar, GetStringChars),
                           PIN_ROW(venGetStringCritical, venReleaseStringCritical, jchar, GetStringCritical),
                           PIN_ROW(venGetStringUTFChars, venReleaseStringUTFChars, char, GetStringUTFChars)};
    jstring text = jstr(env, "abc");
    for (const PinRow& row : rows) {
        SCOPED_TRACE(row.name);
        const void* chars = nullptr;
        KS_BOOL isCopy = 0x55;
        ASSERT_EQ(row.pin(&chars, env, nullptr, text, &isCopy), KS_TRUE);
        EXPECT_TRUE(isCopy == KS_TRUE || isCopy == KS_FALSE) << isCopy;
        const void* expected = row.width == 2 ? static_cast<const void*>(u"abc") : "abc";
        EXPECT_EQ(std::memcmp(chars, expected, 3 * row.width), 0);
        EXPECT_EQ(row.release(env, nullptr, text, chars), KS_TRUE);
        ASSERT_EQ(row.pin(&chars, env, nullptr, text, nullptr), KS_TRUE);
        EXPECT_EQ(row.release(env, nullptr, text, chars), KS_TRUE);

        FaultEnv fault(env);
        EXPECT_EQ(row.release(fault.env(), nullptr, text, nullptr), KS_TRUE);
        EXPECT_TRUE(fault.trail().empty());
        row.inject(fault);
        Trace trace;
        isCopy = 0x55;
        EXPECT_EQ(row.pin(&chars, fault.env(), trace.get(), text, &isCopy), KS_FALSE);
        EXPECT_TRUE(chars == nullptr && isCopy == KS_FALSE);
        EXPECT_EQ(trace.lines(), Lines{std::string("[") + row.name +
                                       "()] Exception: java.lang.OutOfMemoryError: injected by FaultEnv"});
        ExpectPending(env, "java.lang.OutOfMemoryError", "injected by FaultEnv");
    }
}

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
    const Lines lines = trace.lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].rfind("[venGetStringRegion()] Exception: java.lang.StringIndexOutOfBoundsException", 0), 0u)
        << lines[0];
    EXPECT_EQ(lines[1].rfind("[venGetStringUTFRegion()] Exception: java.lang.StringIndexOutOfBoundsException", 0),
              0u)
        << lines[1];
}

// To a ksString: whole characters, an empty text without fetching characters, NULL
// releasing what was held; a failed fetch keeps the result and releases nothing.
TEST_F(Strings, ToKsString)
{
    KsRef<ksString> result(ksStringCreateFromCstr("held", -1));
    {
        ExpectJniWarning critical(kCriticalRegionWarning, kCritical);
        ASSERT_EQ(venStringToKsString(result.out(), env, nullptr, jstr(env, "a\xF0\x9F\x98\x80z")), KS_TRUE);
    }
    EXPECT_EQ(codePoints(result), U"a\U0001F600z");
    FaultEnv fault(env);
    ASSERT_EQ(venStringToKsString(result.out(), fault.env(), nullptr, jstr(env, "")), KS_TRUE);
    EXPECT_TRUE(result.get() != nullptr && ksStringLength(result) == 0);
    EXPECT_EQ(fault.calls<&JNINativeInterface_::GetStringCritical>(), 0);
    ASSERT_EQ(venStringToKsString(result.out(), env, nullptr, nullptr), KS_TRUE);
    EXPECT_EQ(result.get(), nullptr);

    KsRef<ksString> held(ksStringCreateFromCstr("held", -1));
    Trace trace;
    fault.raiseOutOfMemory<&JNINativeInterface_::GetStringCritical>(FaultEnv::Calls::nth(1));
    EXPECT_EQ(venStringToKsString(held.out(), fault.env(), trace.get(), jstr(env, "abc")), KS_FALSE);
    EXPECT_EQ(utf8(held), "held");
    EXPECT_EQ(trace.lines(),
              Lines{"[venGetStringCritical()] Exception: java.lang.OutOfMemoryError: injected by FaultEnv"});
    EXPECT_EQ(fault.calls<&JNINativeInterface_::ReleaseStringCritical>(), 1) << "only the trace's own";
    ExpectPending(env, "java.lang.OutOfMemoryError", "injected by FaultEnv");
}

// Ill-formed Java text: AssertionError, the result kept, the characters released first.
TEST_F(Strings, IllFormedJavaTextBecomesAssertionError)
{
    FaultEnv fault(env);
    Trace trace;
    KsRef<ksString> held(ksStringCreateFromCstr("held", -1));
    ksString* const before = held.get();
    const jchar unpaired[] = {'x', 0xD83D, 'y'};
    {
        ExpectJniWarning critical(kCriticalRegionWarning, kCritical);
        EXPECT_EQ(venStringToKsString(held.out(), fault.env(), trace.get(), env->NewString(unpaired, 3)), KS_FALSE);
    }
    EXPECT_EQ(held.get(), before);
    EXPECT_EQ(trace.lines(), Lines{"[venStringToKsString()] Exception: java.lang.AssertionError: "
                                   "venStringToKsString: Invalid UTF16 String."});
    const Lines& trail = fault.trail();
    const auto released = std::find(trail.begin(), trail.end(), "ReleaseStringCritical");
    ASSERT_NE(released, trail.end());
    EXPECT_LT(released, std::find(trail.begin(), trail.end(), "ThrowNew"));
    ExpectPending(env, "java.lang.AssertionError", "venStringToKsString: Invalid UTF16 String.");
}

// From a ksString: the reference held is deleted, an empty text gives a string of length
// 0, NULL gives NULL; nothing is left behind.
TEST_F(Strings, FromKsString)
{
    jstring result = jstr(env, "held");
    FaultEnv fault(env);
    ASSERT_EQ(venStringFromKsString(&result, fault.env(), nullptr, ksStr("a\xF0\x9F\x98\x80")), KS_TRUE);
    EXPECT_EQ(units(env, result), u"a\U0001F600");
    EXPECT_EQ(fault.ledger().deleted(), 1);
    ASSERT_EQ(venStringFromKsString(&result, fault.env(), nullptr, ksStr("")), KS_TRUE);
    EXPECT_TRUE(result != nullptr && env->GetStringLength(result) == 0);
    ASSERT_EQ(venStringFromKsString(&result, fault.env(), nullptr, nullptr), KS_TRUE);
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(fault.ledger().live(), 0);
}

// Well-formed text (lone low surrogates included) goes Java -> ksString -> Java unchanged.
TEST_F(Strings, WellFormedTextRoundTrips)
{
    std::mt19937 random(5);
    auto pick = [&](unsigned low, unsigned high) {
        return static_cast<char16_t>(std::uniform_int_distribution<unsigned>(low, high)(random));
    };
    ExpectJniWarning critical(kCriticalRegionWarning, kCritical);
    for (int repeat = 0; repeat < 200; ++repeat) {
        TestFrame rowFrame(env);
        std::u16string text;
        for (unsigned length = pick(0, 40); text.size() < length;) {
            const char16_t unit = pick(0, 0xFFFF);
            text += unit < 0xD800 || unit > 0xDBFF ? std::u16string(1, unit)
                                                   : std::u16string{unit, pick(0xDC00, 0xDFFF)};
        }
        KsRef<ksString> converted;
        ASSERT_EQ(venStringToKsString(converted.out(), env, nullptr, jstr(env, text)), KS_TRUE);
        jstring back = nullptr;
        ASSERT_EQ(venStringFromKsString(&back, env, nullptr, converted), KS_TRUE);
        ASSERT_EQ(units(env, back), text);
    }
}

// The class lookup, and the instance test, which gives its class back on every path.
TEST_F(Strings, ClassAndInstanceTest)
{
    jclass stringClass = nullptr;
    ASSERT_EQ(venStringGetClass(&stringClass, env, nullptr), KS_TRUE);
    EXPECT_TRUE(env->IsSameObject(stringClass, findClass(env, "java/lang/String")));
    jobject notAString = findClass(env, "java/lang/Object");
    KS_BOOL answer = 0x55;
    const struct {
        jobject obj;
        KS_BOOL* result;
        KS_BOOL expected;
    } rows[] = {{jstr(env, "s"), &answer, KS_TRUE},
                {notAString, &answer, KS_FALSE},
                {nullptr, &answer, KS_TRUE},
                {notAString, nullptr, KS_FALSE}};
    for (const auto& row : rows) {
        FaultEnv fault(env);
        ObtainedRefs obtained(fault);
        answer = 0x55;
        EXPECT_EQ(venStringIsInstance(row.result, fault.env(), nullptr, row.obj), row.result ? KS_TRUE : KS_FALSE);
        EXPECT_EQ(obtained.obtained(), row.result ? 1 : 3) << "an argument failure and its trace look up classes";
        EXPECT_EQ(obtained.outstanding(), 0);
        if (row.result == nullptr) {
            ExpectPending(env, "java.lang.IllegalArgumentException", "venIsInstanceOf: result != NULL");
        } else {
            EXPECT_EQ(answer, row.expected);
        }
    }
}

// With no result the release at the end still checks `string`: with both NULL its own
// argument failure follows the first one while that is pending.
TEST_F(Strings, ToKsStringWithoutResultStillReleases)
{
    Trace trace;
    {
        ExpectJniWarning pending(kExceptionPendingWarning, "the release's argument failure follows the first");
        EXPECT_EQ(venStringToKsString(nullptr, env, trace.get(), nullptr), KS_FALSE);
    }
    EXPECT_EQ(trace.lines(), (Lines{"[venStringToKsString()] Exception: java.lang.IllegalArgumentException: "
                                    "venStringToKsString: result != ((void *)0)",
                                    "[venReleaseStringCritical()] Exception: java.lang.IllegalArgumentException: "
                                    "venReleaseStringCritical: string != NULL"}));
    ExpectPending(env, "java.lang.IllegalArgumentException", "venReleaseStringCritical: string != NULL");
}

} // namespace
