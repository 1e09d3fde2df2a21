// Method invocation through the integration layer: every call function of the three kinds
// driven through one table row per result type, with its conversions at their edges, its
// failure paths and its argument tests; the va_list and string forms; the lookups.
#include <cfloat>
#include <cstdint>
#include <functional>
#include <limits>
#include <vector>

#include "families_test.hpp"

namespace ven::families_test
{
namespace
{

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

template <typename Ven, typename Jni> struct CallFamily {
    std::string type; // as in the names: venCall[Nonvirtual|Static]<type>Method, <type>Echo
    const char* sig;  // of the echo methods
    KS_BOOL (*call)(Ven*, JNIEnv*, lgStream*, jobject, jmethodID, ...);
    KS_BOOL (*callNonvirtual)(Ven*, JNIEnv*, lgStream*, jobject, jclass, jmethodID, ...);
    KS_BOOL (*callStatic)(Ven*, JNIEnv*, lgStream*, jclass, jmethodID, ...);
    std::vector<std::pair<Jni, Ven>> edges; // the argument echoed, the value delivered
    Ven nonZero;                            // what result holds before a failing call
};

#define VEN_CALL_ROW(Type, sig)                                                                              \
#Type, sig, venCall##Type##Method, venCallNonvirtual##Type##Method, venCallStatic##Type##Method

// A char is zero-extended with no surrogate processing, a float widened exactly.
const CallFamily<KS_BOOL, jboolean> kBooleans{
    VEN_CALL_ROW(Boolean, "(Z)Z"), {{JNI_TRUE, KS_TRUE}, {JNI_FALSE, KS_FALSE}}, KS_TRUE};
const CallFamily<jbyte, jbyte> kBytes{VEN_CALL_ROW(Byte, "(B)B"), {{-128, -128}, {127, 127}, {-1, -1}}, 5};
const CallFamily<KS_CHAR, jchar> kChars{
    VEN_CALL_ROW(Char, "(C)C"), {{0xD83D, 55357}, {0xFFFF, 65535}, {0, 0}}, 5};
const CallFamily<KS_INT, jshort> kShorts{
    VEN_CALL_ROW(Short, "(S)S"), {{-1, -1}, {-32768, -32768}, {32767, 32767}}, 5};
const CallFamily<KS_INT, jint> kInts{
    VEN_CALL_ROW(Int, "(I)I"), {{-1, -1}, {INT32_MIN, INT32_MIN}, {INT32_MAX, INT32_MAX}}, 5};
const CallFamily<KS_INT, jlong> kLongs{
    VEN_CALL_ROW(Long, "(J)J"), {{INT64_MIN, INT64_MIN}, {INT64_MAX, INT64_MAX}}, 5};
const CallFamily<double, jfloat> kFloats{VEN_CALL_ROW(Float, "(F)F"),
                                         {{0.1f, 0.100000001490116119384765625},
                                          {std::numeric_limits<float>::quiet_NaN(), kNaN},
                                          {-0.0f, -0.0},
                                          {FLT_TRUE_MIN, 1.40129846432481707092372958329e-45}},
                                         5.0};
const CallFamily<double, jdouble> kDoubles{
    VEN_CALL_ROW(Double, "(D)D"),
    {{0.1, 0.1}, {kNaN, kNaN}, {-0.0, -0.0}, {DBL_TRUE_MIN, DBL_TRUE_MIN}},
    5.0};

enum class Kind { Virtual, Nonvirtual, Static };
const char* prefixOf(Kind kind)
{
    return kind == Kind::Virtual      ? "venCall"
           : kind == Kind::Nonvirtual ? "venCallNonvirtual"
                                      : "venCallStatic";
}

// The va_list forms called as a native caller would, from its own variable argument list.
KS_BOOL callObjectV(jobject* result, JNIEnv* env, lgStream* trace, jobject obj, jmethodID methodID, ...)
{
    va_list args;
    va_start(args, methodID);
    KS_BOOL ok = venCallObjectMethodV(result, env, trace, obj, methodID, args);
    va_end(args);
    return ok;
}
KS_BOOL callNonvirtualObjectV(jobject* result, JNIEnv* env, lgStream* trace, jobject obj, jclass clazz,
                              jmethodID methodID, ...)
{
    va_list args;
    va_start(args, methodID);
    KS_BOOL ok = venCallNonvirtualObjectMethodV(result, env, trace, obj, clazz, methodID, args);
    va_end(args);
    return ok;
}
KS_BOOL callStaticObjectV(jobject* result, JNIEnv* env, lgStream* trace, jclass clazz, jmethodID methodID,
                          ...)
{
    va_list args;
    va_start(args, methodID);
    KS_BOOL ok = venCallStaticObjectMethodV(result, env, trace, clazz, methodID, args);
    va_end(args);
    return ok;
}

class MethodsTest : public JvmTest
{
  protected:
    void SetUp() override
    {
        JvmTest::SetUp();
        methods = findClass(env, "fixtures/Methods");
        parent = newInstance(env, "fixtures/Methods");
        child = newInstance(env, "fixtures/MethodsChild");
        failureField = env->GetStaticFieldID(methods, "failure", "Ljava/lang/Throwable;");
    }
    void TearDown() override
    {
        env->CallStaticVoidMethod(methods, env->GetStaticMethodID(methods, "resetStatics", "()V"));
        JvmTest::TearDown();
    }

