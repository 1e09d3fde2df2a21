// Target lg_format: lgStreamTextFormatCstr with "%lc", "%s", "%i", "%%" and any other text against a
// reference formatter, with the arguments a real caller would pass: one of the directive's own type
// per directive, in order. The line kept and the line echoed are both compared.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "fuzz.hpp"
#include "lg/lg.h"

namespace ven::fuzz
{
namespace
{

// Directives per call: every sequence of kinds up to this many is a call site of its own.
constexpr std::size_t kMaxDirectives = 5;
constexpr char kNullText[] = "(null)";

// One argument, of the kind its directive names by its last letter.
struct Arg {
    char kind = 'c';
    const char* text = nullptr; // %lc, NULL allowed
    ksString* string = nullptr; // %s, NULL allowed
    KS_INT number = 0;          // %i
};

// The UTF-8 rule of ks, modified form included: C0 80 is U+0000, two three-byte surrogates of a pair
// are one code point, and a byte that starts no valid sequence is U+FFFD.
void referenceUtf8(std::vector<KS_CHAR>& out, const unsigned char* p, std::size_t n)
{
    auto cont = [&](std::size_t at) { return at < n && (p[at] & 0xC0) == 0x80; };
    auto three = [&](std::size_t at) -> KS_CHAR { // 0 when [at, at + 3) is no three-byte form
        if (at >= n || (p[at] & 0xF0) != 0xE0 || !cont(at + 1) || !cont(at + 2)) {
            return 0;
        }
        const KS_CHAR c = ((p[at] & 0x0Fu) << 12) | ((p[at + 1] & 0x3Fu) << 6) | (p[at + 2] & 0x3Fu);
        return c >= 0x800 ? c : 0;
    };
    auto four = [&](std::size_t at) -> KS_CHAR { // 0 when [at, at + 4) is no four-byte form
        if (p[at] < 0xF0 || p[at] > 0xF4 || !cont(at + 1) || !cont(at + 2) || !cont(at + 3)) {
            return 0;
        }
        const KS_CHAR c = ((p[at] & 0x07u) << 18) | ((p[at + 1] & 0x3Fu) << 12) | ((p[at + 2] & 0x3Fu) << 6) |
                          (p[at + 3] & 0x3Fu);
        return c >= 0x10000 && c <= 0x10FFFF ? c : 0;
    };
    for (std::size_t i = 0; i < n;) {
        auto take = [&](KS_CHAR c, std::size_t bytes) {
            out.push_back(c);
            i += bytes;
        };
        const unsigned char b = p[i];
        if (b < 0x80) {
            take(b, 1);
        } else if (b == 0xC0 && i + 1 < n && p[i + 1] == 0x80) {
            take(0, 2);
        } else if (b >= 0xC2 && b <= 0xDF && cont(i + 1)) {
            take(((b & 0x1Fu) << 6) | (p[i + 1] & 0x3Fu), 2);
        } else if (const KS_CHAR c = three(i); c != 0) {
            const KS_CHAR low = c >= 0xD800 && c <= 0xDBFF ? three(i + 3) : 0;
            low >= 0xDC00 && low <= 0xDFFF ? take(0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00), 6)
                                           : take(c, 3);
        } else if (const KS_CHAR c4 = four(i); c4 != 0) {
            take(c4, 4);
        } else {
            take(0xFFFD, 1);
        }
    }
}

// Standard UTF-8 as the echo writes it: lone surrogates as three bytes, values beyond 10FFFF as
// U+FFFD; the echo ends at the first U+0000, where the C string does.
std::string referenceEcho(const std::vector<KS_CHAR>& chars)
{
    std::string out;
    for (KS_CHAR c : chars) {
        if (c == 0) {
            break;
        }
        c = c > 0x10FFFF ? 0xFFFD : c;
        static constexpr KS_CHAR kLead[] = {0, 0xC0, 0xE0, 0xF0};
        const int tail = c < 0x80 ? 0 : c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
        out += static_cast<char>(kLead[tail] | c >> (6 * tail));
        for (int k = tail - 1; k >= 0; --k) {
            out += static_cast<char>(0x80 | (c >> (6 * k) & 0x3F));
        }
    }
    return out + '\n';
}

// One call site per sequence of argument types: the arguments of `args` are passed with their own
// types, as a caller's compiler would pass them.
template <class... Values>
void formatCall(lgStream* stream, const char* format, KS_INT length, const Arg* args, std::size_t count,
                Values... values)
{
    if constexpr (sizeof...(Values) < kMaxDirectives) {
        if (count > 0) {
            switch (args->kind) {
            case 'c':
                return formatCall(stream, format, length, args + 1, count - 1, values..., args->text);
            case 's':
                return formatCall(stream, format, length, args + 1, count - 1, values...,
                                  static_cast<const ksString*>(args->string));
            default:
                return formatCall(stream, format, length, args + 1, count - 1, values..., args->number);
            }
        }
    }
    lgStreamTextFormatCstr(stream, format, length, values...);
}

} // namespace

