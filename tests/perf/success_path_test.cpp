// What a success path costs beyond its JNI work, counted rather than timed: the JNI calls it
// makes (the wrapper convention's floor is one exception query before each guarded call and
// one after: nothing to clear or throw again when nothing was pending; a composed operation asks
// once and then pays only what each call's own check needs), the raw blocks it takes from
// ksMemAlloc/ksMemAllocN (none, or one for a decoded string), the ks objects it
// delivers, and no trace line. Failure paths are exempt: they may look classes up, call
// toString() and allocate.
#include <algorithm>
#include <cctype>
#include <initializer_list>
#include <string>
#include <vector>

#include "support/ven_test.hpp"
#include "ven/ven.h"

namespace
{

using ven::test::FaultEnv;
using ven::test::JvmTest;
using ven::test::Trace;

// The Java and ks objects the operations work on, made afresh for each test.
struct Objects {
    jclass fieldsClass = nullptr;
    jobject fields = nullptr;
    jfieldID intField = nullptr;
    jfieldID staticIntField = nullptr;
    jfieldID stringField = nullptr;
    jclass methodsClass = nullptr;
    jobject methods = nullptr;
    jmethodID intEcho = nullptr;
    jmethodID staticIntEcho = nullptr;
    jmethodID voidEcho = nullptr;
    jmethodID stringGet = nullptr;
    jstring text = nullptr; // with a supplementary character
    jstring empty = nullptr;
    jintArray ints = nullptr;
    jdoubleArray doubles = nullptr;
    jbyteArray bytes = nullptr;
    jobjectArray strings = nullptr;
    ksString* ksText = nullptr;
    ksString* ksEmpty = nullptr;
    ksBuffer* buffer = nullptr;
    ksVector* vector = nullptr; // "a😀", "" and "b"
};

// What an operation hands to its caller, given back after the counts are taken.
struct Delivered {
    std::vector<jobject> locals;
    std::vector<jobject> globals;
    std::vector<void*> ksObjects;
};

// Runs between the counts: checks of its result must not allocate (no UTF-8 conversions).
void giveBack(JNIEnv* env, const Delivered& delivered)
{
    for (jobject ref : delivered.locals) {
        if (ref != nullptr) {
            env->DeleteLocalRef(ref);
        }
    }
    for (jobject ref : delivered.globals) {
        env->DeleteGlobalRef(ref);
    }
    for (void* object : delivered.ksObjects) {
        ksObjRelease(object);
    }
}

using Operation = bool (*)(JNIEnv* env, lgStream* trace, const Objects& o, Delivered& d);

enum class Order { exact, any };

struct SuccessPath {
    const char* name;
    Operation run;
    std::vector<std::string> jniCalls;
    Order order;
    KS_INT blocks;  // ksMemAlloc/ksMemAllocN calls
    KS_INT objects; // ks objects alive afterwards, delivered to the caller
};

// JNI calls of one guarded wrapper at the floor.
std::vector<std::string> guarded(const char* call)
{
    return {"ExceptionOccurred", call, "ExceptionCheck"};
}

std::vector<std::string> calls(std::initializer_list<std::vector<std::string>> parts)
{
    std::vector<std::string> all;
    for (const auto& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

// A composed operation asks once that nothing is pending; then each call pays only the query
// its own contract needs (none after a non-NULL reference).
std::vector<std::string> settled(std::initializer_list<std::vector<std::string>> parts)
{
    return calls({{"ExceptionCheck"}, calls(parts)});
}

// The jstring-to-ksString conversion of a short non-empty string: length (whose check needs the
// query), then the characters copied out by one region call.
std::vector<std::string> toKsString()
{
    return settled({{"GetStringLength", "ExceptionCheck", "GetStringRegion", "ExceptionCheck"}});
}

template <typename Ref> Ref keep(Delivered& d, Ref ref)
{
    d.locals.push_back(ref);
    return ref;
}

template <typename Obj> Obj* keepKs(Delivered& d, Obj* object)
{
    d.ksObjects.push_back(object);
    return object;
}

const SuccessPath kSuccessPaths[] = {
    // Wrappers.
    {"ven___GetIntField", [](JNIEnv* env, lgStream*, const Objects& o, Delivered&) {
         return ven___GetIntField(env, o.fields, o.intField) == 32;
     }, guarded("GetIntField"), Order::exact, 0, 0},
    {"ven___SetIntField", [](JNIEnv* env, lgStream*, const Objects& o, Delivered&) {
         ven___SetIntField(env, o.fields, o.intField, 33);
         return true;
     }, guarded("SetIntField"), Order::exact, 0, 0},
    {"ven___CallIntMethod", [](JNIEnv* env, lgStream*, const Objects& o, Delivered&) {
         jint value = 0;
         return ven___CallIntMethod(&value, env, o.methods, o.intEcho, jint{5}) == JNI_TRUE && value == 5;
     }, guarded("CallIntMethodV"), Order::exact, 0, 0},
    {"ven___FindClass", [](JNIEnv* env, lgStream*, const Objects&, Delivered& d) {
         return keep(d, ven___FindClass(env, "java/lang/String")) != nullptr;
     }, guarded("FindClass"), Order::exact, 0, 0},
    {"ven___GetStringCritical", [](JNIEnv* env, lgStream*, const Objects& o, Delivered&) {
         const jchar* chars = ven___GetStringCritical(env, o.text, nullptr);
         if (chars != nullptr) {
             ven___ReleaseStringCritical(env, o.text, chars);
         }
         return chars != nullptr;
     }, calls({guarded("GetStringCritical"), {"ReleaseStringCritical"}}), Order::exact, 0, 0},

    // Integration calls: the wrapper's calls and nothing else.
    {"venGetIntField", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered&) {
         KS_INT value = 0;
         return venGetIntField(&value, env, trace, o.fields, o.intField) && value == 32;
     }, guarded("GetIntField"), Order::exact, 0, 0},
    {"venSetIntField", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered&) {
         return venSetIntField(env, trace, o.fields, o.intField, 33) == KS_TRUE;
     }, guarded("SetIntField"), Order::exact, 0, 0},
    {"venGetStaticIntField", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered&) {
         KS_INT value = 0;
         return venGetStaticIntField(&value, env, trace, o.fieldsClass, o.staticIntField) == KS_TRUE;
     }, guarded("GetStaticIntField"), Order::exact, 0, 0},
    {"venCallIntMethod", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered&) {
         KS_INT value = 0;
         return venCallIntMethod(&value, env, trace, o.methods, o.intEcho, jint{-7}) && value == -7;
     }, guarded("CallIntMethodV"), Order::exact, 0, 0},
    {"venCallStaticIntMethod", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered&) {
         KS_INT value = 0;
         return venCallStaticIntMethod(&value, env, trace, o.methodsClass, o.staticIntEcho, jint{9}) && value == 9;
     }, guarded("CallStaticIntMethodV"), Order::exact, 0, 0},
    {"venCallVoidMethod", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered&) {
         return venCallVoidMethod(env, trace, o.methods, o.voidEcho, jint{3}) == KS_TRUE;
     }, guarded("CallVoidMethodV"), Order::exact, 0, 0},
    {"venCallObjectMethod", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered& d) {
         jobject value = nullptr;
         const KS_BOOL ok = venCallObjectMethod(&value, env, trace, o.methods, o.stringGet);
         keep(d, value);
         return ok == KS_TRUE && value != nullptr;
     }, guarded("CallObjectMethodV"), Order::exact, 0, 0},
    {"venGetMethodID", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered&) {
         jmethodID method = nullptr;
         return venGetMethodID(&method, env, trace, o.methodsClass, "intEcho", "(I)I") && method != nullptr;
     }, guarded("GetMethodID"), Order::exact, 0, 0},
    {"venGetFieldID", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered&) {
         jfieldID field = nullptr;
         return venGetFieldID(&field, env, trace, o.fieldsClass, "intField", "I") && field != nullptr;
     }, guarded("GetFieldID"), Order::exact, 0, 0},
    {"venFindClass", [](JNIEnv* env, lgStream* trace, const Objects&, Delivered& d) {
         jclass clazz = nullptr;
         const KS_BOOL ok = venFindClass(&clazz, env, trace, "java/lang/String");
         keep(d, clazz);
         return ok == KS_TRUE;
     }, guarded("FindClass"), Order::exact, 0, 0},
    {"venFindClass replacing a class", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered& d) {
         jclass clazz = static_cast<jclass>(env->functions->NewLocalRef(env, o.fieldsClass));
         const KS_BOOL ok = venFindClass(&clazz, env, trace, "java/lang/String");
         keep(d, clazz);
         return ok == KS_TRUE;
     }, calls({{"NewLocalRef"}, guarded("FindClass"), {"DeleteLocalRef"}}), Order::exact, 0, 0},
    {"venGetObjectClass", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered& d) {
         jclass clazz = nullptr;
         const KS_BOOL ok = venGetObjectClass(&clazz, env, trace, o.fields);
         keep(d, clazz);
         return ok == KS_TRUE;
     }, guarded("GetObjectClass"), Order::exact, 0, 0},
    {"venIsInstanceOf", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered&) {
         KS_BOOL is = KS_FALSE;
         return venIsInstanceOf(&is, env, trace, o.fields, o.fieldsClass) && is == KS_TRUE;
     }, guarded("IsInstanceOf"), Order::exact, 0, 0},
    {"venNewGlobalRef", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered& d) {
         jobject global = nullptr;
         const KS_BOOL ok = venNewGlobalRef(&global, env, trace, o.fields);
         d.globals.push_back(global);
         return ok == KS_TRUE;
     }, guarded("NewGlobalRef"), Order::exact, 0, 0},
    {"venNewStringUTF", [](JNIEnv* env, lgStream* trace, const Objects&, Delivered& d) {
         jstring string = nullptr;
         const KS_BOOL ok = venNewStringUTF(&string, env, trace, "text");
         keep(d, string);
         return ok == KS_TRUE;
     }, guarded("NewStringUTF"), Order::exact, 0, 0},
    {"venGetStringLength", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered&) {
         KS_INT length = 0;
         return venGetStringLength(&length, env, trace, o.text) && length == 8;
     }, guarded("GetStringLength"), Order::exact, 0, 0},
    {"venGetStringCritical and venReleaseStringCritical", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered&) {
         const jchar* chars = nullptr;
         if (!venGetStringCritical(&chars, env, trace, o.text, nullptr)) {
             return false;
         }
         return venReleaseStringCritical(env, trace, o.text, chars) == KS_TRUE;
     }, calls({guarded("GetStringCritical"), {"ReleaseStringCritical"}}), Order::exact, 0, 0},
    {"venGetArrayLength", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered&) {
         KS_INT length = 0;
         return venGetArrayLength(&length, env, trace, o.ints) && length == 4;
     }, guarded("GetArrayLength"), Order::exact, 0, 0},
    {"venNewIntArray", [](JNIEnv* env, lgStream* trace, const Objects&, Delivered& d) {
         jintArray array = nullptr;
         const KS_BOOL ok = venNewIntArray(&array, env, trace, 8);
         keep(d, array);
         return ok == KS_TRUE;
     }, guarded("NewIntArray"), Order::exact, 0, 0},
    {"venGetIntArrayRegion", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered&) {
         jint buffer[4] = {};
         return venGetIntArrayRegion(env, trace, o.ints, 0, 4, buffer) && buffer[3] == -2147483647 - 1;
     }, guarded("GetIntArrayRegion"), Order::exact, 0, 0},
    {"venGetIntArrayElements and venReleaseIntArrayElements", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered&) {
         jint* elements = nullptr;
         if (!venGetIntArrayElements(&elements, env, trace, o.ints, nullptr)) {
             return false;
         }
         return venReleaseIntArrayElements(env, trace, o.ints, elements, JNI_ABORT) == KS_TRUE;
     }, calls({guarded("GetIntArrayElements"), {"ReleaseIntArrayElements"}}), Order::exact, 0, 0},
    {"venSetObjectArrayElement", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered&) {
         return venSetObjectArrayElement(env, trace, o.strings, 1, o.text) == KS_TRUE;
     }, guarded("SetObjectArrayElement"), Order::exact, 0, 0},

    // String conversions: one block for the decoded text; short text is encoded on the stack.
    {"venStringToKsString", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered& d) {
         ksString* string = nullptr;
         const KS_BOOL ok = venStringToKsString(&string, env, trace, o.text);
         keepKs(d, string);
         return ok && string != nullptr && ksStringLength(string) == 7;
     }, toKsString(), Order::exact, 1, 1},
    {"venStringToKsString of an empty string", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered& d) {
         ksString* string = nullptr;
         const KS_BOOL ok = venStringToKsString(&string, env, trace, o.empty);
         keepKs(d, string);
         return ok && string != nullptr && ksStringLength(string) == 0;
     }, settled({{"GetStringLength", "ExceptionCheck"}}), Order::exact, 0, 1},
    {"venStringToKsString of NULL", [](JNIEnv* env, lgStream* trace, const Objects&, Delivered&) {
         ksString* string = nullptr;
         return venStringToKsString(&string, env, trace, nullptr) && string == nullptr;
     }, {}, Order::exact, 0, 0},
    {"venStringFromKsString", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered& d) {
         jstring string = nullptr;
         const KS_BOOL ok = venStringFromKsString(&string, env, trace, o.ksText);
         keep(d, string);
         return ok == KS_TRUE && string != nullptr;
     }, settled({{"NewString"}}), Order::exact, 0, 0},
    {"venStringFromKsString of an empty string", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered& d) {
         jstring string = nullptr;
         const KS_BOOL ok = venStringFromKsString(&string, env, trace, o.ksEmpty);
         keep(d, string);
         return ok == KS_TRUE && string != nullptr;
     }, settled({{"NewString"}}), Order::exact, 0, 0},
    {"venGetStringField", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered& d) {
         ksString* string = nullptr;
         const KS_BOOL ok = venGetStringField(&string, env, trace, o.fields, o.stringField);
         keepKs(d, string);
         return ok && string != nullptr && ksStringLength(string) == 6;
     }, calls({guarded("GetObjectField"), toKsString(), {"DeleteLocalRef"}}), Order::any, 1, 1},
    {"venCallStringMethod", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered& d) {
         ksString* string = nullptr;
         const KS_BOOL ok = venCallStringMethod(&string, env, trace, o.methods, o.stringGet);
         keepKs(d, string);
         return ok && string != nullptr && ksStringLength(string) == 6;
     }, calls({guarded("CallObjectMethodV"), toKsString(), {"DeleteLocalRef"}}), Order::any, 1, 1},

    // Bridges: the integration calls of their composition, one copy of the data.
    {"venCopyIntArrayElements", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered&) {
         KS_INT values[4] = {};
         return venCopyIntArrayElements(values, env, trace, o.ints, 4) && values[3] == -2147483648LL;
     }, calls({guarded("GetArrayLength"), guarded("GetIntArrayElements"), {"ReleaseIntArrayElements"}}),
     Order::exact, 0, 0},
    {"venCopyDoubleArrayElements", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered&) {
         double values[3] = {};
         return venCopyDoubleArrayElements(values, env, trace, o.doubles, 3) && values[2] == 2.5;
     }, calls({guarded("GetArrayLength"), guarded("GetDoubleArrayElements"), {"ReleaseDoubleArrayElements"}}),
     Order::exact, 0, 0},
    {"venNewDoubleArrayOf", [](JNIEnv* env, lgStream* trace, const Objects&, Delivered& d) {
         const double source[] = {1.0, 2.0};
         jdoubleArray array = nullptr;
         const KS_BOOL ok = venNewDoubleArrayOf(&array, env, trace, source, 2);
         keep(d, array);
         return ok == KS_TRUE;
     }, calls({guarded("NewDoubleArray"), guarded("GetDoubleArrayElements"), {"ReleaseDoubleArrayElements"}}),
     Order::exact, 0, 0},
    {"venNewByteArrayFromBuffer", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered& d) {
         jbyteArray array = nullptr;
         const KS_BOOL ok = venNewByteArrayFromBuffer(&array, env, trace, o.buffer);
         keep(d, array);
         return ok == KS_TRUE;
     }, calls({guarded("NewByteArray"), guarded("SetByteArrayRegion")}), Order::exact, 0, 0},
    {"venGetByteArrayRegionAsBuffer", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered& d) {
         ksBuffer* buffer = nullptr;
         const KS_BOOL ok = venGetByteArrayRegionAsBuffer(&buffer, env, trace, o.bytes, 1, 3);
         keepKs(d, buffer);
         return ok && buffer != nullptr && ksBufferLength(buffer) == 3;
     }, guarded("GetByteArrayRegion"), Order::exact, 1, 1},
    {"venGetPrimitiveArrayAsKsBuffer", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered& d) {
         ksBuffer* buffer = nullptr;
         const KS_BOOL ok = venGetPrimitiveArrayAsKsBuffer(&buffer, env, trace, o.bytes);
         keepKs(d, buffer);
         return ok && buffer != nullptr && ksBufferLength(buffer) == 5;
     }, calls({guarded("GetArrayLength"), guarded("GetPrimitiveArrayCritical"), {"ReleasePrimitiveArrayCritical"}}),
     Order::exact, 0, 1},
    // Three elements, one of them empty, encoded on the stack; three references at most.
    {"venNewStringArrayFromKsVector", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered& d) {
         jobjectArray array = nullptr;
         const KS_BOOL ok = venNewStringArrayFromKsVector(&array, env, trace, o.vector);
         keep(d, array);
         return ok == KS_TRUE;
     }, settled({{"FindClass", "NewObjectArray"},
                 {"NewString", "SetObjectArrayElement", "ExceptionCheck"},
                 {"NewString", "DeleteLocalRef", "SetObjectArrayElement", "ExceptionCheck"},
                 {"NewString", "DeleteLocalRef", "SetObjectArrayElement", "ExceptionCheck"},
                 {"DeleteLocalRef", "DeleteLocalRef"}}),
     Order::any, 0, 0},

    // Boxing and object text: class support composed of integration calls.
    {"venBooleanValueOf", [](JNIEnv* env, lgStream* trace, const Objects&, Delivered& d) {
         jobject boxed = nullptr;
         const KS_BOOL ok = venBooleanValueOf(&boxed, env, trace, KS_TRUE);
         keep(d, boxed);
         return ok == KS_TRUE && boxed != nullptr;
     }, calls({guarded("FindClass"), guarded("GetStaticMethodID"), guarded("CallStaticObjectMethodV"),
               {"DeleteLocalRef"}}), Order::exact, 0, 0},
    {"venLongValueOf", [](JNIEnv* env, lgStream* trace, const Objects&, Delivered& d) {
         jobject boxed = nullptr;
         const KS_BOOL ok = venLongValueOf(&boxed, env, trace, 42);
         keep(d, boxed);
         return ok == KS_TRUE && boxed != nullptr;
     }, calls({guarded("FindClass"), guarded("GetStaticMethodID"), guarded("CallStaticObjectMethodV"),
               {"DeleteLocalRef"}}), Order::exact, 0, 0},
    {"venObjectToString", [](JNIEnv* env, lgStream* trace, const Objects& o, Delivered& d) {
         ksString* text = nullptr;
         const KS_BOOL ok = venObjectToString(&text, env, trace, o.text);
         keepKs(d, text);
         return ok && text != nullptr && ksStringLength(text) == 7;
     }, calls({guarded("GetObjectClass"), guarded("GetMethodID"), guarded("CallObjectMethodV"), toKsString(),
               {"DeleteLocalRef", "DeleteLocalRef"}}), Order::any, 1, 1},
};