    // Makes every fixture method throw `className` with the message "requested" (NULL: none).
    void failWith(const char* className)
    {
        jthrowable failure = className != nullptr ? makeThrowable(env, className, "requested") : nullptr;
        env->SetStaticObjectField(methods, failureField, failure);
    }

    jmethodID method(Kind kind, const std::string& name, const char* sig)
    {
        return kind == Kind::Static ? env->GetStaticMethodID(methods, name.c_str(), sig)
                                    : env->GetMethodID(methods, name.c_str(), sig);
    }

    // Calls the family's function of `kind` on the echo method: virtually on a parent, on a
    // child through the parent's class, or statically.
    template <typename Ven, typename Jni>
    KS_BOOL echo(const CallFamily<Ven, Jni>& family, Kind kind, Ven* result, lgStream* trace, Jni argument)
    {
        std::string lower = family.type;
        lower[0] = static_cast<char>(std::tolower(lower[0]));
        switch (kind) {
        case Kind::Virtual:
            return family.call(result, env, trace, parent, method(kind, lower + "Echo", family.sig),
                               argument);
        case Kind::Nonvirtual:
            return family.callNonvirtual(result, env, trace, child, methods,
                                         method(kind, lower + "Echo", family.sig), argument);
        case Kind::Static:
            return family.callStatic(result, env, trace, methods,
                                     method(kind, "static" + family.type + "Echo", family.sig), argument);
        }
        return KS_FALSE;
    }

