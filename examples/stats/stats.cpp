// The stats module (libvenstats.so): the natives of the Java class stats.Stats, written
// on ven's integration layer and class support only. No JNI function table is called
// here: every Java object is reached through a ven function, which checks its arguments
// (a bad one becomes a thrown IllegalArgumentException), keeps the exception state
// consistent and describes failures in the module's trace stream.
//
// The pattern of every native: call ven functions in a row while they return KS_TRUE;
// at the first KS_FALSE an exception is pending, so clean up and return at once, and
// the Java caller sees that exception.
#include <dlfcn.h>

#include <cstdint>
#include <cstdio>

#include "modhost.h"
#include "ven/ven.h"

namespace
{

// Module state, set up by JNI_OnLoad and torn down by the shutdown.
struct Module {
    mhModule* ven = nullptr;   // libven, as the module framework loaded and started it
    lgStream* trace = nullptr; // every failure is described here; lines echo to stderr
    // Field IDs of stats.Tally stay valid while the class is loaded, which is as long
    // as this module is: look them up once.
    jfieldID tallyName = nullptr;
    jfieldID tallyTotal = nullptr;
    jfieldID tallyCount = nullptr;
    jfieldID tallyMean = nullptr;
    jfieldID tallySummary = nullptr;
};
Module module;

// A KS_INT copy of an int[]: the copy bridge pins the array once and widens each
// element. The copy is freed when the object goes out of scope, on every path.
struct IntValues {
    KS_INT* values = nullptr;
    KS_INT length = 0;

    IntValues() = default;
    IntValues(const IntValues&) = delete;
    IntValues& operator=(const IntValues&) = delete;
    ~IntValues() { ksMemFree(values); }

    KS_BOOL read(JNIEnv* env, jintArray array)
    {
        // A NULL array is refused here, as "venGetArrayLength: array != NULL".
        if (!venGetArrayLength(&length, env, module.trace, array)) {
            return KS_FALSE;
        }
        // Room for at least one element: the bridge refuses a NULL destination even
        // when there is nothing to copy.
        values = static_cast<KS_INT*>(ksMemAllocN(length > 0 ? length : 1, sizeof(KS_INT)));
        return venCopyIntArrayElements(values, env, module.trace, array, length);
    }

    KS_INT sum() const
    {
        KS_INT total = 0;
        for (KS_INT i = 0; i < length; ++i) {
            total += values[i]; // at most 2^31 elements of at most 2^31: no overflow
        }
        return total;
    }
};

// "<word>": N characters (U UTF-16 units), S outside the BMP, reversed "<drow>"
// The ksString holds code points, so a character outside the Basic Multilingual Plane
// is one element: counting and reversing need no surrogate handling at all.
ksString* describeWord(const ksString* word)
{
    if (word == nullptr) {
        return ksStringCreateFromCstr("null", -1);
    }
    const KS_INT length = ksStringLength(word);
    const KS_CHAR* chars = ksStringBacking(word);
    KS_CHAR* reversedChars = static_cast<KS_CHAR*>(ksMemAllocN(length, sizeof(KS_CHAR)));
    KS_INT supplementary = 0;
    for (KS_INT i = 0; i < length; ++i) {
        supplementary += chars[i] > 0xFFFF ? 1 : 0;
        reversedChars[length - 1 - i] = chars[i];
    }
    ksString* reversed = ksStringCreateFromCharsUse(reversedChars, length);
    ksString* line = ksStringCreateFromFormatCstr(
        "\"%s\": %i characters (%i UTF-16 units), %i outside the BMP, reversed \"%s\"", -1, word, length,
        length + supplementary, supplementary, reversed);
    ksObjRelease(reversed);
    return line;
}

// String[] describe(String[] words)
jobjectArray describe(JNIEnv* env, jclass, jobjectArray words)
{
    lgStream* trace = module.trace;
    KS_INT count = 0;
    if (!venGetArrayLength(&count, env, trace, words)) {
        return nullptr;
    }
    // ven has no reader for one element of an object array; java.lang.reflect.Array.get
    // does the same job through an ordinary static call.
    jclass arrays = nullptr;
    jmethodID get = nullptr;
    jobject element = nullptr;
    ksString* word = nullptr;
    ksVector* lines = ksVectorCreate();
    jobjectArray result = nullptr;
    KS_BOOL ok =
        venFindClass(&arrays, env, trace, "java/lang/reflect/Array") &&
        venGetStaticMethodID(&get, env, trace, arrays, "get", "(Ljava/lang/Object;I)Ljava/lang/Object;");
    for (KS_INT i = 0; ok && i < count; ++i) {
        // Each call replaces `element` and deletes the previous element's local
        // reference, and replaces `word`, releasing the previous string: the loop holds
        // one of each however long the array is.
        ok = venCallStaticObjectMethod(&element, env, trace, arrays, get, words, static_cast<jint>(i)) &&
             venStringToKsString(&word, env, trace, static_cast<jstring>(element));
        if (ok) {
            ksString* line = describeWord(word);
            ksVectorAppend(lines, line);
            ksObjRelease(line);
        }
    }
    if (ok) {
        venNewStringArrayFromKsVector(&result, env, trace, lines);
    }
    ksObjRelease(lines);
    ksObjRelease(word);
    venDeleteLocalRef(env, element);
    venDeleteLocalRef(env, arrays);
    return result;
}

std::uint32_t crc32Of(const std::uint8_t* bytes, KS_INT length)
{
    std::uint32_t crc = 0xFFFFFFFFu;
    for (KS_INT i = 0; i < length; ++i) {
        crc ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
        }
    }
    return ~crc;
}

