// The string wrappers: argument checks with their lines, creation, lengths, pinned and
// critical characters, regions, and the consistency checks a misbehaving JNI can trigger.
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "wrapper/wrapper_test.hpp"

namespace ven::test::wrapper
{
namespace
{

struct FatalCase {
    const char* function;
    int line;
    const char* condition;
    std::function<void(JNIEnv*, jstring, const jchar*)> call;
};

// The required checks, each with arguments valid up to the one tested and NULL after it.
const std::vector<FatalCase> kFatalCases = {
    {"ven___NewString", 3756, "env",
     [](JNIEnv*, jstring, const jchar*) { ven___NewString(nullptr, nullptr, -1); }},
    {"ven___NewString", 3757, "unicodeChars || len == 0",
     [](JNIEnv* env, jstring, const jchar*) { ven___NewString(env, nullptr, -1); }},
    {"ven___NewString", 3757, "unicodeChars || len == 0",
     [](JNIEnv* env, jstring, const jchar*) { ven___NewString(env, nullptr, 1); }},
    {"ven___NewString", 3758, "len >= 0",
     [](JNIEnv* env, jstring, const jchar* chars) { ven___NewString(env, chars, -1); }},
    {"ven___NewStringUTF", 3847, "env",
     [](JNIEnv*, jstring, const jchar*) { ven___NewStringUTF(nullptr, nullptr); }},
    {"ven___NewStringUTF", 3848, "bytes",
     [](JNIEnv* env, jstring, const jchar*) { ven___NewStringUTF(env, nullptr); }},
    {"ven___GetStringLength", 3785, "env",
     [](JNIEnv*, jstring, const jchar*) { ven___GetStringLength(nullptr, nullptr); }},
    {"ven___GetStringLength", 3786, "string",
     [](JNIEnv* env, jstring, const jchar*) { ven___GetStringLength(env, nullptr); }},
    {"ven___GetStringUTFLength", 3875, "env",
     [](JNIEnv*, jstring, const jchar*) { ven___GetStringUTFLength(nullptr, nullptr); }},
    {"ven___GetStringUTFLength", 3876, "string",
     [](JNIEnv* env, jstring, const jchar*) { ven___GetStringUTFLength(env, nullptr); }},
    {"ven___GetStringChars", 3811, "env",
     [](JNIEnv*, jstring, const jchar*) { ven___GetStringChars(nullptr, nullptr, nullptr); }},
    {"ven___GetStringChars", 3812, "string",
     [](JNIEnv* env, jstring, const jchar*) { ven___GetStringChars(env, nullptr, nullptr); }},
    {"ven___GetStringUTFChars", 3900, "env",
     [](JNIEnv*, jstring, const jchar*) { ven___GetStringUTFChars(nullptr, nullptr, nullptr); }},
    {"ven___GetStringUTFChars", 3901, "string",
     [](JNIEnv* env, jstring, const jchar*) { ven___GetStringUTFChars(env, nullptr, nullptr); }},
    {"ven___GetStringCritical", 3990, "env",
     [](JNIEnv*, jstring, const jchar*) { ven___GetStringCritical(nullptr, nullptr, nullptr); }},
    {"ven___GetStringCritical", 3991, "string",
     [](JNIEnv* env, jstring, const jchar*) { ven___GetStringCritical(env, nullptr, nullptr); }},
    {"ven___ReleaseStringChars", 3836, "env",
     [](JNIEnv*, jstring, const jchar*) { ven___ReleaseStringChars(nullptr, nullptr, nullptr); }},
    {"ven___ReleaseStringChars", 3837, "string",
     [](JNIEnv* env, jstring, const jchar*) { ven___ReleaseStringChars(env, nullptr, nullptr); }},
    {"ven___ReleaseStringChars", 3838, "chars",
     [](JNIEnv* env, jstring s, const jchar*) { ven___ReleaseStringChars(env, s, nullptr); }},
    {"ven___ReleaseStringUTFChars", 3925, "env",
     [](JNIEnv*, jstring, const jchar*) { ven___ReleaseStringUTFChars(nullptr, nullptr, nullptr); }},
    {"ven___ReleaseStringUTFChars", 3926, "string",
     [](JNIEnv* env, jstring, const jchar*) { ven___ReleaseStringUTFChars(env, nullptr, nullptr); }},
    {"ven___ReleaseStringUTFChars", 3927, "utf",
     [](JNIEnv* env, jstring s, const jchar*) { ven___ReleaseStringUTFChars(env, s, nullptr); }},
    {"ven___ReleaseStringCritical", 4015, "env",
     [](JNIEnv*, jstring, const jchar*) { ven___ReleaseStringCritical(nullptr, nullptr, nullptr); }},
    {"ven___ReleaseStringCritical", 4016, "string",
     [](JNIEnv* env, jstring, const jchar*) { ven___ReleaseStringCritical(env, nullptr, nullptr); }},
    {"ven___ReleaseStringCritical", 4017, "carray",
     [](JNIEnv* env, jstring s, const jchar*) { ven___ReleaseStringCritical(env, s, nullptr); }},
    {"ven___GetStringRegion", 3936, "env",
     [](JNIEnv*, jstring, const jchar*) { ven___GetStringRegion(nullptr, nullptr, 0, 1, nullptr); }},
    {"ven___GetStringRegion", 3937, "str",
     [](JNIEnv* env, jstring, const jchar*) { ven___GetStringRegion(env, nullptr, 0, 1, nullptr); }},
    {"ven___GetStringRegion", 3938, "buf",
     [](JNIEnv* env, jstring s, const jchar*) { ven___GetStringRegion(env, s, 0, 1, nullptr); }},
    {"ven___GetStringUTFRegion", 3963, "env",
     [](JNIEnv*, jstring, const jchar*) { ven___GetStringUTFRegion(nullptr, nullptr, 0, 1, nullptr); }},
    {"ven___GetStringUTFRegion", 3964, "str",
     [](JNIEnv* env, jstring, const jchar*) { ven___GetStringUTFRegion(env, nullptr, 0, 1, nullptr); }},
    {"ven___GetStringUTFRegion", 3965, "buf",
     [](JNIEnv* env, jstring s, const jchar*) { ven___GetStringUTFRegion(env, s, 0, 1, nullptr); }},
};

using WrapperStrings = JvmTest;

TEST_F(WrapperStrings, EveryArgumentCheck)
{
    jstring string = jstr(env, "text");
    const jchar chars[] = {'a'};
    for (const FatalCase& fatal : kFatalCases) {
        SCOPED_TRACE(std::string(fatal.function) + " line " + std::to_string(fatal.line));
        EXPECT_VEN_ABORT(fatal.call(env, string, chars), kPath, fatal.line, fatal.condition);
    }
}

TEST_F(WrapperStrings, CreationAndLengths)
{
    jstring empty = ven___NewString(env, nullptr, 0);
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(ven___GetStringLength(env, empty), 0);

    const jchar units[] = {'h', 0xE9, 0xFFFF, 0xD83D, 0xDE00};
    jstring string = ven___NewString(env, units, 5);
    ASSERT_NE(string, nullptr);
    EXPECT_EQ(ven::test::units(env, string), std::u16string(u"h\u00e9\uffff\U0001F600"));
    EXPECT_EQ(ven___GetStringLength(env, string), 5);
    EXPECT_EQ(ven___GetStringUTFLength(env, string), 1 + 2 + 3 + 6);

    jstring utf = ven___NewStringUTF(env, "h\xc3\xa9");
    EXPECT_EQ(utf8(env, utf), "h\xc3\xa9");

    jthrowable e1 = throwE1(env);
    EXPECT_NE(ven___NewStringUTF(env, "x"), nullptr);
    EXPECT_EQ(ven___GetStringUTFLength(env, utf), 3);
    expectSamePending(env, e1);
}

TEST_F(WrapperStrings, PinnedCriticalAndRegions)
{
    jstring string = jstr(env, "h\xc3\xa9llo");
    jboolean isCopy = 2;
    const jchar* chars = ven___GetStringChars(env, string, &isCopy);
    ASSERT_NE(chars, nullptr);
    EXPECT_NE(isCopy, 2);
    EXPECT_EQ(std::u16string(reinterpret_cast<const char16_t*>(chars), 5), u"h\u00e9llo");
    ven___ReleaseStringChars(env, string, chars);

    const char* utf = ven___GetStringUTFChars(env, string, nullptr);
    ASSERT_NE(utf, nullptr);
    EXPECT_STREQ(utf, "h\xc3\xa9llo");
    ven___ReleaseStringUTFChars(env, string, utf);

    // Characters beyond Latin-1, so that the virtual machine pins them instead of copying.
    jstring wide = jstr(env, u"w\u0100de");
    const jchar* critical = nullptr;
    {
        ExpectJniWarning guard(kCriticalRegionWarning,
                               "the checked-result wrapper asks ExceptionCheck in the region");
        critical = ven___GetStringCritical(env, wide, nullptr);
    }
    ASSERT_NE(critical, nullptr);
    EXPECT_EQ(critical[1], 0x100);
    ven___ReleaseStringCritical(env, wide, critical);

    jchar region[3] = {};
    EXPECT_EQ(ven___GetStringRegion(env, string, 1, 3, region), JNI_TRUE);
    EXPECT_EQ(std::u16string(reinterpret_cast<const char16_t*>(region), 3), u"\u00e9ll");
    char utfRegion[8] = {};
    EXPECT_EQ(ven___GetStringUTFRegion(env, string, 0, 2, utfRegion), JNI_TRUE);
    EXPECT_STREQ(utfRegion, "h\xc3\xa9");

    // Out of range: JNI_FALSE with the index exception pending, the earlier exception gone.
    jthrowable e1 = throwE1(env);
    EXPECT_EQ(ven___GetStringRegion(env, string, 4, 2, region), JNI_FALSE);
    ExpectPendingClass(env, "java.lang.StringIndexOutOfBoundsException");
    EXPECT_EQ(ven___GetStringUTFRegion(env, string, -1, 1, utfRegion), JNI_FALSE);
    ExpectPendingClass(env, "java.lang.StringIndexOutOfBoundsException");
    env->DeleteGlobalRef(e1);

    // In range with an exception pending: it is pending again afterwards; the releases are
    // direct calls that leave it alone.
    e1 = throwE1(env);
    EXPECT_EQ(ven___GetStringRegion(env, string, 0, 1, region), JNI_TRUE);
    chars = ven___GetStringChars(env, string, nullptr);
    utf = ven___GetStringUTFChars(env, string, nullptr);
    FaultEnv fault(env);
    ven___ReleaseStringChars(fault.env(), string, chars);
    ven___ReleaseStringUTFChars(fault.env(), string, utf);
    EXPECT_EQ(fault.trail(), (std::vector<std::string>{"ReleaseStringChars", "ReleaseStringUTFChars"}));
    expectSamePending(env, e1);
}

// What a misbehaving JNI can make the string wrappers stop on.
TEST_F(WrapperStrings, ConsistencyChecks)
{
    jstring string = jstr(env, "text");
    const jchar units[] = {'a'};
    FaultEnv fault(env);
    JNIEnv* bad = fault.env();

    fault.returnNull<&Jni::NewString>();
    EXPECT_VEN_ABORT_MESSAGE(ven___NewString(bad, units, 1), kPath, 3770, nullMessage("NewString").c_str());
    fault.returnNull<&Jni::NewStringUTF>();
    EXPECT_VEN_ABORT_MESSAGE(ven___NewStringUTF(bad, "a"), kPath, 3860, nullMessage("NewStringUTF").c_str());
    fault.returnNull<&Jni::GetStringChars>();
    EXPECT_VEN_ABORT_MESSAGE(ven___GetStringChars(bad, string, nullptr), kPath, 3824,
                             nullMessage("GetStringChars").c_str());
    fault.returnNull<&Jni::GetStringUTFChars>();
    EXPECT_VEN_ABORT_MESSAGE(ven___GetStringUTFChars(bad, string, nullptr), kPath, 3913,
                             nullMessage("GetStringUTFChars").c_str());
    fault.returnNull<&Jni::GetStringCritical>();
    EXPECT_VEN_ABORT_MESSAGE(ven___GetStringCritical(bad, string, nullptr), kPath, 4003,
                             nullMessage("GetStringCritical").c_str());

    fault.returnValue<&Jni::GetStringLength>(-1);
    EXPECT_VEN_ABORT_MESSAGE(ven___GetStringLength(bad, string), kPath, 3796,
                             "(*env)->GetStringLength() < 0");
    fault.returnValue<&Jni::GetStringUTFLength>(-2);
    EXPECT_VEN_ABORT_MESSAGE(ven___GetStringUTFLength(bad, string), kPath, 3886,
                             "(*env)->GetStringUTFLength() < 0");
    fault.raiseOutOfMemory<&Jni::GetStringLength>();
    EXPECT_VEN_ABORT(ven___GetStringLength(bad, string), kPath, 3793, kNoException);
    ExpectPendingClass(env, "java.lang.OutOfMemoryError");
    fault.raiseOutOfMemory<&Jni::GetStringUTFLength>();
    EXPECT_VEN_ABORT(ven___GetStringUTFLength(bad, string), kPath, 3883, kNoException);
    ExpectPendingClass(env, "java.lang.OutOfMemoryError");

    // A creation that raised: NULL, whatever JNI returned.
    fault.raiseReturning<&Jni::NewStringUTF>("java/lang/OutOfMemoryError", "full", string);
    EXPECT_EQ(ven___NewStringUTF(bad, "a"), nullptr);
    ExpectPending(env, "java.lang.OutOfMemoryError", "full");
}

} // namespace
} // namespace ven::test::wrapper
