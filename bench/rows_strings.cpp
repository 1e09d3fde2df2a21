// Rows of text: the two string conversions (jstring <-> ksString) and the two UTF-16 routines
// under them, on BMP text and on text with supplementary characters, at 16, 1,000 and
// 1,000,000 UTF-16 units. The routines are measured against memcpy of their output size;
// the conversions against the best hand-written JNI code with the same routines.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "bench.hpp"

namespace ven::bench
{

namespace
{

// BMP text that is not Latin-1, so that the JVM keeps it as UTF-16 and the critical region
// hands out the string's own storage instead of an inflated copy.
constexpr char32_t kBmpPattern[] = U"Grüße aus Köln – Καλημέρα κόσμε – Привет – 你好，世界。 ";
// The same kind of text with a supplementary character every few units.
constexpr char32_t kSupplementaryPattern[] =
    U"Grüße 😀 Καλημέρα 𝄞 Привет 🙂 你好 𐍈 ";

struct Text {
    std::string name;     // "bmp/1000"
    std::u16string units; // exactly the stated number of UTF-16 units
    std::vector<KS_CHAR> codePoints;
    jstring java = nullptr; // global
    ksString* ks = nullptr;
};

// Repeats the pattern up to `length` units; a pair that would not fit is replaced by a
// BMP character, so that the text stays well-formed.
Text makeText(const char* script, const char32_t* pattern, std::size_t length, JNIEnv* env)
{
    Text text;
    text.name = std::string(script) + "/" + std::to_string(length);
    const std::u32string_view cycle(pattern);
    for (std::size_t i = 0; text.units.size() < length; ++i) {
        char32_t c = cycle[i % cycle.size()];
        if (c > 0xFFFF && text.units.size() + 2 > length) {
            c = U'x';
        }
        if (c > 0xFFFF) {
            text.units.push_back(static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)));
            text.units.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
        } else {
            text.units.push_back(static_cast<char16_t>(c));
        }
        text.codePoints.push_back(c);
    }
    jstring local = env->NewString(reinterpret_cast<const jchar*>(text.units.data()),
                                   static_cast<jsize>(text.units.size()));
    text.java = static_cast<jstring>(env->NewGlobalRef(local));
    env->DeleteLocalRef(local);
    text.ks = ksStringCreateFromChars(text.codePoints.data(), static_cast<KS_INT>(text.codePoints.size()));
    return text;
}

template <typename Obj> void deliverObject(Obj** variable, Obj* object)
{
    Obj* old = *variable;
    *variable = object;
    ksObjRelease(old);
}

// --- Reference sequences ----------------------------------------------------------------------

} // namespace

__attribute__((noinline, aligned(64))) KS_INT encodeInto(jchar* __restrict destination, const KS_CHAR* __restrict source, KS_INT count)
{
    KS_INT units = 0;
    for (KS_INT i = 0; i < count; ++i) {
        const KS_CHAR c = source[i];
        if (c <= 0xFFFF) {
            destination[units++] = static_cast<jchar>(c);
        } else {
            destination[units++] = static_cast<jchar>(0xD800 + ((c - 0x10000) >> 10));
            destination[units++] = static_cast<jchar>(0xDC00 + (c & 0x3FF));
        }
    }
    return units;
}

