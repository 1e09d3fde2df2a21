// The stats module (libvenstats.so): the natives of the Java class stats.Stats, written
// on ven's C++ face (ven/ven.hpp) over its integration layer and class support. No JNI
// function table is called here: every Java object is reached through a ven function,
// which checks its arguments (a bad one becomes a thrown IllegalArgumentException), keeps
// the exception state consistent and describes failures in the module's trace stream.
//
// The pattern of every native: each step yields an optional that is empty after a failure,
// when a Java exception is pending; the native returns at once and the Java caller sees
// that exception. References and ks objects belong to handles that let go of them on
// every path, so a return needs no clean-up.
#include <dlfcn.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>

#include "modhost.h"
#include "ven/ven.hpp"

namespace
{

// Module state, set up by JNI_OnLoad and torn down by the shutdown.
struct Module {
    mhModule* ven = nullptr;   // libven, as the module framework loaded and started it
    lgStream* trace = nullptr; // every failure is described here; lines echo to stderr
    // Field IDs of stats.Tally stay valid while the class is loaded, which is as long
    // as this module is: look them up once.
    ven::Field<jstring> tallyName;
    ven::Field<jint> tallyTotal;
    ven::Field<jlong> tallyCount;
    ven::Field<jdouble> tallyMean;
    ven::Field<jstring> tallySummary;
};
Module module;

// A KS_INT copy of an int[]: the copy bridge pins the array once and widens each element.
struct IntValues {
    std::unique_ptr<KS_INT[], void (*)(void*)> values{nullptr, &ksMemFree};
    KS_INT length = 0;

