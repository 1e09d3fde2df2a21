// Rows of text: the two string conversions (jstring <-> ksString) and the two UTF-16 routines
// under them, on BMP text and on text with supplementary characters, at 16, 1,000 and
// 1,000,000 UTF-16 units, and the string forms of a field read and write, a call and toString()
// on a 16-character text. The routines are measured against memcpy of their output size; the
// conversions against the best hand-written JNI code with the same routines.
#include <algorithm>
#include <cstring>
#include <memory>
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

__attribute__((noinline, aligned(64))) KS_INT encodeInto(jchar* __restrict destination,
                                                         const KS_CHAR* __restrict source, KS_INT count)
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
template <class P> inline bool textToKsString(ksString** result, JNIEnv* env, jstring string)
{
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

template <class P> [[gnu::noinline]] bool stringToKsString(ksString** result, JNIEnv* env, jstring string)
{
    P::start(env);
    return textToKsString<P>(result, env, string);
}

// The other way: a short text encoded on the stack, a long one with the library's routine, then
// NewString.
template <class P> inline bool textFromKsString(jstring* result, JNIEnv* env, const ksString* string)
{
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

template <class P>
[[gnu::noinline]] bool stringFromKsString(jstring* result, JNIEnv* env, const ksString* string)
{
    P::start(env);
    return textFromKsString<P>(result, env, string);
}

// The string forms of a field access and a call, and an object's text: the Java string obtained,
// converted as above and let go. Careful code asks nothing at the start and trusts a field
// access and GetObjectClass, which JNI does not allow to raise; the floor keeps their checks.
template <class P>
[[gnu::noinline]] bool getStringField(ksString** result, JNIEnv* env, jobject obj, jfieldID field)
{
    P::start(env);
    auto string = static_cast<jstring>(env->GetObjectField(obj, field));
    P::afterNonRaising(env);
    const bool ok = textToKsString<P>(result, env, string);
    env->DeleteLocalRef(string);
    return ok;
}

template <class P>
[[gnu::noinline]] bool setStringField(JNIEnv* env, jobject obj, jfieldID field, const ksString* text)
{
    P::start(env);
    jstring string = nullptr;
    const bool ok = textFromKsString<P>(&string, env, text);
    if (ok) {
        env->SetObjectField(obj, field, string);
        P::afterNonRaising(env);
    }
    env->DeleteLocalRef(string);
    return ok;
}

template <class P> inline bool callForText(ksString** result, JNIEnv* env, jobject obj, jmethodID method)
{
    bool ok = true;
    auto string = static_cast<jstring>(P::call(env, ok, [&] { return env->CallObjectMethod(obj, method); }));
    ok = ok && textToKsString<P>(result, env, string);
    env->DeleteLocalRef(string);
    return ok;
}

template <class P>
[[gnu::noinline]] bool callStringMethod(ksString** result, JNIEnv* env, jobject obj, jmethodID method)
{
    P::start(env);
    return callForText<P>(result, env, obj, method);
}

// toString looked up on the object's own class, as the library does.
template <class P> [[gnu::noinline]] bool objectToString(ksString** result, JNIEnv* env, jobject obj)
{
    P::start(env);
    jclass clazz = env->GetObjectClass(obj);
    P::afterNonRaising(env);
    bool ok = true;
    const jmethodID toString =
        P::reference(env, ok, [&] { return env->GetMethodID(clazz, "toString", "()Ljava/lang/String;"); });
    ok = ok && callForText<P>(result, env, obj, toString);
    env->DeleteLocalRef(clazz);
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
    auto source = std::make_shared<std::vector<unsigned char>>(size, 0x5A);
    auto destination = std::make_shared<std::vector<unsigned char>>(size);
    addRow("raw", op, [size, source, destination](Batch& batch) {
        for (auto _ : batch) {
            copyBytes(destination->data(), source->data(), size);
            benchmark::ClobberMemory();
        }
        setBytes(batch, static_cast<double>(size));
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
    const auto releaseKs = [=](Batch& batch, ksString* result) {
        failed(batch, result != nullptr && ksStringLength(result) == codePointCount, "wrong length");
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
    const auto deleteJava = [=](Batch& batch, jstring result) {
        failed(batch, result != nullptr && env->GetStringLength(result) == unitCount, "wrong length");
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
    addRow("ven", decode, [=](Batch& batch) {
        for (auto _ : batch) {
            KS_CHAR* block = nullptr;
            KS_INT count = 0;
            const bool ok = ven___JCharsToChars(&block, &count, units, unitCount);
            if (failed(batch, ok && count == codePointCount, "the decoding failed")) {
                break;
            }
            benchmark::DoNotOptimize(block);
            ksMemFree(block);
        }
        setBytes(batch, static_cast<double>(unitCount) * sizeof(jchar)); // UTF-16 input
    });

    const std::string encode = "CharsToJChars/" + text.name;
    memcpyRow(encode, static_cast<std::size_t>(unitCount) * sizeof(jchar));
    addRow("ven", encode, [=](Batch& batch) {
        for (auto _ : batch) {
            jchar* block = nullptr;
            KS_INT count = 0;
            ven___CharsToJChars(&block, &count, codePoints, codePointCount);
            if (failed(batch, count == unitCount, "the encoding gave another length")) {
                break;
            }
            benchmark::DoNotOptimize(block);
            ksMemFree(block);
        }
        setBytes(batch, static_cast<double>(unitCount) * sizeof(jchar)); // UTF-16 output
    });
}

// The string forms of the members of venbench.Target, on its 16-character text.
void registerMemberTextRows()
{
    const World& w = world();
    JNIEnv* env = w.env;
    const jobject target = w.target;
    const jfieldID field = w.textField;
    const jmethodID text = w.text;
    // The three rows of an operation that delivers the text.
    const auto textRows = [](const char* op, auto raw, auto min, auto ven) {
        const auto releaseKs = [](Batch& batch, ksString* result) {
            failed(batch, result != nullptr && ksStringLength(result) == 16, "wrong length");
            ksObjRelease(result);
        };
        resultRow<ksString*>("raw", op, raw, releaseKs);
        resultRow<ksString*>("min", op, min, releaseKs);
        resultRow<ksString*>("ven", op, ven, releaseKs);
    };

    textRows(
        "GetStringField", [=](ksString** r) { return getStringField<Careful>(r, env, target, field); },
        [=](ksString** r) { return getStringField<ComposedFloor>(r, env, target, field); },
        [=](ksString** r) { return venGetStringField(r, env, w.trace, target, field) == KS_TRUE; });
    textRows(
        "CallStringMethod", [=](ksString** r) { return callStringMethod<Careful>(r, env, target, text); },
        [=](ksString** r) { return callStringMethod<ComposedFloor>(r, env, target, text); },
        [=](ksString** r) { return venCallStringMethod(r, env, w.trace, target, text) == KS_TRUE; });
    textRows(
        "ObjectToString", [=](ksString** r) { return objectToString<Careful>(r, env, target); },
        [=](ksString** r) { return objectToString<ComposedFloor>(r, env, target); },
        [=](ksString** r) { return venObjectToString(r, env, w.trace, target) == KS_TRUE; });

    // Kept for the whole run: the rows write it.
    static ksString* const written = ksStringCreateFromCstr("written: 16 char", -1);
    const auto setRow = [](const char* kind, auto write) {
        addRow(kind, "SetStringField", [=](Batch& batch) {
            for (auto _ : batch) {
                if (failed(batch, write(), "the operation failed")) {
                    break;
                }
            }
        });
    };
    setRow("raw", [=] { return setStringField<Careful>(env, target, field, written); });
    setRow("min", [=] { return setStringField<ComposedFloor>(env, target, field, written); });
    setRow("ven", [=] { return venSetStringField(env, w.trace, target, field, written) == KS_TRUE; });
}

} // namespace

void registerStringRows()
{
    registerMemberTextRows();

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
    addRow("raw", "StringCritical/" + large, [=](Batch& batch) {
        for (auto _ : batch) {
            if (failed(batch, criticalPair(env, java), "GetStringCritical failed")) {
                break;
            }
        }
    });
}

} // namespace ven::bench