class SuccessPathTest : public JvmTest, public ::testing::WithParamInterface<SuccessPath>
{
  protected:
    void SetUp() override
    {
        JvmTest::SetUp();
        // Checked JNI wants the exception state asked after every call that can raise.
        const auto made = [this](auto result) {
            EXPECT_FALSE(env->ExceptionCheck());
            return result;
        };
        o.fieldsClass = ven::test::findClass(env, "fixtures/Fields");
        o.methodsClass = ven::test::findClass(env, "fixtures/Methods");
        ASSERT_NE(o.fieldsClass, nullptr);
        ASSERT_NE(o.methodsClass, nullptr);
        o.fields =
            made(env->NewObject(o.fieldsClass, made(env->GetMethodID(o.fieldsClass, "<init>", "()V"))));
        o.intField = made(env->GetFieldID(o.fieldsClass, "intField", "I"));
        o.staticIntField = made(env->GetStaticFieldID(o.fieldsClass, "staticIntField", "I"));
        o.stringField = made(env->GetFieldID(o.fieldsClass, "stringField", "Ljava/lang/String;"));
        o.methods =
            made(env->NewObject(o.methodsClass, made(env->GetMethodID(o.methodsClass, "<init>", "()V"))));
        o.intEcho = made(env->GetMethodID(o.methodsClass, "intEcho", "(I)I"));
        o.staticIntEcho = made(env->GetStaticMethodID(o.methodsClass, "staticIntEcho", "(I)I"));
        o.voidEcho = made(env->GetMethodID(o.methodsClass, "voidEcho", "(I)V"));
        o.stringGet = made(env->GetMethodID(o.methodsClass, "stringGet", "()Ljava/lang/String;"));
        o.text = ven::test::jstr(env, "grüß 😀!");
        o.empty = ven::test::jstr(env, "");

        const jint ints[] = {1, -1, 2147483647, -2147483647 - 1};
        o.ints = made(env->NewIntArray(4));
        env->SetIntArrayRegion(o.ints, 0, 4, ints);
        made(0);
        const jdouble doubles[] = {0.5, 1.5, 2.5};
        o.doubles = made(env->NewDoubleArray(3));
        env->SetDoubleArrayRegion(o.doubles, 0, 3, doubles);
        made(0);
        const jbyte bytes[] = {1, 2, 3, 4, 5};
        o.bytes = made(env->NewByteArray(5));
        env->SetByteArrayRegion(o.bytes, 0, 5, bytes);
        made(0);
        jclass stringClass = ven::test::findClass(env, "java/lang/String");
        o.strings = made(env->NewObjectArray(2, stringClass, nullptr));
        ASSERT_FALSE(HasFailure());

        o.ksText = ven::test::ksStr("grüß 😀!").release();
        o.ksEmpty = ven::test::ksStr("").release();
        o.buffer = ksBufferCreateFromBytesCopy(bytes, 5);
        o.vector = ksVectorCreate();
        for (const char* element : {"a😀", "", "b"}) {
            ven::test::KsRef<ksString> string = ven::test::ksStr(element);
            ksVectorAppend(o.vector, string.get());
        }
    }