    template <typename Ven, typename Jni> void checkFamily(const CallFamily<Ven, Jni>& family)
    {
        LoopFrame familyFrame(env);
        for (Kind kind : {Kind::Virtual, Kind::Nonvirtual, Kind::Static}) {
            const std::string name = prefixOf(kind) + family.type + "Method";
            SCOPED_TRACE(name);
            LoopFrame frame(env);
            for (const auto& [argument, expected] : family.edges) {
                Ven result = family.nonZero;
                EXPECT_EQ(KS_TRUE, echo(family, kind, &result, nullptr, argument));
                EXPECT_TRUE(same(expected, result)) << +argument;
            }
            // Unchecked: zero, traced under the function's own name; checked: zero, no trace.
            Trace trace;
            Ven result = family.nonZero;
            failWith("java/lang/IllegalStateException");
            EXPECT_EQ(KS_FALSE, echo(family, kind, &result, trace.get(), family.edges.front().first));
            EXPECT_TRUE(same(Ven{}, result));
            ExpectPending(env, "java.lang.IllegalStateException", "requested");
            EXPECT_EQ(std::vector<std::string>{"[" + name +
                                               "()] Exception: java.lang.IllegalStateException: requested"},
                      trace.lines());
            EXPECT_TRUE(trace.notable());
            trace.reset();
            result = family.nonZero;
            failWith("java/io/IOException");
            EXPECT_EQ(KS_FALSE, echo(family, kind, &result, trace.get(), family.edges.front().first));
            EXPECT_TRUE(same(Ven{}, result));
            ExpectPending(env, "java.io.IOException", "requested");
            EXPECT_TRUE(trace.lines().empty());
            EXPECT_FALSE(trace.notable());
            failWith(nullptr);
            // Arguments in order: result, then obj and clazz as the kind has them, then methodID.
            expectArgumentFailure(env, echo<Ven, Jni>(family, kind, nullptr, nullptr, {}),
                                  name + ": result != NULL");
        }
        const std::string plain = std::string("venCall") + family.type + "Method: ";
        const std::string nonvirtual = std::string("venCallNonvirtual") + family.type + "Method: ";
        const std::string statics = std::string("venCallStatic") + family.type + "Method: ";
        jmethodID id = method(Kind::Virtual, "toString", "()Ljava/lang/String;");
        Ven result = family.nonZero;
        expectArgumentFailure(env, family.call(&result, env, nullptr, nullptr, nullptr),
                              plain + "obj != NULL");
        expectArgumentFailure(env, family.call(&result, env, nullptr, parent, nullptr),
                              plain + "methodID != NULL");
        expectArgumentFailure(env, family.callNonvirtual(&result, env, nullptr, nullptr, nullptr, nullptr),
                              nonvirtual + "obj != NULL");
        expectArgumentFailure(env, family.callNonvirtual(&result, env, nullptr, child, nullptr, id),
                              nonvirtual + "clazz != NULL");
        expectArgumentFailure(env, family.callNonvirtual(&result, env, nullptr, child, methods, nullptr),
                              nonvirtual + "methodID != NULL");
        expectArgumentFailure(env, family.callStatic(&result, env, nullptr, nullptr, nullptr),
                              statics + "clazz != NULL");
        expectArgumentFailure(env, family.callStatic(&result, env, nullptr, methods, nullptr),
                              statics + "methodID != NULL");
        EXPECT_TRUE(same(family.nonZero, result));
    }