    KS_INT sum() const
    {
        KS_INT total = 0;
        for (KS_INT i = 0; i < length; ++i) {
            total += values[i]; // at most 2^31 elements of at most 2^31: no overflow
        }
        return total;
    }
};

std::optional<IntValues> readInts(const ven::Context& ctx, jintArray array)
{
    // A NULL array is refused here, as "venGetArrayLength: array != NULL".
    const auto length = ctx.get<venGetArrayLength>(array);
    if (!length) {
        return std::nullopt;
    }
    // Room for at least one element: the bridge refuses a NULL destination even when there
    // is nothing to copy.
    IntValues copy;
    copy.length = *length;
    copy.values.reset(static_cast<KS_INT*>(ksMemAllocN(std::max<KS_INT>(*length, 1), sizeof(KS_INT))));
    if (!venCopyIntArrayElements(copy.values.get(), ctx.env, ctx.trace, array, *length)) {
        return std::nullopt;
    }
    return copy;
}

// "<word>": N characters (U UTF-16 units), S outside the BMP, reversed "<drow>"
// The ksString holds code points, so a character outside the Basic Multilingual Plane
// is one element: counting and reversing need no surrogate handling at all.
ven::KsString describeWord(const ksString* word)
{
    if (word == nullptr) {
        return ven::KsString(ksStringCreateFromCstr("null", -1));
    }
    const KS_INT length = ksStringLength(word);
    const KS_CHAR* chars = ksStringBacking(word);
    KS_CHAR* reversedChars = static_cast<KS_CHAR*>(ksMemAllocN(length, sizeof(KS_CHAR)));
    KS_INT supplementary = 0;
    for (KS_INT i = 0; i < length; ++i) {
        supplementary += chars[i] > 0xFFFF ? 1 : 0;
        reversedChars[length - 1 - i] = chars[i];
    }
    const ven::KsString reversed(ksStringCreateFromCharsUse(reversedChars, length));
    return ven::KsString(ksStringCreateFromFormatCstr(
        "\"%s\": %i characters (%i UTF-16 units), %i outside the BMP, reversed \"%s\"", -1, word, length,
        length + supplementary, supplementary, reversed.get()));
}

// String[] describe(String[] words)
jobjectArray describe(JNIEnv* env, jclass, jobjectArray words)
{
    const ven::Context ctx(env, module.trace);
    const auto count = ctx.get<venGetArrayLength>(words);
    // ven has no reader for one element of an object array; java.lang.reflect.Array.get
    // does the same job through an ordinary static call.
    const auto arrays = count ? ctx.findClass("java/lang/reflect/Array") : std::nullopt;
    const auto get = arrays ? ctx.staticMethod<jobject(jobject, jint)>(*arrays, "get") : std::nullopt;
    if (!get) {
        return {};
    }
    const ven::KsVector lines(ksVectorCreate());
    for (jint i = 0; i < *count; ++i) {
        // Both live for one round: the loop holds one element however long the array is.
        const auto element = ctx.call(*arrays, *get, words, i);
        const auto word = element ? ctx.get<venStringToKsString>(element->as<jstring>()) : std::nullopt;
        if (!word) {
            return {};
        }
        ksVectorAppend(lines, describeWord(*word));
    }
    return ven::release(ctx.get<venNewStringArrayFromKsVector>(lines.get()));
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
    const ven::Context ctx(env, module.trace);
    const auto length = ctx.get<venGetArrayLength>(data);
    const auto bytes = length ? ctx.get<venGetByteArrayRegionAsBuffer>(data, 0, *length) : std::nullopt;
    if (!bytes) {
        return {};
    }
    const std::uint32_t crc =
        crc32Of(static_cast<const std::uint8_t*>(ksBufferBacking(*bytes)), ksBufferLength(*bytes));
    const std::uint8_t bigEndian[4] = {static_cast<std::uint8_t>(crc >> 24),
                                       static_cast<std::uint8_t>(crc >> 16),
                                       static_cast<std::uint8_t>(crc >> 8), static_cast<std::uint8_t>(crc)};
    const ven::KsBuffer digest(ksBufferCreateFromBytesCopy(bigEndian, sizeof bigEndian));
    return ven::release(ctx.get<venNewByteArrayFromBuffer>(digest.get()));
}

// long sum(int[] values)
jlong sum(JNIEnv* env, jclass, jintArray values)
{
    const auto copy = readInts(ven::Context(env, module.trace), values);
    return copy ? copy->sum() : 0;
}

// ArrayList<Object> summarize(int[] values): [Long min, Long max, Double mean, Boolean ascending]
jobject summarize(JNIEnv* env, jclass, jintArray values)
{
    const ven::Context ctx(env, module.trace);
    const auto copy = readInts(ctx, values);
    if (!copy) {
        return {};
    }
    if (copy->length == 0) {
        // The module's own argument check, reported the way ven reports its own.
        return ctx.fail("Stats.summarize", "values.length > 0");
    }
    const KS_INT* v = copy->values.get();
    KS_INT min = v[0];
    KS_INT max = v[0];
    KS_BOOL ascending = KS_TRUE;
    for (KS_INT i = 1; i < copy->length; ++i) {
        min = std::min(min, v[i]);
        max = std::max(max, v[i]);
        ascending = v[i - 1] <= v[i] ? ascending : KS_FALSE;
    }
    const double mean = static_cast<double>(copy->sum()) / static_cast<double>(copy->length);

    auto list = ctx.get<venArrayListNew>();
    // Each boxed value is deleted as soon as the list holds it.
    const auto add = [&](const std::optional<ven::Local<>>& boxed) {
        return boxed && ctx.get<venCollectionAdd>(list->get(), boxed->get());
    };
    if (!list || !add(ctx.get<venLongValueOf>(min)) || !add(ctx.get<venLongValueOf>(max)) ||
        !add(ctx.get<venDoubleValueOf>(mean)) || !add(ctx.get<venBooleanValueOf>(ascending))) {
        return {};
    }
    return ven::release(std::move(list));
}

// void accumulate(Tally tally, int[] values)
void accumulate(JNIEnv* env, jclass, jobject tally, jintArray values)
{
    const ven::Context ctx(env, module.trace);
    // A NULL tally is refused by the first field read ("venGetIntField: obj != NULL").
    const auto total = ctx.read(tally, module.tallyTotal);
    const auto count = total ? ctx.read(tally, module.tallyCount) : std::nullopt;
    const auto copy = count ? readInts(ctx, values) : std::nullopt;
    if (!copy) {
        return;
    }
    const KS_INT newTotal = *total + copy->sum();
    const KS_INT newCount = *count + copy->length;
    const double mean = newCount > 0 ? static_cast<double>(newTotal) / static_cast<double>(newCount) : 0.0;
    // The total is written first: when it no longer fits the int field, ven refuses it
    // ("venSetIntField: VEN_KS_INT_TO_JINT_CONV_OK( value )") and the tally stays as it was.
    const bool written = ctx.write(tally, module.tallyTotal, newTotal) &&
                         ctx.write(tally, module.tallyCount, newCount) &&
                         ctx.write(tally, module.tallyMean, mean);
    auto name = written ? ctx.get<venGetStringField>(tally, module.tallyName) : std::nullopt;
    if (!name) {
        return;
    }
    if (!*name) { // the field held null
        *name = ven::KsString(ksStringCreateFromCstr("(unnamed)", -1));
    }
    const ven::KsString summary(
        ksStringCreateFromFormatCstr("%s: %i values, total %i", -1, name->get(), newCount, newTotal));
    (void)ctx.run<venSetStringField>(tally, module.tallySummary, summary.get());
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

// The signatures are computed from the Java types, and each function's C++ type is checked
// against its signature.
const JNINativeMethod statsNatives[] = {
    ven::native<ven::Array<jstring>(ven::Array<jstring>)>("describe", &describe),
    ven::native<jbyteArray(jbyteArray)>("crc32", &crc32),
    ven::native<jlong(jintArray)>("sum", &sum),
    ven::native<ven::Object<"java/util/ArrayList">(jintArray)>("summarize", &summarize),
    ven::native<void(ven::Object<"stats/Tally">, jintArray)>("accumulate", &accumulate),
    ven::native<jboolean()>("shutdown", &shutdown),
};

template <typename Id> bool keep(Id& slot, const std::optional<Id>& found)
{
    slot = found.value_or(Id{});
    return found.has_value();
}

bool registerNatives(const ven::Context& ctx)
{
    const auto stats = ctx.findClass("stats/Stats");
    const auto tally =
        stats && ctx.registerNatives(*stats, statsNatives) ? ctx.findClass("stats/Tally") : std::nullopt;
    return tally && keep(module.tallyName, ctx.field<jstring>(*tally, "name")) &&
           keep(module.tallyTotal, ctx.field<jint>(*tally, "total")) &&
           keep(module.tallyCount, ctx.field<jlong>(*tally, "count")) &&
           keep(module.tallyMean, ctx.field<jdouble>(*tally, "mean")) &&
           keep(module.tallySummary, ctx.field<jstring>(*tally, "summary"));
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
    if (!registerNatives(ven::Context(venGetMainJniEnv(), module.trace))) {
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