    void TearDown() override
    {
        for (void* object : {static_cast<void*>(o.ksText), static_cast<void*>(o.ksEmpty),
                             static_cast<void*>(o.buffer), static_cast<void*>(o.vector)}) {
            ksObjRelease(object);
        }
        JvmTest::TearDown();
    }

    Objects o;
};

void PrintTo(const SuccessPath& path, std::ostream* out)
{
    *out << path.name;
}

std::vector<std::string> sorted(std::vector<std::string> names)
{
    std::sort(names.begin(), names.end());
    return names;
}

TEST_P(SuccessPathTest, MakesOnlyTheConventionsJniCallsAndItsOwnAllocations)
{
    const SuccessPath& path = GetParam();
    Trace trace;
    // Once before counting: nothing a first call sets up (class loading, linking) is counted.
    {
        Delivered warmUp;
        const bool warmedUp = path.run(env, trace.get(), o, warmUp);
        giveBack(env, warmUp);
        ASSERT_TRUE(warmedUp) << path.name << " failed";
    }

    FaultEnv fault(env);
    Delivered delivered;
    const KS_INT blocksBefore = ksMemAllocCount();
    const KS_INT objectsBefore = ksObjLiveCount();
    const bool succeeded = path.run(fault.env(), trace.get(), o, delivered);
    const KS_INT blocks = ksMemAllocCount() - blocksBefore;
    const KS_INT objects = ksObjLiveCount() - objectsBefore;

    EXPECT_TRUE(succeeded);
    EXPECT_FALSE(env->ExceptionCheck());
    EXPECT_EQ(blocks, path.blocks) << "raw blocks from ksMemAlloc/ksMemAllocN";
    EXPECT_EQ(objects, path.objects) << "ks objects alive afterwards";
    if (path.order == Order::exact) {
        EXPECT_EQ(fault.trail(), path.jniCalls);
    } else {
        EXPECT_EQ(sorted(fault.trail()), sorted(path.jniCalls));
    }
    EXPECT_TRUE(trace.lines().empty()) << "a success path wrote " << trace.lines().front();
    EXPECT_FALSE(trace.notable());
    EXPECT_EQ(fault.ledger().live(),
              static_cast<int>(std::count_if(delivered.locals.begin(), delivered.locals.end(),
                                             [](jobject ref) { return ref != nullptr; })))
        << "local references left behind beyond those delivered";

    giveBack(env, delivered);
}

