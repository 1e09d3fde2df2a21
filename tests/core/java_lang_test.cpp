// Java strings through the integration layer and the throwable units: lengths stored whole,
// the empty and the NULL text both ways, and the message of every throw form.
#include <functional>
#include <string>
#include <vector>

#include "support/ven_test.hpp"
#include "ven/ven.h"

namespace
{

using namespace ven::test;
using Lines = std::vector<std::string>;
using Strings = JvmTest;

// Lengths in UTF-16 units and UTF-8 bytes, every bit of the KS_INT stored; the empty text
// fetched without characters; NULL to NULL both ways.
TEST_F(Strings, LengthsAndConversions)
{
    jstring result = nullptr;
    const jchar units[] = {0xE9, 0xD83D, 0xDE00};
    ASSERT_TRUE(venNewString(&result, env, nullptr, units, 3));
    KS_INT lengths[2] = {0x7FFFFFFF00000000LL, 0x7FFFFFFF00000000LL};
    EXPECT_TRUE(venGetStringLength(&lengths[0], env, nullptr, result) &&
                venGetStringUTFLength(&lengths[1], env, nullptr, result));
    EXPECT_EQ(std::vector<KS_INT>(lengths, lengths + 2), (std::vector<KS_INT>{3, 8})); // UTF-8: 2 + 3 + 3
    FaultEnv fault(env);
    KsRef<ksString> text(ksStringCreateFromCstr("held", -1));
    ASSERT_TRUE(venStringToKsString(text.out(), fault.env(), nullptr, jstr(env, "")));
    EXPECT_TRUE(text.get() != nullptr && ksStringLength(text) == 0);
    EXPECT_EQ(fault.calls<&JNINativeInterface_::GetStringCritical>(), 0);
    ASSERT_TRUE(venStringFromKsString(&result, fault.env(), nullptr, text));
    EXPECT_TRUE(result != nullptr && env->GetStringLength(result) == 0);
    EXPECT_TRUE(venStringToKsString(text.out(), env, nullptr, nullptr) && text.get() == nullptr);
    EXPECT_TRUE(venStringFromKsString(&result, fault.env(), nullptr, nullptr) && result == nullptr);
}

struct ThrowableUnit {
    const char* javaName;
    bool unchecked;
    KS_BOOL (*throwCstr)(JNIEnv*, lgStream*, const char* methodName, const char* message);
    KS_BOOL (*throwKsString)(JNIEnv*, lgStream*, const char*, ksString*);
    KS_BOOL (*throwFormat)(JNIEnv*, lgStream*, const char*, const char*, KS_INT, ...);
};

// clang-format off
#define THROWABLE_UNIT(unit, javaName, unchecked)                                                             \
    ThrowableUnit{javaName, unchecked, ven##unit##ThrowUseMessageCstr, ven##unit##ThrowUseMessage, ven##unit##ThrowUseMessageFormatCstr}
// Error and RuntimeException take (message, methodName) and have no other throw forms.
#define SMALL_THROWABLE_UNIT(unit, javaName)                                                                  \
    ThrowableUnit{javaName, true, [](JNIEnv* e, lgStream* t, const char* name, const char* message) {        \
                      return ven##unit##ThrowUseMessage(e, t, message, name); }, nullptr, nullptr}

const ThrowableUnit kUnits[] = {
    THROWABLE_UNIT(IOException, "java.io.IOException", false),
    THROWABLE_UNIT(AssertionError, "java.lang.AssertionError", true),
    SMALL_THROWABLE_UNIT(Error, "java.lang.Error"),
    THROWABLE_UNIT(IllegalArgumentException, "java.lang.IllegalArgumentException", true),
    THROWABLE_UNIT(IllegalStateException, "java.lang.IllegalStateException", true),
    SMALL_THROWABLE_UNIT(RuntimeException, "java.lang.RuntimeException"),
};
// clang-format on

using Throwables = JvmTest;

// Every form throws "F: <message>", traced only when unchecked; the caller's ksString is
// neither taken nor released, the formatted one is released (the frame counts ks objects).
TEST_F(Throwables, EveryThrowForm)
{
    KsRef<ksString> msg(ksStringCreateFromCstr("M \xE2\x82\xAC", -1));
    for (const ThrowableUnit& unit : kUnits) {
        SCOPED_TRACE(unit.javaName);
        std::vector<std::pair<std::function<KS_BOOL(lgStream*)>, const char*>> forms = {
            {[&](lgStream* t) { return unit.throwCstr(env, t, "F", "M"); }, "M"}};
        if (unit.throwKsString != nullptr) {
            forms.emplace_back([&](lgStream* t) { return unit.throwKsString(env, t, "F", msg); },
                               "M \xE2\x82\xAC");
            forms.emplace_back(
                [&](lgStream* t) { return unit.throwFormat(env, t, "F", "value %i", -1, KS_INT{42}); },
                "value 42");
        }
        for (const auto& [call, message] : forms) {
            TestFrame frame(env);
            Trace trace;
            EXPECT_TRUE(call(trace.get()));
            EXPECT_EQ(ksObjRefCount(msg.get()), 1);
            const std::string line = std::string("[F()] Exception: ") + unit.javaName + ": F: " + message;
            EXPECT_EQ(trace.lines(), unit.unchecked ? Lines{line} : Lines{});
            EXPECT_EQ(trace.notable(), unit.unchecked);
            ExpectPending(env, unit.javaName, (std::string("F: ") + message).c_str());
        }
    }
    // Without a name the message is thrown alone, and the trace reports the missing name.
    Trace trace;
    EXPECT_TRUE(
        venThrowNew(env, trace.get(), findClass(env, "java/lang/IllegalStateException"), "bare", nullptr));
    EXPECT_EQ(trace.lines(), Lines{"[venTraceException()] methodName: NULL"});
    ExpectPending(env, "java.lang.IllegalStateException", "bare");
}

} // namespace
