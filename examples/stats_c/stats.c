/* The stats module in C (libvenstats_c.so): the same natives of stats.Stats as
 * examples/stats/stats.cpp, on ven's C API alone. Every native calls ven functions in a
 * row while they return KS_TRUE; at the first KS_FALSE a Java exception is pending, so it
 * releases what it holds and returns, and the Java caller sees that exception. */
#define _GNU_SOURCE /* dladdr */
#include <dlfcn.h>

#include <stdint.h>
#include <stdio.h>

#include "modhost.h"
#include "ven/ven.h"

/* Module state, set up by JNI_OnLoad and torn down by the shutdown. Field IDs of
 * stats.Tally stay valid while the class is loaded, which is as long as this module is. */
static struct {
    mhModule* ven;   /* libven, as the module framework loaded and started it */
    lgStream* trace; /* every failure is described here; lines echo to stderr */
    jfieldID tallyName, tallyTotal, tallyCount, tallyMean, tallySummary;
} module;

/* A KS_INT copy of an int[]; *values (room for at least one element, as the bridge
 * refuses a NULL destination) is the caller's to free with ksMemFree, also on failure. */
static KS_BOOL readInts(JNIEnv* env, jintArray array, KS_INT** values, KS_INT* length)
{
    /* A NULL array is refused here, as "venGetArrayLength: array != NULL". */
    if (!venGetArrayLength(length, env, module.trace, array)) {
        return KS_FALSE;
    }
    *values = ksMemAllocN(*length > 0 ? *length : 1, sizeof(KS_INT));
    return venCopyIntArrayElements(*values, env, module.trace, array, *length);
}

static KS_INT sumOf(const KS_INT* values, KS_INT length)
{
    KS_INT total = 0;
    for (KS_INT i = 0; i < length; ++i) {
        total += values[i]; /* at most 2^31 elements of at most 2^31: no overflow */
    }
    return total;
}

