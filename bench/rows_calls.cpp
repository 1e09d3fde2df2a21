// Rows of single JNI operations (a field read and write, a virtual and a static call, a class
// lookup, a string made from modified UTF-8), of class support composing lookups and a call
// (boxing through Boolean.valueOf, a list's size), and of the failure path of a call with tracing
// on. Each reference sequence is written once as a template over its policies and kept out of
// line, as the library's own code is.
#include "bench.hpp"

namespace ven::bench
{

namespace
{

constexpr const char* kUtf8Text = "sixteen bytes 16";

// --- Reference sequences ----------------------------------------------------------------------

template <class P>
[[gnu::noinline]] bool getIntField(KS_INT* result, JNIEnv* env, jobject obj, jfieldID field)
{
    bool ok = true;
    const jint value = P::call(env, ok, [&] { return env->GetIntField(obj, field); });
    *result = value;
    return ok;
}

template <class P> [[gnu::noinline]] bool setIntField(JNIEnv* env, jobject obj, jfieldID field, KS_INT value)
{
    bool ok = true;
    P::call(env, ok, [&] { env->SetIntField(obj, field, static_cast<jint>(value)); });
    return ok;
}

template <class P>
[[gnu::noinline]] bool callIntMethod(KS_INT* result, JNIEnv* env, jobject obj, jmethodID method,
                                     jint argument)
{
    bool ok = true;
    const jint value = P::call(env, ok, [&] { return env->CallIntMethod(obj, method, argument); });
    *result = value;
    return ok;
}

template <class P>
[[gnu::noinline]] bool callStaticIntMethod(KS_INT* result, JNIEnv* env, jclass clazz, jmethodID method,
                                           jint argument)
{
    bool ok = true;
    const jint value = P::call(env, ok, [&] { return env->CallStaticIntMethod(clazz, method, argument); });
    *result = value;
    return ok;
}

template <class P> [[gnu::noinline]] bool findClass(jclass* result, JNIEnv* env, const char* name)
{
    bool ok = true;
    replaceLocal(env, result, P::call(env, ok, [&] { return env->FindClass(name); }));
    return ok;
}

template <class P> [[gnu::noinline]] bool newStringUtf(jstring* result, JNIEnv* env, const char* bytes)
{
    bool ok = true;
    replaceLocal(env, result, P::call(env, ok, [&] { return env->NewStringUTF(bytes); }));
    return ok;
}

// Class support's composition as careful code writes it: the class, a method looked up on it
// (`lookUp(clazz)`), `call(clazz, method, ok)`, the class let go. The lookups' results tell whether
// they raised; a Java method's does not.
template <class P, typename LookUp, typename Call>
inline bool throughClass(JNIEnv* env, const char* className, LookUp lookUp, Call call)
{
    P::start(env);
    bool ok = true;
    jclass clazz = P::reference(env, ok, [&] { return env->FindClass(className); });
    if (!ok) {
        return false;
    }
    const jmethodID method = P::reference(env, ok, [&] { return lookUp(clazz); });
    if (ok) {
        call(clazz, method, ok);
    }
    env->DeleteLocalRef(clazz);
    return ok;
}

// Boxing: Boolean.valueOf looked up and called.
template <class P> [[gnu::noinline]] bool booleanValueOf(jobject* result, JNIEnv* env, jboolean value)
{
    return throughClass<P>(
        env, "java/lang/Boolean",
        [&](jclass clazz) { return env->GetStaticMethodID(clazz, "valueOf", "(Z)Ljava/lang/Boolean;"); },
        [&](jclass clazz, jmethodID valueOf, bool& ok) {
            replaceLocal(env, result, P::call(env, ok, [&] {
                             return env->CallStaticObjectMethod(clazz, valueOf, value);
                         }));
        });
}

// A list's size: ArrayList.size looked up and called.
template <class P> [[gnu::noinline]] bool arrayListSize(KS_INT* result, JNIEnv* env, jobject list)
{
    return throughClass<P>(
        env, "java/util/ArrayList", [&](jclass clazz) { return env->GetMethodID(clazz, "size", "()I"); },
        [&](jclass, jmethodID size, bool& ok) {
            *result = P::call(env, ok, [&] { return env->CallIntMethod(list, size); });
        });
}

// The best code for boxing: class and method looked up once, one call per value.
struct BooleanCache {
    jclass clazz = nullptr; // global
    jmethodID valueOf = nullptr;
};

[[gnu::noinline]] bool booleanValueOfCached(jobject* result, JNIEnv* env, const BooleanCache& cache,
                                            jboolean value)
{
    bool ok = true;
    replaceLocal(env, result, Careful::call(env, ok, [&] {
                     return env->CallStaticObjectMethod(cache.clazz, cache.valueOf, value);
                 }));
    return ok;
}

// --- The failure path: a call that throws an unchecked exception, described in the trace ------

constexpr const char* kTracedFunction = "venCallIntMethod";
constexpr const char* kExceptionLine = "[%lc()] Exception: %s";
constexpr const char* kUnknownLine = "[%lc()] Exception: Unknown Exception";

// The throwable's toString() text, read through the critical region and decoded; both
// references sequences share this tail, each with its own policy for the JNI calls.
template <class P> ksString* throwableText(JNIEnv* env, jthrowable throwable)
{
    bool ok = true;
    jclass clazz = P::call(env, ok, [&] { return env->GetObjectClass(throwable); });
    jmethodID toString =
        P::call(env, ok, [&] { return env->GetMethodID(clazz, "toString", "()Ljava/lang/String;"); });
    ksString* text = nullptr;
    if (ok) {
        auto string = static_cast<jstring>(
            P::call(env, ok, [&] { return env->CallObjectMethod(throwable, toString); }));
        if (ok && string != nullptr) {
            const jsize length = P::call(env, ok, [&] { return env->GetStringLength(string); });
            const jchar* chars =
                P::critical(env, ok, [&] { return env->GetStringCritical(string, nullptr); });
            if (ok) {
                KS_CHAR* codePoints = nullptr;
                KS_INT count = 0;
                if (ven___JCharsToChars(&codePoints, &count, chars, length)) {
                    text = ksStringCreateFromCharsUse(codePoints, count);
                }
                env->ReleaseStringCritical(string, chars);
            }
        }
        env->DeleteLocalRef(string);
    }
    env->DeleteLocalRef(clazz);
    return text;
}

void writeTraceLine(lgStream* trace, ksString* text)
{
    if (text != nullptr) {
        lgStreamTextFormatCstr(trace, kExceptionLine, -1, kTracedFunction, text);
        ksObjRelease(text);
    } else {
        lgStreamTextFormatCstr(trace, kUnknownLine, -1, kTracedFunction);
    }
    lgStreamSetNotable(trace);
}

// Careful hand-written code: take the exception out, describe it when it is unchecked (a
// RuntimeException here; the Error test is not reached), put it back.
[[gnu::noinline]] bool callFailingCareful(JNIEnv* env, lgStream* trace, jobject obj, jmethodID method)
{
    bool ok = true;
    benchmark::DoNotOptimize(Careful::call(env, ok, [&] { return env->CallIntMethod(obj, method, 1); }));
    if (ok) {
        return true;
    }
    jthrowable thrown = env->ExceptionOccurred();
    env->ExceptionClear();
    bool found = true;
    jclass runtimeException =
        Careful::call(env, found, [&] { return env->FindClass("java/lang/RuntimeException"); });
    if (found && env->IsInstanceOf(thrown, runtimeException)) {
        writeTraceLine(trace, throwableText<Careful>(env, thrown));
    }
    env->ExceptionClear();
    env->DeleteLocalRef(runtimeException);
    env->Throw(thrown);
    env->DeleteLocalRef(thrown);
    return false;
}

// The required composition at the convention's floor: the class lookup and the instance test
// run with the exception pending, so each sets it aside and throws it again; the trace then
// takes it out, describes it with nothing pending, clears and throws it again.
[[gnu::noinline]] bool callFailingFloor(JNIEnv* env, lgStream* trace, jobject obj, jmethodID method)
{
    bool ok = true;
    benchmark::DoNotOptimize(Floor::call(env, ok, [&] { return env->CallIntMethod(obj, method, 1); }));
    if (ok) {
        return true;
    }
    jthrowable pending = env->ExceptionOccurred();
    bool found = true;
    jclass runtimeException =
        Floor::call(env, found, [&] { return env->FindClass("java/lang/RuntimeException"); });
    bool tested = true;
    const jboolean isRuntimeException =
        Floor::call(env, tested, [&] { return env->IsInstanceOf(pending, runtimeException); });
    if (found && tested && isRuntimeException) {
        jthrowable saved = env->ExceptionOccurred();
        Floor::setAside(env);
        ksString* text = throwableText<Floor>(env, pending);
        Floor::setAside(env);
        Floor::throwAgain(env, saved);
        env->DeleteLocalRef(saved);
        writeTraceLine(trace, text);
    }
    env->DeleteLocalRef(runtimeException);
    env->DeleteLocalRef(pending);
    return false;
}

// --- Registration -----------------------------------------------------------------------------

// Reads and writes, calls: one value per iteration through `op`.
template <typename Op> void valueRow(const char* kind, const char* name, Op op)
{
    addRow(kind, name, [op](Batch& batch) {
        KS_INT value = 0;
        for (auto _ : batch) {
            if (failed(batch, op(&value), "the operation failed")) {
                break;
            }
            benchmark::DoNotOptimize(value);
        }
    });
}

// Operations that deliver a local reference, which the next iteration replaces.
template <typename Ref, typename Op> void referenceRow(const char* kind, const char* name, Op op)
{
    resultRow<Ref>(kind, name, op, [](Batch&, Ref ref) { world().env->DeleteLocalRef(ref); });
}

template <typename Op> void failureRow(const char* kind, const char* name, Op op)
{
    addRow(kind, name, [op](Batch& batch) {
        World& w = world();
        lgStreamReset(w.trace);
        op(w.env, w.trace);
        const bool traced =
            w.env->ExceptionCheck() && lgStreamLineCount(w.trace) == 1 && lgStreamNotable(w.trace);
        w.env->ExceptionClear();
        lgStreamReset(w.trace);
        if (failed(batch, traced, "the failure was not traced as one notable line")) {
            return;
        }
        for (auto _ : batch) {
            benchmark::DoNotOptimize(op(w.env, w.trace));
            w.env->ExceptionClear();
            lgStreamReset(w.trace);
        }
    });
}

} // namespace

void registerCallRows()
{
    const World& w = world();
    JNIEnv* env = w.env;

    valueRow("raw", "GetIntField",
             [=](KS_INT* v) { return getIntField<Careful>(v, env, w.target, w.intField); });
    valueRow("min", "GetIntField",
             [=](KS_INT* v) { return getIntField<Floor>(v, env, w.target, w.intField); });
    valueRow("ven", "GetIntField",
             [=](KS_INT* v) { return venGetIntField(v, env, w.trace, w.target, w.intField); });
    valueRow("wrap", "GetIntField", [=](KS_INT* v) {
        *v = ven___GetIntField(env, w.target, w.intField);
        return true;
    });

    valueRow("raw", "SetIntField",
             [=](KS_INT* v) { return setIntField<Careful>(env, w.target, w.intField, ++*v & 0xFF); });
    valueRow("min", "SetIntField",
             [=](KS_INT* v) { return setIntField<Floor>(env, w.target, w.intField, ++*v & 0xFF); });
    valueRow("ven", "SetIntField",
             [=](KS_INT* v) { return venSetIntField(env, w.trace, w.target, w.intField, ++*v & 0xFF); });
    valueRow("wrap", "SetIntField", [=](KS_INT* v) {
        ven___SetIntField(env, w.target, w.intField, static_cast<jint>(++*v & 0xFF));
        return true;
    });

    valueRow("raw", "CallIntMethod",
             [=](KS_INT* v) { return callIntMethod<Careful>(v, env, w.target, w.plus, 1); });
    valueRow("min", "CallIntMethod",
             [=](KS_INT* v) { return callIntMethod<Floor>(v, env, w.target, w.plus, 1); });
    valueRow("ven", "CallIntMethod",
             [=](KS_INT* v) { return venCallIntMethod(v, env, w.trace, w.target, w.plus, jint{1}); });
    valueRow("wrap", "CallIntMethod", [=](KS_INT* v) {
        jint value = 0;
        const bool ok = ven___CallIntMethod(&value, env, w.target, w.plus, jint{1});
        *v = value;
        return ok;
    });

    valueRow("raw", "CallStaticIntMethod",
             [=](KS_INT* v) { return callStaticIntMethod<Careful>(v, env, w.targetClass, w.twice, 1); });
    valueRow("min", "CallStaticIntMethod",
             [=](KS_INT* v) { return callStaticIntMethod<Floor>(v, env, w.targetClass, w.twice, 1); });
    valueRow("ven", "CallStaticIntMethod", [=](KS_INT* v) {
        return venCallStaticIntMethod(v, env, w.trace, w.targetClass, w.twice, jint{1});
    });
    valueRow("wrap", "CallStaticIntMethod", [=](KS_INT* v) {
        jint value = 0;
        const bool ok = ven___CallStaticIntMethod(&value, env, w.targetClass, w.twice, jint{1});
        *v = value;
        return ok;
    });

    const char* className = "java/lang/String";
    referenceRow<jclass>("raw", "FindClass",
                         [=](jclass* c) { return findClass<Careful>(c, env, className); });
    referenceRow<jclass>("min", "FindClass", [=](jclass* c) { return findClass<Floor>(c, env, className); });
    referenceRow<jclass>("ven", "FindClass",
                         [=](jclass* c) { return venFindClass(c, env, w.trace, className); });
    referenceRow<jclass>("wrap", "FindClass", [=](jclass* c) {
        replaceLocal(env, c, ven___FindClass(env, className));
        return *c != nullptr;
    });

    referenceRow<jstring>("raw", "NewStringUTF",
                          [=](jstring* s) { return newStringUtf<Careful>(s, env, kUtf8Text); });
    referenceRow<jstring>("min", "NewStringUTF",
                          [=](jstring* s) { return newStringUtf<Floor>(s, env, kUtf8Text); });
    referenceRow<jstring>("ven", "NewStringUTF",
                          [=](jstring* s) { return venNewStringUTF(s, env, w.trace, kUtf8Text); });
    referenceRow<jstring>("wrap", "NewStringUTF", [=](jstring* s) {
        replaceLocal(env, s, ven___NewStringUTF(env, kUtf8Text));
        return *s != nullptr;
    });

    static BooleanCache cache;
    jclass boolean = env->FindClass("java/lang/Boolean");
    cache.clazz = static_cast<jclass>(env->NewGlobalRef(boolean));
    cache.valueOf = env->GetStaticMethodID(boolean, "valueOf", "(Z)Ljava/lang/Boolean;");
    env->DeleteLocalRef(boolean);
    referenceRow<jobject>("raw", "BooleanValueOf",
                          [=](jobject* o) { return booleanValueOf<Careful>(o, env, JNI_TRUE); });
    referenceRow<jobject>("min", "BooleanValueOf",
                          [=](jobject* o) { return booleanValueOf<ComposedFloor>(o, env, JNI_TRUE); });
    referenceRow<jobject>("ven", "BooleanValueOf",
                          [=](jobject* o) { return venBooleanValueOf(o, env, w.trace, KS_TRUE); });
    referenceRow<jobject>("best", "BooleanValueOf",
                          [=](jobject* o) { return booleanValueOfCached(o, env, cache, JNI_TRUE); });

    // A list of three, made through JNI so that the rows share nothing with the library's making.
    jclass arrayList = env->FindClass("java/util/ArrayList");
    jobject made = env->NewObject(arrayList, env->GetMethodID(arrayList, "<init>", "()V"));
    const jmethodID add = env->GetMethodID(arrayList, "add", "(Ljava/lang/Object;)Z");
    for (int i = 0; i < 3; ++i) {
        env->CallBooleanMethod(made, add, w.target);
    }
    const jobject list = env->NewGlobalRef(made);
    env->DeleteLocalRef(made);
    env->DeleteLocalRef(arrayList);
    valueRow("raw", "ArrayListSize",
             [=](KS_INT* v) { return arrayListSize<Careful>(v, env, list) && *v == 3; });
    valueRow("min", "ArrayListSize",
             [=](KS_INT* v) { return arrayListSize<ComposedFloor>(v, env, list) && *v == 3; });
    valueRow("ven", "ArrayListSize",
             [=](KS_INT* v) { return venArrayListSize(v, env, w.trace, list) == KS_TRUE && *v == 3; });

    const char* failure = "CallIntMethod/throws/traced";
    failureRow("raw", failure,
               [=](JNIEnv* e, lgStream* t) { return callFailingCareful(e, t, w.target, w.fail); });
    failureRow("min", failure,
               [=](JNIEnv* e, lgStream* t) { return callFailingFloor(e, t, w.target, w.fail); });
    failureRow("ven", failure, [=](JNIEnv* e, lgStream* t) {
        KS_INT value = 0;
        return venCallIntMethod(&value, e, t, w.target, w.fail, jint{1}) == KS_TRUE;
    });
}

} // namespace ven::bench