// byte[] crc32(byte[] data)
jbyteArray crc32(JNIEnv* env, jclass, jbyteArray data)
{
    // The bytes into a buffer (the JVM copies them straight into the block the buffer
    // adopts), the digest from the buffer's bytes, and a buffer back into a new byte[].
    lgStream* trace = module.trace;
    KS_INT length = 0;
    ksBuffer* bytes = nullptr;
    if (!venGetArrayLength(&length, env, trace, data) ||
        !venGetByteArrayRegionAsBuffer(&bytes, env, trace, data, 0, length)) {
        return nullptr;
    }
    const std::uint32_t crc =
        crc32Of(static_cast<const std::uint8_t*>(ksBufferBacking(bytes)), ksBufferLength(bytes));
    ksObjRelease(bytes);
    const std::uint8_t bigEndian[4] = {static_cast<std::uint8_t>(crc >> 24),
                                       static_cast<std::uint8_t>(crc >> 16),
                                       static_cast<std::uint8_t>(crc >> 8), static_cast<std::uint8_t>(crc)};
    ksBuffer* digest = ksBufferCreateFromBytesCopy(bigEndian, sizeof bigEndian);
    jbyteArray result = nullptr;
    venNewByteArrayFromBuffer(&result, env, trace, digest);
    ksObjRelease(digest);
    return result;
}

// long sum(int[] values)
jlong sum(JNIEnv* env, jclass, jintArray values)
{
    IntValues copy;
    return copy.read(env, values) ? copy.sum() : 0;
}

// ArrayList<Object> summarize(int[] values): [Long min, Long max, Double mean, Boolean ascending]
jobject summarize(JNIEnv* env, jclass, jintArray values)
{
    lgStream* trace = module.trace;
    IntValues copy;
    if (!copy.read(env, values)) {
        return nullptr;
    }
    if (copy.length == 0) {
        // The module's own argument check, reported the way ven reports its own.
        venIllegalArgumentExceptionThrowUseMessageCstr(env, trace, "Stats.summarize", "values.length > 0");
        return nullptr;
    }
    KS_INT min = copy.values[0];
    KS_INT max = copy.values[0];
    KS_BOOL ascending = KS_TRUE;
    for (KS_INT i = 1; i < copy.length; ++i) {
        min = copy.values[i] < min ? copy.values[i] : min;
        max = copy.values[i] > max ? copy.values[i] : max;
        ascending = copy.values[i - 1] <= copy.values[i] ? ascending : KS_FALSE;
    }
    const double mean = static_cast<double>(copy.sum()) / static_cast<double>(copy.length);

    jobject list = nullptr;
    jobject boxed = nullptr;
    KS_BOOL added = KS_FALSE;
    // Each valueOf replaces `boxed` and deletes the local reference to the value added
    // before it; `append` adds the new one when the boxing worked.
    auto append = [&](KS_BOOL boxedOk) {
        return boxedOk && venCollectionAdd(&added, env, trace, list, boxed);
    };
    const KS_BOOL ok = venArrayListNew(&list, env, trace) &&              //
                       append(venLongValueOf(&boxed, env, trace, min)) && //
                       append(venLongValueOf(&boxed, env, trace, max)) && //
                       append(venDoubleValueOf(&boxed, env, trace, mean)) &&
                       append(venBooleanValueOf(&boxed, env, trace, ascending));
    venDeleteLocalRef(env, boxed);
    if (!ok) {
        venDeleteLocalRef(env, list);
        return nullptr;
    }
    return list;
}

// void accumulate(Tally tally, int[] values)
void accumulate(JNIEnv* env, jclass, jobject tally, jintArray values)
{
    lgStream* trace = module.trace;
    KS_INT total = 0;
    KS_INT count = 0;
    ksString* name = nullptr;
    IntValues copy;
    // A NULL tally is refused by the first field read ("venGetIntField: obj != NULL").
    if (!venGetIntField(&total, env, trace, tally, module.tallyTotal) ||
        !venGetLongField(&count, env, trace, tally, module.tallyCount) || !copy.read(env, values)) {
        return;
    }
    total += copy.sum();
    count += copy.length;
    // The total is written first: when it no longer fits the int field, ven refuses it
    // ("venSetIntField: VEN_KS_INT_TO_JINT_CONV_OK( value )") and the tally stays as it was.
    if (!venSetIntField(env, trace, tally, module.tallyTotal, total) ||
        !venSetLongField(env, trace, tally, module.tallyCount, count) ||
        !venSetDoubleField(env, trace, tally, module.tallyMean,
                           count > 0 ? static_cast<double>(total) / static_cast<double>(count) : 0.0) ||
        !venGetStringField(&name, env, trace, tally, module.tallyName)) {
        return;
    }
    if (name == nullptr) { // the field held null
        name = ksStringCreateFromCstr("(unnamed)", -1);
    }
    ksString* summary = ksStringCreateFromFormatCstr("%s: %i values, total %i", -1, name, count, total);
    venSetStringField(env, trace, tally, module.tallySummary, summary);
    ksObjRelease(summary);
    ksObjRelease(name);
}