/* "<word>": N characters (U UTF-16 units), S outside the BMP, reversed "<drow>" */
static ksString* describeWord(const ksString* word)
{
    if (word == NULL) {
        return ksStringCreateFromCstr("null", -1);
    }
    const KS_INT length = ksStringLength(word);
    const KS_CHAR* chars = ksStringBacking(word);
    KS_CHAR* reversedChars = ksMemAllocN(length, sizeof(KS_CHAR));
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

/* String[] describe(String[] words) */
static jobjectArray describe(JNIEnv* env, jclass cls, jobjectArray words)
{
    (void)cls;
    lgStream* trace = module.trace;
    KS_INT count = 0;
    if (!venGetArrayLength(&count, env, trace, words)) {
        return NULL;
    }
    /* No reader for one element of an object array: java.lang.reflect.Array.get. */
    jclass arrays = NULL;
    jmethodID get = NULL;
    jobject element = NULL;
    ksString* word = NULL;
    ksVector* lines = ksVectorCreate();
    jobjectArray result = NULL;
    KS_BOOL ok =
        venFindClass(&arrays, env, trace, "java/lang/reflect/Array") &&
        venGetStaticMethodID(&get, env, trace, arrays, "get", "(Ljava/lang/Object;I)Ljava/lang/Object;");
    for (KS_INT i = 0; ok && i < count; ++i) {
        /* Each call replaces `element` and `word`, deleting (releasing) the previous one. */
        ok = venCallStaticObjectMethod(&element, env, trace, arrays, get, words, (jint)i) &&
             venStringToKsString(&word, env, trace, (jstring)element);
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

static uint32_t crc32Of(const uint8_t* bytes, KS_INT length)
{
    uint32_t crc = 0xFFFFFFFFu;
    for (KS_INT i = 0; i < length; ++i) {
        crc ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
        }
    }
    return ~crc;
}

/* byte[] crc32(byte[] data) */
static jbyteArray crc32(JNIEnv* env, jclass cls, jbyteArray data)
{
    (void)cls;
    lgStream* trace = module.trace;
    KS_INT length = 0;
    ksBuffer* bytes = NULL;
    if (!venGetArrayLength(&length, env, trace, data) ||
        !venGetByteArrayRegionAsBuffer(&bytes, env, trace, data, 0, length)) {
        return NULL;
    }
    const uint32_t crc = crc32Of(ksBufferBacking(bytes), ksBufferLength(bytes));
    ksObjRelease(bytes);
    const uint8_t bigEndian[4] = {(uint8_t)(crc >> 24), (uint8_t)(crc >> 16), (uint8_t)(crc >> 8),
                                  (uint8_t)crc};
    ksBuffer* digest = ksBufferCreateFromBytesCopy(bigEndian, sizeof bigEndian);
    jbyteArray result = NULL;
    venNewByteArrayFromBuffer(&result, env, trace, digest);
    ksObjRelease(digest);
    return result;
}

/* long sum(int[] values) */
static jlong sum(JNIEnv* env, jclass cls, jintArray values)
{
    (void)cls;
    KS_INT* copy = NULL;
    KS_INT length = 0;
    const jlong total = readInts(env, values, &copy, &length) ? sumOf(copy, length) : 0;
    ksMemFree(copy);
    return total;
}

/* ArrayList<Object> summarize(int[] values): [Long min, Long max, Double mean, Boolean ascending] */
static jobject summarize(JNIEnv* env, jclass cls, jintArray values)
{
    (void)cls;
    lgStream* trace = module.trace;
    KS_INT* v = NULL;
    KS_INT length = 0;
    if (!readInts(env, values, &v, &length)) {
        ksMemFree(v);
        return NULL;
    }
    if (length == 0) {
        ksMemFree(v);
        /* The module's own argument check, reported the way ven reports its own. */
        venIllegalArgumentExceptionThrowUseMessageCstr(env, trace, "Stats.summarize", "values.length > 0");
        return NULL;
    }
    KS_INT min = v[0];
    KS_INT max = v[0];
    KS_BOOL ascending = KS_TRUE;
    for (KS_INT i = 1; i < length; ++i) {
        min = v[i] < min ? v[i] : min;
        max = v[i] > max ? v[i] : max;
        ascending = v[i - 1] <= v[i] ? ascending : KS_FALSE;
    }
    const double mean = (double)sumOf(v, length) / (double)length;
    ksMemFree(v);

    jobject list = NULL;
    jobject boxed = NULL;
    KS_BOOL added = KS_FALSE;
    /* Each valueOf replaces `boxed` and deletes the value added before it. */
    const KS_BOOL ok =
        venArrayListNew(&list, env, trace) && venLongValueOf(&boxed, env, trace, min) &&
        venCollectionAdd(&added, env, trace, list, boxed) && venLongValueOf(&boxed, env, trace, max) &&
        venCollectionAdd(&added, env, trace, list, boxed) && venDoubleValueOf(&boxed, env, trace, mean) &&
        venCollectionAdd(&added, env, trace, list, boxed) &&
        venBooleanValueOf(&boxed, env, trace, ascending) && venCollectionAdd(&added, env, trace, list, boxed);
    venDeleteLocalRef(env, boxed);
    if (!ok) {
        venDeleteLocalRef(env, list);
        return NULL;
    }
    return list;
}

/* void accumulate(Tally tally, int[] values) */
static void accumulate(JNIEnv* env, jclass cls, jobject tally, jintArray values)
{
    (void)cls;
    lgStream* trace = module.trace;
    KS_INT total = 0;
    KS_INT count = 0;
    KS_INT* v = NULL;
    KS_INT length = 0;
    ksString* name = NULL;
    /* A NULL tally is refused by the first field read ("venGetIntField: obj != NULL"). */
    const KS_BOOL read = venGetIntField(&total, env, trace, tally, module.tallyTotal) &&
                         venGetLongField(&count, env, trace, tally, module.tallyCount) &&
                         readInts(env, values, &v, &length);
    total += read ? sumOf(v, length) : 0;
    count += length;
    ksMemFree(v);
    /* The total is written first: when it no longer fits the int field, ven refuses it
     * ("venSetIntField: VEN_KS_INT_TO_JINT_CONV_OK( value )") and the tally stays as it was. */
    if (!read || !venSetIntField(env, trace, tally, module.tallyTotal, total) ||
        !venSetLongField(env, trace, tally, module.tallyCount, count) ||
        !venSetDoubleField(env, trace, tally, module.tallyMean,
                           count > 0 ? (double)total / (double)count : 0.0) ||
        !venGetStringField(&name, env, trace, tally, module.tallyName)) {
        return;
    }
    if (name == NULL) { /* the field held null */
        name = ksStringCreateFromCstr("(unnamed)", -1);
    }
    ksString* summary = ksStringCreateFromFormatCstr("%s: %i values, total %i", -1, name, count, total);
    venSetStringField(env, trace, tally, module.tallySummary, summary);
    ksObjRelease(summary);
    ksObjRelease(name);
}

/* Runs the module framework's shutdown of libven and lets go of the module's state.
 * Safe to call twice. */
static KS_BOOL shutdownModule(void)
{
    if (module.ven == NULL) {
        return KS_FALSE;
    }
    const KS_BOOL notable = lgStreamNotable(module.trace);
    mhModuleUnload(module.ven); /* the shutdown through the descriptor, then dlclose */
    lgStreamDestroy(module.trace);
    module.ven = NULL;
    module.trace = NULL;
    venDelJavaVm();
    return notable;
}

/* boolean shutdown() */
static jboolean shutdown(JNIEnv* env, jclass cls)
{
    (void)env;
    (void)cls;
    return shutdownModule() == KS_TRUE ? JNI_TRUE : JNI_FALSE;
}

static const JNINativeMethod statsNatives[] = {
    {"describe", "([Ljava/lang/String;)[Ljava/lang/String;", (void*)&describe},
    {"crc32", "([B)[B", (void*)&crc32},
    {"sum", "([I)J", (void*)&sum},
    {"summarize", "([I)Ljava/util/ArrayList;", (void*)&summarize},
    {"accumulate", "(Lstats/Tally;[I)V", (void*)&accumulate},
    {"shutdown", "()Z", (void*)&shutdown},
};

static KS_BOOL registerNatives(JNIEnv* env)
{
    lgStream* trace = module.trace;
    jclass stats = NULL;
    jclass tally = NULL;
    const KS_BOOL ok =
        venFindClass(&stats, env, trace, "stats/Stats") &&
        venRegisterNatives(env, trace, stats, statsNatives, sizeof statsNatives / sizeof statsNatives[0]) &&
        venFindClass(&tally, env, trace, "stats/Tally") &&
        venGetFieldID(&module.tallyName, env, trace, tally, "name", "Ljava/lang/String;") &&
        venGetFieldID(&module.tallyTotal, env, trace, tally, "total", "I") &&
        venGetFieldID(&module.tallyCount, env, trace, tally, "count", "J") &&
        venGetFieldID(&module.tallyMean, env, trace, tally, "mean", "D") &&
        venGetFieldID(&module.tallySummary, env, trace, tally, "summary", "Ljava/lang/String;");
    venDeleteLocalRef(env, tally);
    venDeleteLocalRef(env, stats);
    return ok;
}

/* The virtual machine calls this when System.loadLibrary("venstats_c") loads the module. */
JNIEXPORT jint JNI_OnLoad(JavaVM* vm, void* reserved)
{
    (void)reserved;
    venSetJavaVm(vm);
    /* The framework loads the very libven this module was linked against. */
    Dl_info linked = {0};
    char error[256] = "";
    if (dladdr((void*)&venSetJavaVm, &linked) == 0 ||
        (module.ven = mhModuleLoad(linked.dli_fname, "ven", error, sizeof error)) == NULL ||
        mhModuleStart(module.ven) != KS_TRUE) {
        fprintf(stderr, "stats: cannot start libven: %s\n", error);
        mhModuleUnload(module.ven);
        module.ven = NULL;
        venDelJavaVm();
        return JNI_ERR;
    }
    module.trace = lgStreamCreate(stderr);
    if (!registerNatives(venGetMainJniEnv())) {
        shutdownModule(); /* the pending exception becomes the UnsatisfiedLinkError's cause */
        return JNI_ERR;
    }
    return JNI_VERSION_1_8;
}

/* Runs only if the class loader that loaded the module is collected. */
JNIEXPORT void JNI_OnUnload(JavaVM* vm, void* reserved)
{
    (void)vm;
    (void)reserved;
    shutdownModule();
}