    jclass methods = nullptr;
    jobject parent = nullptr;
    jobject child = nullptr;
    jfieldID failureField = nullptr;
};

TEST_F(MethodsTest, EveryResultTypeConvertsAtItsEdgesFailsToZeroAndTestsItsArguments)
{
    checkFamily(kBooleans);
    checkFamily(kBytes);
    checkFamily(kChars);
    checkFamily(kShorts);
    checkFamily(kInts);
    checkFamily(kLongs);
    checkFamily(kFloats);
    checkFamily(kDoubles);
}

TEST_F(MethodsTest, ObjectResultsReplaceTheReferenceTheVariableHeld)
{
    using ObjectCall = std::function<KS_BOOL(jobject*, JNIEnv*, jobject)>;
    jmethodID echo = env->GetMethodID(methods, "objectEcho", "(Ljava/lang/Object;)Ljava/lang/Object;");
    jmethodID staticEcho =
        env->GetStaticMethodID(methods, "staticObjectEcho", "(Ljava/lang/Object;)Ljava/lang/Object;");
    const std::vector<std::pair<const char*, ObjectCall>> calls = {
        {"venCallObjectMethod",
         [&](jobject* r, JNIEnv* e, jobject a) {
             return venCallObjectMethod(r, e, nullptr, parent, echo, a);
         }},
        {"venCallNonvirtualObjectMethod",
         [&](jobject* r, JNIEnv* e, jobject a) {
             return venCallNonvirtualObjectMethod(r, e, nullptr, child, methods, echo, a);
         }},
        {"venCallStaticObjectMethod",
         [&](jobject* r, JNIEnv* e, jobject a) {
             return venCallStaticObjectMethod(r, e, nullptr, methods, staticEcho, a);
         }},
        {"venCallObjectMethodV",
         [&](jobject* r, JNIEnv* e, jobject a) { return callObjectV(r, e, nullptr, parent, echo, a); }},
        {"venCallNonvirtualObjectMethodV",
         [&](jobject* r, JNIEnv* e, jobject a) {
             return callNonvirtualObjectV(r, e, nullptr, child, methods, echo, a);
         }},
        {"venCallStaticObjectMethodV",
         [&](jobject* r, JNIEnv* e, jobject a) {
             return callStaticObjectV(r, e, nullptr, methods, staticEcho, a);
         }},
    };
    jstring text = jstr(env, "echoed");
    for (const auto& [name, call] : calls) {
        SCOPED_TRACE(name);
        FaultEnv fault(env);
        DeletionLog deletions(fault);
        jobject result = nullptr;
        ASSERT_EQ(KS_TRUE, call(&result, fault.env(), text));
        jobject first = result;
        ASSERT_EQ(KS_TRUE, call(&result, fault.env(), text));
        EXPECT_TRUE(env->IsSameObject(text, result));
        EXPECT_FALSE(fault.ledger().isLive(first));
        EXPECT_EQ(1, fault.ledger().live());
        ASSERT_EQ(KS_TRUE, call(&result, fault.env(), nullptr));
        EXPECT_EQ(nullptr, result);
        EXPECT_EQ(0, fault.ledger().live());
        // A throwing call stores NULL and still lets go of what the variable held.
        ASSERT_EQ(KS_TRUE, call(&result, fault.env(), text));
        jobject held = result;
        failWith("java/lang/IllegalStateException");
        EXPECT_EQ(KS_FALSE, call(&result, fault.env(), text));
        EXPECT_EQ(nullptr, result);
        EXPECT_TRUE(deletions.deleted(held));
        ExpectPendingClass(env, "java.lang.IllegalStateException");
        failWith(nullptr);
    }
    jobject result = nullptr;
    expectArgumentFailure(env, callNonvirtualObjectV(&result, env, nullptr, child, nullptr, echo, text),
                          "venCallNonvirtualObjectMethodV: clazz != NULL");
    expectArgumentFailure(env, callStaticObjectV(nullptr, env, nullptr, methods, staticEcho, text),
                          "venCallStaticObjectMethodV: result != NULL");
}

TEST_F(MethodsTest, VoidCallsRunTheMethodOfTheirKind)
{
    jmethodID run = env->GetMethodID(methods, "voidRun", "()V");
    jmethodID staticRun = env->GetStaticMethodID(methods, "staticVoidRun", "()V");
    auto count = [&](jobject target, const char* field) {
        jclass clazz = env->GetObjectClass(target);
        jint value = env->GetIntField(target, env->GetFieldID(clazz, field, "I"));
        env->DeleteLocalRef(clazz);
        return value;
    };
    EXPECT_EQ(KS_TRUE, venCallVoidMethod(env, nullptr, child, run));
    EXPECT_EQ(1, count(child, "childVoidCalls"));
    EXPECT_EQ(KS_TRUE, venCallNonvirtualVoidMethod(env, nullptr, child, methods, run));
    EXPECT_EQ(1, count(child, "voidCalls"));
    EXPECT_EQ(KS_TRUE, venCallStaticVoidMethod(env, nullptr, methods, staticRun));
    EXPECT_EQ(1, env->GetStaticIntField(methods, env->GetStaticFieldID(methods, "staticVoidCalls", "I")));

    Trace trace;
    failWith("java/lang/OutOfMemoryError");
    EXPECT_EQ(KS_FALSE, venCallStaticVoidMethod(env, trace.get(), methods, staticRun));
    ExpectPending(env, "java.lang.OutOfMemoryError", "requested");
    EXPECT_EQ(
        std::vector<std::string>{
            "[venCallStaticVoidMethod()] Exception: java.lang.OutOfMemoryError: requested"},
        trace.lines());
    failWith("java/io/IOException");
    EXPECT_EQ(KS_FALSE, venCallNonvirtualVoidMethod(env, trace.get(), child, methods, run));
    ExpectPendingClass(env, "java.io.IOException");
    EXPECT_EQ(1u, trace.lines().size());
    failWith(nullptr);

    expectArgumentFailure(env, venCallVoidMethod(env, nullptr, nullptr, run),
                          "venCallVoidMethod: obj != NULL");
    expectArgumentFailure(env, venCallVoidMethod(env, nullptr, child, nullptr),
                          "venCallVoidMethod: methodID != NULL");
    expectArgumentFailure(env, venCallNonvirtualVoidMethod(env, nullptr, child, nullptr, run),
                          "venCallNonvirtualVoidMethod: clazz != NULL");
    expectArgumentFailure(env, venCallStaticVoidMethod(env, nullptr, nullptr, staticRun),
                          "venCallStaticVoidMethod: clazz != NULL");
    EXPECT_EQ(1, count(child, "childVoidCalls"));
}

TEST_F(MethodsTest, VirtualCallsDispatchAndArgumentsArriveInOrder)
{
    jmethodID echo = env->GetMethodID(methods, "intEcho", "(I)I");
    KS_INT value = 0;
    ASSERT_EQ(KS_TRUE, venCallIntMethod(&value, env, nullptr, child, echo, 7));
    EXPECT_EQ(-32, value); // MethodsChild.CHILD_INT
    KsRef<ksString> joined;
    jstring tail = jstr(env, "x");
    ASSERT_EQ(KS_TRUE, venCallStringMethod(
                           joined.out(), env, nullptr, parent,
                           env->GetMethodID(methods, "join", "(IJDLjava/lang/String;)Ljava/lang/String;"),
                           jint{1}, jlong{INT64_MIN}, 3.5, tail));
    EXPECT_EQ("1,-9223372036854775808,3.5,x", utf8(joined));
}

TEST_F(MethodsTest, StringCallsConvertThroughTheObjectCallOfTheirKind)
{
    using StringCall = std::function<KS_BOOL(ksString**, lgStream*, jobject, jobject)>;
    const char* sig = "(Ljava/lang/String;)Ljava/lang/String;";
    jmethodID echo = env->GetMethodID(methods, "stringEcho", sig);
    jmethodID staticEcho = env->GetStaticMethodID(methods, "staticStringEcho", sig);
    struct Row {
        const char* objectCall; // reports the failures
        const char* target;     // its first tested target
        StringCall call;        // with the target given, or NULL
    };
    const std::vector<Row> rows = {
        {"venCallObjectMethodV", "obj != NULL",
         [&](ksString** r, lgStream* t, jobject target, jobject a) {
             return venCallStringMethod(r, env, t, target, echo, a);
         }},
        {"venCallNonvirtualObjectMethodV", "obj != NULL",
         [&](ksString** r, lgStream* t, jobject target, jobject a) {
             return venCallNonvirtualStringMethod(r, env, t, target, methods, echo, a);
         }},
        {"venCallStaticObjectMethodV", "clazz != NULL",
         [&](ksString** r, lgStream* t, jobject target, jobject a) {
             return venCallStaticStringMethod(r, env, t, static_cast<jclass>(target), staticEcho, a);
         }},
    };
    jobject targets[] = {parent, child, methods};
    jstring text = jstr(env, "h\xC3\xA9llo \xF0\x9F\x98\x80");
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const Row& row = rows[i];
        SCOPED_TRACE(row.objectCall);
        KsRef<ksString> result;
        ASSERT_EQ(KS_TRUE, row.call(result.out(), nullptr, targets[i], text));
        EXPECT_EQ("h\xC3\xA9llo \xF0\x9F\x98\x80", utf8(result));
        // A null return delivers NULL and releases the string held before.
        ksString* held = result.get();
        ksObjRetain(held);
        ASSERT_EQ(KS_TRUE, row.call(result.out(), nullptr, targets[i], nullptr));
        EXPECT_EQ(nullptr, result.get());
        EXPECT_EQ(1, ksObjRefCount(held));
        ksObjRelease(held);
        // Failures are reported by the object call, under its name; result stays as it was.
        Trace trace;
        result = ksStr("kept");
        failWith("java/lang/IllegalStateException");
        EXPECT_EQ(KS_FALSE, row.call(result.out(), trace.get(), targets[i], text));
        ExpectPending(env, "java.lang.IllegalStateException", "requested");
        EXPECT_EQ(std::vector<std::string>{std::string("[") + row.objectCall +
                                           "()] Exception: java.lang.IllegalStateException: requested"},
                  trace.lines());
        // result is tested only after the method ran: its own exception wins.
        EXPECT_EQ(KS_FALSE, row.call(nullptr, nullptr, targets[i], text));
        ExpectPending(env, "java.lang.IllegalStateException", "requested");
        failWith(nullptr);
        expectArgumentFailure(env, row.call(nullptr, nullptr, targets[i], text),
                              "venStringToKsString: result != ((void *)0)");
        expectArgumentFailure(env, row.call(result.out(), nullptr, nullptr, text),
                              std::string(row.objectCall) + ": " + row.target);
        EXPECT_EQ("kept", utf8(result));
    }
}

TEST_F(MethodsTest, LookupsStoreTheIdOrNullAndTestTheirArgumentsInOrder)
{
    using LookUp = KS_BOOL (*)(jmethodID*, JNIEnv*, lgStream*, jclass, const char*, const char*);
    struct Row {
        std::string name;
        LookUp lookUp;
        const char* existing;
        const char* otherKind; // exists, but as the other kind of method
    };
    for (const Row& row : {Row{"venGetMethodID", venGetMethodID, "intEcho", "staticIntEcho"},
                           Row{"venGetStaticMethodID", venGetStaticMethodID, "staticIntEcho", "intEcho"}}) {
        SCOPED_TRACE(row.name);
        Trace trace;
        jmethodID id = nullptr;
        ASSERT_EQ(KS_TRUE, row.lookUp(&id, env, trace.get(), methods, row.existing, "(I)I"));
        EXPECT_NE(nullptr, id);
        EXPECT_EQ(KS_FALSE, row.lookUp(&id, env, trace.get(), methods, row.otherKind, "(I)I"));
        EXPECT_EQ(nullptr, id);
        ExpectPendingClass(env, "java.lang.NoSuchMethodError");
        ASSERT_EQ(1u, trace.lines().size());
        EXPECT_EQ(0u, trace.lines()[0].find("[" + row.name + "()] Exception: java.lang.NoSuchMethodError: "));
        EXPECT_NE(std::string::npos, trace.lines()[0].find(row.otherKind));
        EXPECT_TRUE(trace.notable());
        const std::string prefix = row.name + ": ";
        expectArgumentFailure(env, row.lookUp(nullptr, env, nullptr, nullptr, nullptr, nullptr),
                              prefix + "result != NULL");
        expectArgumentFailure(env, row.lookUp(&id, env, nullptr, nullptr, nullptr, nullptr),
                              prefix + "clazz != NULL");
        expectArgumentFailure(env, row.lookUp(&id, env, nullptr, methods, nullptr, nullptr),
                              prefix + "name != NULL");
        expectArgumentFailure(env, row.lookUp(&id, env, nullptr, methods, "intEcho", nullptr),
                              prefix + "sig != NULL");
    }
}

} // namespace
} // namespace ven::families_test
