// The C++ face (ven/ven.hpp): descriptors of every type, ownership on success and failure
// paths, the order of release and the one-pending-exception rule of Context::fail.
#include <algorithm>
#include <functional>
#include <string>
#include <utility>

#include "support/ven_test.hpp"
#include "ven/ven.hpp"

namespace ven::test
{
namespace
{

using JNI = JNINativeInterface_;

// clang-format off
constexpr std::pair<const char*, const char*> kSignatures[] = { // computed, expected
    {descriptorOf<jboolean>.c_str(), "Z"}, {descriptorOf<jbyte>.c_str(), "B"}, {descriptorOf<jchar>.c_str(), "C"},
    {descriptorOf<jshort>.c_str(), "S"}, {descriptorOf<jint>.c_str(), "I"}, {descriptorOf<jlong>.c_str(), "J"},
    {descriptorOf<jfloat>.c_str(), "F"}, {descriptorOf<jdouble>.c_str(), "D"}, {descriptorOf<void>.c_str(), "V"},
    {descriptorOf<jbooleanArray>.c_str(), "[Z"}, {descriptorOf<Array<jbyte>>.c_str(), "[B"},
    {descriptorOf<jcharArray>.c_str(), "[C"}, {descriptorOf<Array<jshort>>.c_str(), "[S"},
    {descriptorOf<jintArray>.c_str(), "[I"}, {descriptorOf<Array<jlong>>.c_str(), "[J"},
    {descriptorOf<jfloatArray>.c_str(), "[F"}, {descriptorOf<Array<jdouble>>.c_str(), "[D"},
    {descriptorOf<jobject>.c_str(), "Ljava/lang/Object;"}, {descriptorOf<jclass>.c_str(), "Ljava/lang/Class;"},
    {descriptorOf<jstring>.c_str(), "Ljava/lang/String;"}, {descriptorOf<jthrowable>.c_str(), "Ljava/lang/Throwable;"},
    {descriptorOf<jobjectArray>.c_str(), "[Ljava/lang/Object;"}, {descriptorOf<Array<Array<jint>>>.c_str(), "[[I"},
    {signatureOf<void()>.c_str(), "()V"},
    {signatureOf<Array<jstring>(Object<"a/B">, jdoubleArray, jchar)>.c_str(), "(La/B;[DC)[Ljava/lang/String;"},
};
// clang-format on

TEST(CxxSignatures, EveryTypeHasItsDescriptor)
{
    for (const auto& [computed, expected] : kSignatures) {
        EXPECT_STREQ(computed, expected);
    }
}

class CxxContext : public JvmTest
{
  protected:
    Local<jclass> cls(const char* name) { return Local<jclass>(env, findClass(env, name)); }
    Local<> make(const Local<jclass>& clazz, const Context& ctx)
    {
        auto object = ctx.construct(clazz, *ctx.method<void()>(clazz, "<init>"));
        return object ? std::move(*object) : Local<>();
    }
};

// Each operation runs under a fault-injecting env, once as it is and once with the JNI call
// it rests on failing; either way nothing it made outlives its handles.
struct OwnershipRow {
    const char* name;
    std::function<void(FaultEnv&)> fault;
    std::function<bool(const Context&, JNIEnv* real)> operation;
};

TEST_F(CxxContext, NothingOutlivesItsHandlesOnAnyPath)
{
    const auto methods = cls("fixtures/Methods");
    const auto callee = make(methods, Context(env, nullptr));
    const auto stringEcho = *Context(env, nullptr).method<jstring(jstring)>(methods, "stringEcho");
    const OwnershipRow rows[] = {
        {"call", [](FaultEnv& f) { f.raiseOutOfMemory<&JNI::CallObjectMethodV>(); },
         [&](const Context& ctx, JNIEnv* real) {
             return ctx.call(callee, stringEcho, Local<jstring>(real, jstr(real, "x"))).has_value();
         }},
        {"construct", [](FaultEnv& f) { f.raiseOutOfMemory<&JNI::NewObjectV>(); },
         [&](const Context& ctx, JNIEnv*) { return make(methods, ctx).get() != nullptr; }},
        {"ks string",
         [](FaultEnv& f) { // short text is copied out, long text pinned
             f.raiseOutOfMemory<&JNI::GetStringRegion>();
             f.raiseOutOfMemory<&JNI::GetStringCritical>();
         },
         [](const Context& ctx, JNIEnv* real) {
             const auto text = ctx.get<venStringToKsString>(Local<jstring>(real, jstr(real, "é😀")).get());
             return text && ksStringLength(*text) == 2;
         }},
        {"critical", [](FaultEnv& f) { f.raiseOutOfMemory<&JNI::GetPrimitiveArrayCritical>(); },
         [](const Context& ctx, JNIEnv*) {
             const auto array = ctx.get<venNewIntArray>(3);
             return array && ctx.critical(*array).has_value();
         }},
    };
    for (const OwnershipRow& row : rows) {
        for (const bool faulted : {false, true}) {
            SCOPED_TRACE(std::string(row.name) + (faulted ? " (faulted)" : ""));
            FaultEnv fault(env);
            const LeakCheck leaks(fault);
            const KS_INT objects = ksObjLiveCount();
            if (faulted) {
                row.fault(fault);
            }
            EXPECT_EQ(row.operation(Context(fault.env(), nullptr), env), !faulted);
            EXPECT_EQ(leaks.live(), 0);
            EXPECT_EQ(ksObjLiveCount(), objects);
            if (faulted) {
                ExpectPendingClass(env, "java.lang.OutOfMemoryError");
            }
        }
    }
}

TEST_F(CxxContext, ReleasesInOrderAndKeepsTheLatestReference)
{
    FaultEnv fault(env);
    const Context ctx(fault.env(), nullptr);
    auto array = ctx.get<venNewIntArray>(2);
    ASSERT_TRUE(array);
    for (const jint mode : {0, JNI_ABORT}) { // the elements go back only with mode 0
        auto region = ctx.critical(*array, mode);
        ASSERT_TRUE(region && region->size() == 2);
        (*region)[1] = 5 + mode;
    }
    jint elements[2] = {-1, -1};
    ASSERT_TRUE(ctx.run<venGetIntArrayRegion>(*array, 0, 2, elements));
    EXPECT_EQ(elements[1], 5);
    {
        const auto last = ctx.get<venNewIntArray>(1);
        const auto region = ctx.critical(last->get());
    } // the region, made last, ends before its array's reference goes
    const auto& trail = fault.trail();
    const auto lastRelease = std::find(trail.rbegin(), trail.rend(), "ReleasePrimitiveArrayCritical");
    EXPECT_GT(lastRelease, std::find(trail.rbegin(), trail.rend(), "DeleteLocalRef")); // counted from the end

    const jintArray first = array->get();
    auto second = ctx.get<venNewIntArray>(1);
    const jintArray kept = second->get();
    *array = std::move(*second); // the handle lets its old reference go
    EXPECT_FALSE(fault.ledger().isLive(first));
    auto& alias = *array;
    *array = std::move(alias); // assigning a handle to itself keeps its reference
    EXPECT_TRUE(fault.ledger().isLive(kept));
    array.reset();
    EXPECT_EQ(fault.ledger().live(), 0);
}

// Context::fail ends a native method with exactly one exception pending, traced once.
TEST_F(CxxContext, FailLeavesExactlyOneExceptionPending)
{
    Trace trace;
    const Context ctx(env, trace.get());
    EXPECT_EQ(jobject(ctx.fail("Module.native", "count > 0")), nullptr);
    ExpectPending(env, "java.lang.IllegalArgumentException", "Module.native: count > 0");
    EXPECT_EQ(trace.lines(),
              std::vector<std::string>{"[Module.native()] Exception: "
                                       "java.lang.IllegalArgumentException: Module.native: count > 0"});

    // A failure before it stays the one Java sees, and is not traced again.
    trace.reset();
    env->Throw(makeThrowable(env, "java/io/IOException", "first"));
    (void)ctx.fail("Module.native", "count > 0");
    ExpectPending(env, "java.io.IOException", "first");
    EXPECT_TRUE(trace.lines().empty());
}

} // namespace
} // namespace ven::test