// Input: a flags byte (bit 0: pass the length as -1, bit 1: echo to a FILE, bit 2: an empty format as
// NULL), the format up to the first FF byte (a byte no UTF-8 form has), then the arguments' data, read
// as the directives ask: %lc a length byte (FF: NULL) and that many bytes; %s a length byte (FF: NULL)
// and three bytes per code point; %i eight bytes.
void checkLgFormat(const std::uint8_t* data, std::size_t size)
{
    const std::uint8_t flags = size > 0 ? data[0] : 0;
    const std::string_view bytes(reinterpret_cast<const char*>(data) + (size > 0), size - (size > 0));
    const std::size_t separator = std::min(bytes.find('\xFF'), bytes.size());
    std::string format(bytes.substr(0, separator));
    Reader in{data + (size > 0) + separator + (separator < bytes.size()),
              bytes.size() - std::min(separator + 1, bytes.size())};

    // The directive rule: "%lc", "%s", "%i" take an argument, "%%" is one '%', any other '%' is text.
    // The format ends before directive number kMaxDirectives + 1, and with length -1 at its first NUL.
    const bool toNul = (flags & 1) != 0;
    const std::string_view used(format.c_str(), toNul ? std::strlen(format.c_str()) : format.size());
    const Counts counts;
    std::vector<Arg> args;
    std::vector<std::string> texts;
    texts.reserve(kMaxDirectives);
    std::vector<KS_CHAR> expected;
    std::size_t i = 0, literal = 0;
    for (; i < used.size(); ++i) {
        const std::string_view at = used.substr(i, 3);
        const bool percent = at.starts_with("%%");
        const std::size_t taken = at.starts_with("%lc")                          ? 3
                                  : at.starts_with("%s") || at.starts_with("%i") ? 2
                                                                                 : 0;
        if (taken == 0 && !percent) {
            continue;
        }
        if (taken != 0 && args.size() == kMaxDirectives) {
            break;
        }
        referenceUtf8(expected, reinterpret_cast<const unsigned char*>(used.data()) + literal, i - literal);
        literal = percent ? i + 1 : i + taken; // the second '%' of "%%" starts the next text
        i += percent ? 1 : taken - 1;
        if (percent) {
            continue;
        }
        Arg& arg = args.emplace_back();
        arg.kind = at[taken - 1];
        const unsigned length = arg.kind == 'i' ? 0 : in.byte();
        if (arg.kind == 'i') {
            arg.number = static_cast<KS_INT>(in.bytes(8));
            const std::string digits = std::to_string(arg.number);
            expected.insert(expected.end(), digits.begin(), digits.end());
        } else if (length == 0xFF) {
            expected.insert(expected.end(), std::begin(kNullText), std::end(kNullText) - 1);
        } else if (arg.kind == 'c') {
            std::string& text = texts.emplace_back();
            for (unsigned k = 0; k < length; ++k) {
                text += static_cast<char>(in.byte());
            }
            arg.text = text.c_str();
            referenceUtf8(expected, reinterpret_cast<const unsigned char*>(arg.text), std::strlen(arg.text));
        } else {
            std::vector<KS_CHAR> chars;
            for (unsigned k = 0; k < length; ++k) {
                chars.push_back(static_cast<KS_CHAR>(in.bytes(3)));
            }
            arg.string = ksStringCreateFromChars(chars.data(), static_cast<KS_INT>(chars.size()));
            expected.insert(expected.end(), chars.begin(), chars.end());
        }
    }
    referenceUtf8(expected, reinterpret_cast<const unsigned char*>(used.data()) + literal, i - literal);
    const std::size_t cut = i < used.size() ? i : format.size();
    format.resize(cut);

    char* echoText = nullptr;
    std::size_t echoSize = 0;
    FILE* echo = (flags & 2) != 0 ? open_memstream(&echoText, &echoSize) : nullptr;
    lgStream* stream = lgStreamCreate(echo);
    const char* text = (flags & 4) != 0 && cut == 0 && !toNul ? nullptr : format.c_str();
    formatCall(stream, text, toNul ? -1 : static_cast<KS_INT>(cut), args.data(), args.size());

    FUZZ_EXPECT(lgStreamLineCount(stream) == 1, "%lld lines",
                static_cast<long long>(lgStreamLineCount(stream)));
    ksString* line = lgStreamLineAt(stream, 0);
    expectValues(ksStringBacking(line), static_cast<std::size_t>(ksStringLength(line)), expected,
                 "code point");
    ksObjRelease(line);
    lgStreamDestroy(stream);
    if (echo != nullptr) {
        std::fclose(echo);
        const std::string wanted = referenceEcho(expected);
        FUZZ_EXPECT(echoSize == wanted.size() && std::memcmp(echoText, wanted.data(), echoSize) == 0,
                    "the echo has %zu bytes, %zu expected", echoSize, wanted.size());
        std::free(echoText);
    }
    for (const Arg& arg : args) {
        ksObjRelease(arg.string);
    }
    counts.expect(0);
}

} // namespace ven::fuzz