// Runs the module framework's shutdown of libven and lets go of the module's state.
// Safe to call twice.
KS_BOOL shutdownModule()
{
    if (module.ven == nullptr) {
        return KS_FALSE;
    }
    const KS_BOOL notable = lgStreamNotable(module.trace);
    mhModuleUnload(module.ven); // the shutdown through the descriptor, then dlclose
    lgStreamDestroy(module.trace);
    module = Module{};
    venDelJavaVm();
    return notable;
}

// boolean shutdown()
jboolean shutdown(JNIEnv*, jclass)
{
    return shutdownModule() == KS_TRUE ? JNI_TRUE : JNI_FALSE;
}

// JNI's table entry has non-const char pointers; the texts are never written.
constexpr JNINativeMethod native(const char* name, const char* signature, void* function)
{
    return {const_cast<char*>(name), const_cast<char*>(signature), function};
}

const JNINativeMethod statsNatives[] = {
    native("describe", "([Ljava/lang/String;)[Ljava/lang/String;", reinterpret_cast<void*>(&describe)),
    native("crc32", "([B)[B", reinterpret_cast<void*>(&crc32)),
    native("sum", "([I)J", reinterpret_cast<void*>(&sum)),
    native("summarize", "([I)Ljava/util/ArrayList;", reinterpret_cast<void*>(&summarize)),
    native("accumulate", "(Lstats/Tally;[I)V", reinterpret_cast<void*>(&accumulate)),
    native("shutdown", "()Z", reinterpret_cast<void*>(&shutdown)),
};

struct FieldRow {
    jfieldID Module::*id;
    const char* name;
    const char* signature;
};

constexpr FieldRow tallyFields[] = {
    {&Module::tallyName, "name", "Ljava/lang/String;"},
    {&Module::tallyTotal, "total", "I"},
    {&Module::tallyCount, "count", "J"},
    {&Module::tallyMean, "mean", "D"},
    {&Module::tallySummary, "summary", "Ljava/lang/String;"},
};

KS_BOOL registerNatives(JNIEnv* env)
{
    lgStream* trace = module.trace;
    jclass stats = nullptr;
    jclass tally = nullptr;
    KS_BOOL ok = venFindClass(&stats, env, trace, "stats/Stats") &&
                 venRegisterNatives(env, trace, stats, statsNatives,
                                    static_cast<jint>(sizeof statsNatives / sizeof statsNatives[0])) &&
                 venFindClass(&tally, env, trace, "stats/Tally");
    for (const FieldRow& field : tallyFields) {
        ok = ok && venGetFieldID(&(module.*field.id), env, trace, tally, field.name, field.signature);
    }
    venDeleteLocalRef(env, tally);
    venDeleteLocalRef(env, stats);
    return ok;
}

} // namespace

// The virtual machine calls this when System.loadLibrary("venstats") loads the module.
extern "C" JNIEXPORT jint JNI_OnLoad(JavaVM* vm, void*)
{
    venSetJavaVm(vm);
    // The module framework loads libven by path and runs its start-up through the
    // descriptor. The path is that of the libven this module was linked against, so the
    // framework's load finds the very library that is already mapped.
    Dl_info linked{};
    char error[256] = "";
    if (dladdr(reinterpret_cast<void*>(&venSetJavaVm), &linked) == 0 ||
        (module.ven = mhModuleLoad(linked.dli_fname, "ven", error, sizeof error)) == nullptr ||
        mhModuleStart(module.ven) != KS_TRUE) {
        std::fprintf(stderr, "stats: cannot start libven: %s\n", error);
        mhModuleUnload(module.ven);
        module.ven = nullptr;
        venDelJavaVm();
        return JNI_ERR;
    }
    module.trace = lgStreamCreate(stderr);
    if (!registerNatives(venGetMainJniEnv())) {
        // The pending exception (traced above) becomes the cause of the
        // UnsatisfiedLinkError that System.loadLibrary throws.
        shutdownModule();
        return JNI_ERR;
    }
    return JNI_VERSION_1_8;
}

// Runs only if the class loader that loaded the module is collected; the application
// normally shuts the module down itself, through Stats.shutdown().
extern "C" JNIEXPORT void JNI_OnUnload(JavaVM*, void*)
{
    shutdownModule();
}
