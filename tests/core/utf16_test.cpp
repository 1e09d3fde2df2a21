// The conversions between Java strings and ks strings against the reference, on each of their
// paths (short text through a buffer on the stack, long text in the critical region or a heap
// block, any text with an exception pending), and the fatal stops of the two UTF-16 routines.
#include <random>
#include <string>
#include <vector>

#include "support/utf16_reference.hpp"
#include "support/ven_test.hpp"
#include "ven/ven.h"

namespace
{

using namespace ven::test;

constexpr const char* kStringPath = "source/ven/java/lang/ven_string";
constexpr const char* kLeadingUnit = "VEN_KS_CHAR_TO_JCHAR_CONV_OK( hi )";
constexpr const char* kInvalid = "venStringToKsString: Invalid UTF16 String.";
constexpr std::size_t kShortText = 256; // the longest text that goes through the stack
jchar gUnit = 0x41;
KS_CHAR gCodePoint = 0x41;
KS_CHAR* gChars;
jchar* gUnits;
KS_INT gLength;

// Every fatal check of both routines' arguments, in order: the first failing one is reported. The
// stop at a leading unit beyond 16 bits is the fuzz replay's and the conversions' below.
TEST(Utf16Routines, FatalChecks)
{
    // clang-format off
    const struct { void (*call)(); int line; const char* condition; } rows[] = {
        {[] { ven___JCharsToChars(nullptr, &gLength, &gUnit, 1); }, 98, "resultChars"},
        {[] { ven___JCharsToChars(nullptr, nullptr, nullptr, -1); }, 98, "resultChars"},
        {[] { ven___JCharsToChars(&gChars, nullptr, &gUnit, 1); }, 99, "resultLength"},
        {[] { ven___JCharsToChars(&gChars, &gLength, nullptr, 1); }, 100, "srcChars"},
        {[] { ven___JCharsToChars(&gChars, &gLength, nullptr, 0); }, 100, "srcChars"},
        {[] { ven___JCharsToChars(&gChars, &gLength, &gUnit, -1); }, 101, "srcLength >= 0"},
        {[] { ven___CharsToJChars(nullptr, &gLength, &gCodePoint, 1); }, 149, "resultChars"},
        {[] { ven___CharsToJChars(&gUnits, nullptr, &gCodePoint, 1); }, 150, "resultLength"},
        {[] { ven___CharsToJChars(&gUnits, &gLength, nullptr, 1); }, 151, "srcChars || srcLength == 0"},
        {[] { ven___CharsToJChars(&gUnits, &gLength, nullptr, -1); }, 151, "srcChars || srcLength == 0"},
        {[] { ven___CharsToJChars(&gUnits, &gLength, &gCodePoint, -1); }, 152, "srcLength >= 0"}};
    // clang-format on
    for (const auto& row : rows) {
        EXPECT_VEN_ABORT(row.call(), kStringPath, row.line, row.condition);
    }
}

// Generated texts with pairs, lone surrogates of both kinds and plain units, of every length
// across the vector blocks and around the longest text on the stack: Java -> ksString gives the
// reference's code points or refuses as it does (an AssertionError, traced, the result kept),
// ksString -> Java gives the units back, each on its path (no JNI call inside the critical region,
// the characters given back) and with no block beyond the decoded one on the stack; every fourth
// text (one with no lone surrogate) with an exception pending, which takes the general paths.
using Utf16Conversions = JvmTest;
TEST_F(Utf16Conversions, AgreeWithTheReferenceOnEveryPath)
{
    std::mt19937 random(20261123);
    auto draw = [&](unsigned low, unsigned high) {
        return std::uniform_int_distribution<unsigned>(low, high)(random);
    };
    std::vector<std::size_t> lengths = {250, 255, 256, 257, 258, 300, 700};
    for (std::size_t length = 1; length <= 40; ++length) {
        lengths.push_back(length);
    }
    for (const std::size_t length : lengths) {
        for (unsigned repeat = 0; repeat < 12; ++repeat) {
            // More pairs from one text to the next, lone surrogates in every other one.
            Utf16Units units;
            while (units.size() < length) {
                const unsigned roll = draw(0, 999), bmp = draw(0, 0xF7FF);
                if (roll < repeat % 6 * 150 && units.size() + 1 < length) {
                    units.insert(units.end(), {static_cast<jchar>(draw(0xD800, 0xDBFF)),
                                               static_cast<jchar>(draw(0xDC00, 0xDFFF))});
                } else if (repeat % 2 == 1 && roll >= (length > 200 ? 995u : 970u)) {
                    units.push_back(static_cast<jchar>(draw(0xD800, 0xDFFF)));
                } else {
                    units.push_back(static_cast<jchar>(bmp < 0xD800 ? bmp : bmp + 0x800));
                }
            }
            SCOPED_TRACE(testing::PrintToString(units));
            const std::optional<CodePoints> expected = referenceDecode(units);
            const bool pending = repeat % 4 == 2 && expected;
            TestFrame frame(env);
            const jstring string = env->NewString(units.data(), static_cast<jsize>(length));
            FaultEnv fault(env);
            if (pending) {
                env->ThrowNew(findClass(env, "java/lang/IllegalStateException"), "pending");
            }
            KsRef<ksString> text = ksStr("held");
            const ksString* const held = text.get();
            Trace trace;
            const KS_INT blocks = ksMemAllocCount();
            const KS_BOOL converted =
                venStringToKsString(text.out(), fault.env(), pending ? nullptr : trace.get(), string);
            // A refusal's trace reads the text of its AssertionError too.
            EXPECT_EQ(fault.calls<&JNINativeInterface_::GetStringCritical>(),
                      (pending || length > kShortText ? 1 : 0) + (expected ? 0 : 1));
            EXPECT_EQ(fault.calls<&JNINativeInterface_::ReleaseStringCritical>(),
                      fault.calls<&JNINativeInterface_::GetStringCritical>());
            if (!pending) { // saving the pending exception throws it again inside the region
                EXPECT_EQ(fault.callsInCriticalRegion(), std::vector<std::string>{});
            }
            ASSERT_EQ(converted, expected ? KS_TRUE : KS_FALSE);
            if (!expected) {
                EXPECT_EQ(text.get(), held);
                EXPECT_EQ(trace.lines(), std::vector<std::string>{"[venStringToKsString()] Exception: "
                                                                  "java.lang.AssertionError: " +
                                                                  std::string(kInvalid)});
                ExpectPending(env, "java.lang.AssertionError", kInvalid);
                continue;
            }
            ASSERT_EQ(CodePoints(ksStringBacking(text), ksStringBacking(text) + ksStringLength(text)),
                      *expected);
            jstring back = nullptr;
            ASSERT_EQ(venStringFromKsString(&back, fault.env(), nullptr, text), KS_TRUE);
            const bool onHeap = pending || expected->size() > kShortText;
            EXPECT_EQ(ksMemAllocCount() - blocks, onHeap ? 2 : 1) << "blocks taken for both ways";
            if (pending) {
                ExpectPending(env, "java.lang.IllegalStateException", "pending");
            }
            const std::u16string got = ven::test::units(env, back);
            ASSERT_EQ(Utf16Units(got.begin(), got.end()), units);
        }
    }
    // A leading unit beyond 16 bits stops the encoding on the stack as on the heap.
    for (const std::size_t length : {40, 300}) {
        CodePoints beyond(length, 0x1F600);
        beyond[length - 2] = 0xA10000;
        KsRef<ksString> text(ksStringCreateFromChars(beyond.data(), static_cast<KS_INT>(length)));
        jstring back = nullptr;
        EXPECT_VEN_ABORT(venStringFromKsString(&back, env, nullptr, text), kStringPath, 174, kLeadingUnit);
    }
}

} // namespace