std::string rowName(const ::testing::TestParamInfo<SuccessPath>& info)
{
    std::string name = info.param.name;
    std::replace_if(
        name.begin(), name.end(), [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); }, '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Perf, SuccessPathTest, ::testing::ValuesIn(kSuccessPaths), rowName);

// Only with an exception pending does a wrapper take the convention's further steps: set it
// aside (clear, check), and after the call clear, check, throw it again and check.
using ConventionCostTest = JvmTest;

TEST_F(ConventionCostTest, PendingExceptionCostsTheFullConventionOnlyWhenPresent)
{
    jclass fieldsClass = ven::test::findClass(env, "fixtures/Fields");
    ASSERT_NE(fieldsClass, nullptr);
    jobject fields = env->NewObject(fieldsClass, env->GetMethodID(fieldsClass, "<init>", "()V"));
    jfieldID intField = env->GetFieldID(fieldsClass, "intField", "I");
    env->Throw(ven::test::makeThrowable(env, "java/lang/IllegalStateException", "pending"));

    FaultEnv fault(env);
    EXPECT_EQ(ven___GetIntField(fault.env(), fields, intField), 32);
    const std::vector<std::string> expected = {"ExceptionOccurred", "ExceptionClear", "ExceptionCheck",
                                               "GetIntField",       "ExceptionCheck", "ExceptionClear",
                                               "ExceptionCheck",    "Throw",          "ExceptionCheck"};
    EXPECT_EQ(fault.trail(), expected);
    ven::test::ExpectPending(env, "java.lang.IllegalStateException", "pending");
}

// The UTF-16 routines allocate exactly their result block: decoding always (a block for
// no code points included), encoding except for an empty input.
TEST(Utf16RoutineAllocations, OneBlockPerResult)
{
    struct Case {
        const char* name;
        std::u16string units;
        KS_INT blocks;
    };
    const Case decodes[] = {
        {"empty", u"", 1},
        {"BMP, longer than a block", u"Καλημέρα κόσμε, grüß dich", 1},
        {"a pair", u"a\U0001F600b", 1},
        {"ill-formed: the block is freed again", u"a\xD800", 1},
    };
    for (const Case& c : decodes) {
        KS_CHAR* chars = nullptr;
        KS_INT length = -1;
        const KS_INT before = ksMemAllocCount();
        const KS_BOOL decoded =
            ven___JCharsToChars(&chars, &length, reinterpret_cast<const jchar*>(c.units.data()),
                                static_cast<KS_INT>(c.units.size()));
        EXPECT_EQ(ksMemAllocCount() - before, c.blocks) << c.name;
        if (decoded) {
            ksMemFree(chars);
        }
    }

    const std::u32string codePoints[] = {U"", U"x", U"Καλημέρα κόσμε, grüß dich \U0001F600"};
    for (const std::u32string& text : codePoints) {
        jchar* units = nullptr;
        KS_INT length = -1;
        const KS_INT before = ksMemAllocCount();
        ven___CharsToJChars(&units, &length, reinterpret_cast<const KS_CHAR*>(text.data()),
                            static_cast<KS_INT>(text.size()));
        EXPECT_EQ(ksMemAllocCount() - before, text.empty() ? 0 : 1) << text.size() << " code points";
        ksMemFree(units);
    }
}

} // namespace
