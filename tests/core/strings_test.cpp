// Java strings through the integration layer and the String unit: creation, lengths,
// pinning with and without isCopy, release of NULL pointers, regions and their bounds,
// and the conversions between jstring and ksString (ill-formed UTF-16 from Java becomes
// an AssertionError after the characters are released; well-formed text round-trips).
#include <random>
#include <string>
#include <vector>

#include "core_test.hpp"

namespace
{

using namespace ven::core_test;

class Strings : public JvmTest
{
};

TEST_F(Strings, Creation)
{
    jstring result = nullptr;
    const jchar units[] = {'h', 0xD83D, 0xDE00};
    ASSERT_EQ(venNewString(&result, env, nullptr, units, 3), KS_TRUE);
    EXPECT_EQ(ven::test::units(env, result), u"h\U0001F600");
    ASSERT_EQ(venNewString(&result, env, nullptr, nullptr, 0), KS_TRUE);
    EXPECT_EQ(ven::test::units(env, result), u"");
    ASSERT_EQ(venNewStringUTF(&result, env, nullptr, "utf \xC3\xA9"), KS_TRUE);
    EXPECT_EQ(ven::test::utf8(env, result), "utf \xC3\xA9");
}

TEST_F(Strings, LargestLengthReachesTheVirtualMachine)
{
    FaultEnv fault(env);
    std::vector<jsize> lengths;
    fault.override<&JNINativeInterface_::NewString>([&](JNIEnv* real, const jchar*, jsize len) -> jstring {
        lengths.push_back(len);
        real->ThrowNew(real->FindClass("java/lang/OutOfMemoryError"), "too long");
        return nullptr;
    });
    const jchar unit = 'a';
    jstring result = nullptr;
    EXPECT_EQ(venNewString(&result, fault.env(), nullptr, &unit, 2147483647LL), KS_FALSE);
    EXPECT_EQ(lengths, std::vector<jsize>{2147483647});
    ExpectPending(env, "java.lang.OutOfMemoryError", "too long");
}

TEST_F(Strings, Lengths)
{
    jstring text = ven::test::jstr(env, "\xC3\xA9\xF0\x9F\x98\x80"); // U+00E9 U+1F600
    KS_INT length = 0x7FFFFFFF00000000LL;
    EXPECT_EQ(venGetStringLength(&length, env, nullptr, text), KS_TRUE);
    EXPECT_EQ(length, 3);
    length = 0x7FFFFFFF00000000LL;
    EXPECT_EQ(venGetStringUTFLength(&length, env, nullptr, text), KS_TRUE);
    EXPECT_EQ(length, 8); // modified UTF-8: 2 + 3 + 3
}

// The three pinning functions with their release partners, as one typed row each.
template <typename Char> struct PinFunction {
    const char* name;
    KS_BOOL (*pin)(const Char**, JNIEnv*, lgStream*, jstring, KS_BOOL*);
    KS_BOOL (*release)(JNIEnv*, lgStream*, jstring, const Char*);
    void (*inject)(FaultEnv&);
    std::string (*text)(const Char*); // the first three characters as UTF-8
};

std::string unitsText(const jchar* chars)
{
    return ven::test::toUtf8(std::u16string_view(reinterpret_cast<const char16_t*>(chars), 3));
}
std::string bytesText(const char* chars)
{
    return std::string(chars, 3);
}

const PinFunction<jchar> kPinUnits[] = {
    {"venGetStringChars", venGetStringChars, venReleaseStringChars,
     [](FaultEnv& f) { ven::core_test::raiseOutOfMemoryOnce<&JNINativeInterface_::GetStringChars>(f); },
     unitsText},
    {"venGetStringCritical", venGetStringCritical, venReleaseStringCritical,
     [](FaultEnv& f) { ven::core_test::raiseOutOfMemoryOnce<&JNINativeInterface_::GetStringCritical>(f); },
     unitsText},
};
const PinFunction<char> kPinBytes[] = {
    {"venGetStringUTFChars", venGetStringUTFChars, venReleaseStringUTFChars,
     [](FaultEnv& f) { ven::core_test::raiseOutOfMemoryOnce<&JNINativeInterface_::GetStringUTFChars>(f); },
     bytesText},
};

template <typename Char> void checkPinning(JNIEnv* env, const PinFunction<Char>& row)
{
    SCOPED_TRACE(row.name);
    jstring text = ven::test::jstr(env, "abc");
    const Char* chars = nullptr;
    KS_BOOL isCopy = 0x55;
    ASSERT_EQ(row.pin(&chars, env, nullptr, text, &isCopy), KS_TRUE);
    EXPECT_TRUE(isCopy == KS_TRUE || isCopy == KS_FALSE) << isCopy;
    EXPECT_EQ(row.text(chars), "abc");
    EXPECT_EQ(row.release(env, nullptr, text, chars), KS_TRUE);
    ASSERT_EQ(row.pin(&chars, env, nullptr, text, nullptr), KS_TRUE);
    EXPECT_EQ(row.release(env, nullptr, text, chars), KS_TRUE);

    // A NULL pointer is released by doing nothing.
    FaultEnv fault(env);
    EXPECT_EQ(row.release(fault.env(), nullptr, text, nullptr), KS_TRUE);
    EXPECT_TRUE(fault.trail().empty());

    // Failure: NULL result, the flag written as "no copy", the exception traced.
    row.inject(fault);
    Trace trace;
    isCopy = 0x55;
    EXPECT_EQ(row.pin(&chars, fault.env(), trace.get(), text, &isCopy), KS_FALSE);
    EXPECT_EQ(chars, nullptr);
    EXPECT_EQ(isCopy, KS_FALSE);
    EXPECT_EQ(trace.lines(), Lines{std::string("[") + row.name +
                                   "()] Exception: java.lang.OutOfMemoryError: injected by FaultEnv"});
    ExpectPending(env, "java.lang.OutOfMemoryError", "injected by FaultEnv");
}

TEST_F(Strings, PinningAndRelease)
{
    for (const auto& row : kPinUnits) {
        checkPinning(env, row);
    }
    for (const auto& row : kPinBytes) {
        checkPinning(env, row);
    }
}

TEST_F(Strings, Regions)
{
    jstring text = ven::test::jstr(env, "ab\xC3\xA9"
                                        "d");
    jchar units[2] = {};
    EXPECT_EQ(venGetStringRegion(env, nullptr, text, 1, 2, units), KS_TRUE);
    EXPECT_EQ(units[0], u'b');
    EXPECT_EQ(units[1], 0xE9);
    char bytes[4] = {};
    EXPECT_EQ(venGetStringUTFRegion(env, nullptr, text, 2, 1, bytes), KS_TRUE);
    EXPECT_EQ(std::string(bytes), "\xC3\xA9");

    const struct {
        const char* name;
        KS_BOOL (*call)(JNIEnv*, lgStream*, jstring);
    } outOfBounds[] = {
        {"venGetStringRegion",
         [](JNIEnv* e, lgStream* t, jstring s) {
             jchar b[8];
             return venGetStringRegion(e, t, s, 2, 5, b);
         }},
        {"venGetStringUTFRegion",
         [](JNIEnv* e, lgStream* t, jstring s) {
             char b[16];
             return venGetStringUTFRegion(e, t, s, -1, 1, b);
         }},
    };
    for (const auto& row : outOfBounds) {
        SCOPED_TRACE(row.name);
        Trace trace;
        EXPECT_EQ(row.call(env, trace.get(), text), KS_FALSE);
        ASSERT_EQ(trace.lines().size(), 1u);
        const std::string prefix =
            std::string("[") + row.name + "()] Exception: java.lang.StringIndexOutOfBoundsException";
        EXPECT_EQ(trace.lines()[0].rfind(prefix, 0), 0u) << trace.lines()[0];
        ExpectPendingClass(env, "java.lang.StringIndexOutOfBoundsException");
    }
}

TEST_F(Strings, ToKsString)
{
    KsRef<ksString> result(ksStringCreateFromCstr("held", -1));
    {
        ven::test::ExpectJniWarning critical(ven::test::kCriticalRegionWarning,
                                             "venStringToKsString reads the characters in a critical region");
        ASSERT_EQ(venStringToKsString(result.out(), env, nullptr, ven::test::jstr(env, "a\xF0\x9F\x98\x80z")),
                  KS_TRUE);
    }
    EXPECT_EQ(ven::test::codePoints(result), U"a\U0001F600z");

    // An empty text needs no characters.
    FaultEnv fault(env);
    ASSERT_EQ(venStringToKsString(result.out(), fault.env(), nullptr, ven::test::jstr(env, "")), KS_TRUE);
    ASSERT_NE(result.get(), nullptr);
    EXPECT_EQ(ksStringLength(result), 0);
    EXPECT_EQ(fault.calls<&JNINativeInterface_::GetStringCritical>(), 0);

    // A NULL string releases what was held (the frame's ks object count would tell).
    ASSERT_EQ(venStringToKsString(result.out(), env, nullptr, nullptr), KS_TRUE);
    EXPECT_EQ(result.get(), nullptr);
}

TEST_F(Strings, IllFormedJavaTextBecomesAssertionError)
{
    FaultEnv fault(env);
    Trace trace;
    KsRef<ksString> held(ksStringCreateFromCstr("held", -1));
    ksString* const before = held.get();
    const jchar unpaired[] = {'x', 0xD83D, 'y'};
    jstring text = env->NewString(unpaired, 3);
    {
        ven::test::ExpectJniWarning critical(ven::test::kCriticalRegionWarning,
                                             "venStringToKsString reads the characters in a critical region");
        EXPECT_EQ(venStringToKsString(held.out(), fault.env(), trace.get(), text), KS_FALSE);
    }
    EXPECT_EQ(held.get(), before);
    EXPECT_EQ(trace.lines(),
              Lines{"[venStringToKsString()] Exception: java.lang.AssertionError: venStringToKsString: "
                    "Invalid UTF16 String."});
    // The characters went back before anything was thrown.
    const std::vector<std::string>& trail = fault.trail();
    const auto released = std::find(trail.begin(), trail.end(), "ReleaseStringCritical");
    const auto thrown = std::find(trail.begin(), trail.end(), "ThrowNew");
    ASSERT_NE(released, trail.end());
    EXPECT_LT(released, thrown);
    ExpectPending(env, "java.lang.AssertionError", "venStringToKsString: Invalid UTF16 String.");
}

TEST_F(Strings, ToKsStringFailuresKeepTheResult)
{
    FaultEnv fault(env);
    ven::core_test::raiseOutOfMemoryOnce<&JNINativeInterface_::GetStringCritical>(fault);
    Trace trace;
    KsRef<ksString> held(ksStringCreateFromCstr("held", -1));
    EXPECT_EQ(venStringToKsString(held.out(), fault.env(), trace.get(), ven::test::jstr(env, "abc")),
              KS_FALSE);
    EXPECT_EQ(ven::test::utf8(held), "held");
    EXPECT_EQ(trace.lines(),
              Lines{"[venGetStringCritical()] Exception: java.lang.OutOfMemoryError: injected by FaultEnv"});
    // Only the trace's own critical characters were released.
    EXPECT_EQ(fault.calls<&JNINativeInterface_::ReleaseStringCritical>(), 1);
    ExpectPending(env, "java.lang.OutOfMemoryError", "injected by FaultEnv");
}

TEST_F(Strings, FromKsString)
{
    jstring result = ven::test::jstr(env, "held");
    FaultEnv fault(env);
    ASSERT_EQ(venStringFromKsString(&result, fault.env(), nullptr, ven::test::ksStr("a\xF0\x9F\x98\x80")),
              KS_TRUE);
    EXPECT_EQ(ven::test::units(env, result), u"a\U0001F600");
    EXPECT_EQ(fault.ledger().deleted(), 1) << "the reference held before";
    ASSERT_EQ(venStringFromKsString(&result, fault.env(), nullptr, ven::test::ksStr("")), KS_TRUE);
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(env->GetStringLength(result), 0);
    ASSERT_EQ(venStringFromKsString(&result, fault.env(), nullptr, nullptr), KS_TRUE);
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(fault.ledger().live(), 0);
}

TEST_F(Strings, WellFormedTextRoundTripsUnchanged)
{
    std::mt19937 random(5);
    auto pick = [&](unsigned low, unsigned high) {
        return std::uniform_int_distribution<unsigned>(low, high)(random);
    };
    // Most texts go beyond Latin-1, and their characters are read in a critical region.
    ven::test::ExpectJniWarning critical(ven::test::kCriticalRegionWarning,
                                         "venStringToKsString reads the characters in a critical region");
    for (int repeat = 0; repeat < 200; ++repeat) {
        ven::test::TestFrame rowFrame(env);
        std::u16string units;
        const unsigned length = pick(0, 40);
        while (units.size() < length) {
            const unsigned kind = pick(0, 9);
            if (kind == 0) { // a pair
                const unsigned c = pick(0x10000, 0x10FFFF) - 0x10000;
                units += static_cast<char16_t>(0xD800 + (c >> 10));
                units += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
            } else if (kind == 1) { // a lone low surrogate is well-formed enough
                units += static_cast<char16_t>(pick(0xDC00, 0xDFFF));
            } else {
                const unsigned c = pick(0, 0xFFFF);
                units += static_cast<char16_t>(c >= 0xD800 && c <= 0xDBFF ? 'x' : c);
            }
        }
        SCOPED_TRACE(repeat);
        jstring original =
            env->NewString(reinterpret_cast<const jchar*>(units.data()), static_cast<jsize>(units.size()));
        KsRef<ksString> text;
        ASSERT_EQ(venStringToKsString(text.out(), env, nullptr, original), KS_TRUE);
        jstring back = nullptr;
        ASSERT_EQ(venStringFromKsString(&back, env, nullptr, text), KS_TRUE);
        ASSERT_EQ(ven::test::units(env, back), units);
    }
}

TEST_F(Strings, ClassAndInstanceTest)
{
    jclass stringClass = nullptr;
    ASSERT_EQ(venStringGetClass(&stringClass, env, nullptr), KS_TRUE);
    EXPECT_TRUE(env->IsSameObject(stringClass, ven::test::findClass(env, "java/lang/String")));

    jobject notAString = ven::test::findClass(env, "java/lang/Object");
    const struct {
        jobject obj;
        KS_BOOL expected;
    } rows[] = {{ven::test::jstr(env, "s"), KS_TRUE}, {notAString, KS_FALSE}, {nullptr, KS_TRUE}};
    for (const auto& row : rows) {
        FaultEnv fault(env);
        ven::core_test::ObtainedRefs obtained(fault);
        KS_BOOL answer = 0x55;
        EXPECT_EQ(venStringIsInstance(&answer, fault.env(), nullptr, row.obj), KS_TRUE);
        EXPECT_EQ(answer, row.expected);
        EXPECT_EQ(obtained.obtained(), 1);
        EXPECT_EQ(obtained.outstanding(), 0);
    }
    // Without a result the class is still given back.
    FaultEnv fault(env);
    ven::core_test::ObtainedRefs obtained(fault);
    EXPECT_EQ(venStringIsInstance(nullptr, fault.env(), nullptr, notAString), KS_FALSE);
    EXPECT_EQ(obtained.outstanding(), 0);
    ExpectPending(env, "java.lang.IllegalArgumentException", "venIsInstanceOf: result != NULL");
}

TEST_F(Strings, ToKsStringWithoutResultStillReleases)
{
    // The release at the end checks `string` even with no characters: with both NULL, its
    // own argument failure follows the first one while that is pending.
    Trace trace;
    {
        ven::test::ExpectJniWarning pending(
            ven::test::kExceptionPendingWarning,
            "the release's argument failure is thrown while the first is pending");
        EXPECT_EQ(venStringToKsString(nullptr, env, trace.get(), nullptr), KS_FALSE);
    }
    EXPECT_EQ(
        trace.lines(),
        (Lines{"[venStringToKsString()] Exception: java.lang.IllegalArgumentException: venStringToKsString: "
               "result != ((void *)0)",
               "[venReleaseStringCritical()] Exception: java.lang.IllegalArgumentException: "
               "venReleaseStringCritical: string != NULL"}));
    ExpectPending(env, "java.lang.IllegalArgumentException", "venReleaseStringCritical: string != NULL");
}

} // namespace