namespace
{

// The best hand-written conversion: length; a short text copied out with one region call, a long
// one read in place in the critical region; decoded with the library's routine into the block
// the new string takes over.
template <class P> [[gnu::noinline]] bool stringToKsString(ksString** result, JNIEnv* env, jstring string)
{
    P::start(env);
    const jsize length = env->GetStringLength(string);
    P::afterNonRaising(env);
    if (length == 0) {
        deliverObject(result, ksStringCreate());
        return true;
    }
    KS_CHAR* codePoints = nullptr;
    KS_INT count = 0;
    bool decoded = false;
    bool ok = true;
    if (length <= kShortText) {
        jchar units[kShortText];
        P::call(env, ok, [&] { env->GetStringRegion(string, 0, length, units); });
        if (!ok) {
            return false;
        }
        decoded = ven___JCharsToChars(&codePoints, &count, units, length);
    } else {
        const jchar* chars = P::critical(env, ok, [&] { return env->GetStringCritical(string, nullptr); });
        if (!ok) {
            return false;
        }
        decoded = ven___JCharsToChars(&codePoints, &count, chars, length);
        env->ReleaseStringCritical(string, chars);
    }
    if (decoded) {
        deliverObject(result, ksStringCreateFromCharsUse(codePoints, count));
    }
    return decoded;
}

// The other way: a short text encoded on the stack, a long one with the library's routine, then
// NewString.
template <class P>
[[gnu::noinline]] bool stringFromKsString(jstring* result, JNIEnv* env, const ksString* string)
{
    P::start(env);
    const KS_INT length = ksStringLength(string);
    const KS_CHAR* codePoints = ksStringBacking(string);
    bool ok = true;
    if (length <= kShortText) {
        jchar units[2 * kShortText];
        const KS_INT count = encodeInto(units, codePoints, length);
        replaceLocal(env, result,
                     P::reference(env, ok, [&] { return env->NewString(units, static_cast<jsize>(count)); }));
        return ok;
    }
    jchar* units = nullptr;
    KS_INT count = 0;
    ven___CharsToJChars(&units, &count, codePoints, length);
    replaceLocal(env, result,
                 P::reference(env, ok, [&] { return env->NewString(units, static_cast<jsize>(count)); }));
    ksMemFree(units);
    return ok;
}

// The critical pair alone.
[[gnu::noinline]] bool criticalPair(JNIEnv* env, jstring string)
{
    const jchar* chars = env->GetStringCritical(string, nullptr);
    if (chars == nullptr) {
        return false;
    }
    benchmark::DoNotOptimize(chars);
    env->ReleaseStringCritical(string, chars);
    return true;
}

[[gnu::noinline]] void copyBytes(void* destination, const void* source, std::size_t size)
{
    std::memcpy(destination, source, size);
}

// memcpy of `size` bytes between two blocks made once.
void memcpyRow(const std::string& op, std::size_t size)
{
    addRow("raw", op, [size](benchmark::State& state) {
        std::vector<unsigned char> source(size, 0x5A);
        std::vector<unsigned char> destination(size);
        for (auto _ : state) {
            copyBytes(destination.data(), source.data(), size);
            benchmark::ClobberMemory();
        }
        setBytes(state, static_cast<double>(size));
    });
}

void registerTextRows(const Text& text)
{
    JNIEnv* env = world().env;
    lgStream* trace = world().trace;
    const jstring java = text.java;
    const ksString* ks = text.ks;
    const auto* units = reinterpret_cast<const jchar*>(text.units.data());
    const auto unitCount = static_cast<KS_INT>(text.units.size());
    const KS_CHAR* codePoints = text.codePoints.data();
    const auto codePointCount = static_cast<KS_INT>(text.codePoints.size());

    const std::string toKs = "StringToKsString/" + text.name;
    const auto releaseKs = [=](benchmark::State& state, ksString* result) {
        failed(state, result != nullptr && ksStringLength(result) == codePointCount, "wrong length");
        ksObjRelease(result);
    };
    resultRow<ksString*>(
        "raw", toKs, [=](ksString** r) { return stringToKsString<Careful>(r, env, java); }, releaseKs);
    resultRow<ksString*>(
        "min", toKs, [=](ksString** r) { return stringToKsString<ComposedFloor>(r, env, java); }, releaseKs);
    resultRow<ksString*>(
        "ven", toKs, [=](ksString** r) { return venStringToKsString(r, env, trace, java) == KS_TRUE; },
        releaseKs);

    const std::string fromKs = "StringFromKsString/" + text.name;
    const auto deleteJava = [=](benchmark::State& state, jstring result) {
        failed(state, result != nullptr && env->GetStringLength(result) == unitCount, "wrong length");
        env->DeleteLocalRef(result);
    };
    resultRow<jstring>(
        "raw", fromKs, [=](jstring* r) { return stringFromKsString<Careful>(r, env, ks); }, deleteJava);
    resultRow<jstring>(
        "min", fromKs, [=](jstring* r) { return stringFromKsString<ComposedFloor>(r, env, ks); }, deleteJava);
    resultRow<jstring>(
        "ven", fromKs,
        [=](jstring* r) {
            return venStringFromKsString(r, env, trace, const_cast<ksString*>(ks)) == KS_TRUE;
        },
        deleteJava);

    // The routines: one new block per call, freed again, as every caller does.
    const std::string decode = "JCharsToChars/" + text.name;
    memcpyRow(decode, static_cast<std::size_t>(codePointCount) * sizeof(KS_CHAR));
    addRow("ven", decode, [=](benchmark::State& state) {
        for (auto _ : state) {
            KS_CHAR* block = nullptr;
            KS_INT count = 0;
            const bool ok = ven___JCharsToChars(&block, &count, units, unitCount);
            if (failed(state, ok && count == codePointCount, "the decoding failed")) {
                break;
            }
            benchmark::DoNotOptimize(block);
            ksMemFree(block);
        }
        setBytes(state, static_cast<double>(unitCount) * sizeof(jchar)); // UTF-16 input
    });

    const std::string encode = "CharsToJChars/" + text.name;
    memcpyRow(encode, static_cast<std::size_t>(unitCount) * sizeof(jchar));
    addRow("ven", encode, [=](benchmark::State& state) {
        for (auto _ : state) {
            jchar* block = nullptr;
            KS_INT count = 0;
            ven___CharsToJChars(&block, &count, codePoints, codePointCount);
            if (failed(state, count == unitCount, "the encoding gave another length")) {
                break;
            }
            benchmark::DoNotOptimize(block);
            ksMemFree(block);
        }
        setBytes(state, static_cast<double>(unitCount) * sizeof(jchar)); // UTF-16 output
    });
}

} // namespace

void registerStringRows()
{
    JNIEnv* env = world().env;
    // Kept for the whole run: the rows refer to them.
    static std::vector<Text> texts;
    texts.reserve(6);
    for (std::size_t length : {16, 1000, 1000000}) {
        texts.push_back(makeText("bmp", kBmpPattern, length, env));
        texts.push_back(makeText("supp", kSupplementaryPattern, length, env));
    }
    for (const Text& text : texts) {
        registerTextRows(text);
    }

    // With the decoding of the same text, the floor of its conversion.
    const std::string large = "bmp/1000000";
    const jstring java =
        std::find_if(texts.begin(), texts.end(), [&](const Text& t) { return t.name == large; })->java;
    addRow("raw", "StringCritical/" + large, [=](benchmark::State& state) {
        for (auto _ : state) {
            if (failed(state, criticalPair(env, java), "GetStringCritical failed")) {
                break;
            }
        }
    });
}

} // namespace ven::bench
