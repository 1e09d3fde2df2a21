// Target lg_format: lgStreamTextFormatCstr with "%lc", "%s", "%i", "%%" and any other text
// against a reference formatter, with the arguments a real caller would pass: one of the
// directive's own type per directive, in order. The line kept and the line echoed are both
// compared.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz.hpp"
#include "lg/lg.h"

namespace ven::fuzz
{
namespace
{

// Directives per call: every sequence of kinds up to this many is a call site of its own.
constexpr std::size_t kMaxDirectives = 5;
constexpr char kNullText[] = "(null)";

enum class Kind { Text, String, Int };

struct Arg {
    Kind kind = Kind::Text;
    const char* text = nullptr;     // %lc, NULL allowed
    ksString* string = nullptr;     // %s, NULL allowed
    KS_INT number = 0;              // %i
    std::vector<KS_CHAR> chars;     // what %s holds
};

// A literal run of the format (bytes [begin, end)) or a directive.
struct Piece {
    std::size_t begin;
    std::size_t end;
    bool directive;
    Kind kind;
};

// The directive rule: "%lc", "%s", "%i" take an argument, "%%" is one '%', and any other
// '%' is text. The format ends before directive number kMaxDirectives + 1; `cut` is where.
std::vector<Piece> scan(const std::string& format, std::size_t& cut)
{
    std::vector<Piece> pieces;
    std::size_t literal = 0;
    std::size_t directives = 0;
    cut = format.size();
    for (std::size_t i = 0; i < format.size();) {
        const std::size_t rest = format.size() - i;
        std::size_t taken = 0;
        Kind kind = Kind::Text;
        bool directive = true;
        if (format[i] != '%') {
            directive = false;
        } else if (rest >= 2 && format[i + 1] == '%') {
            taken = 2;
            directive = false;
        } else if (rest >= 3 && format[i + 1] == 'l' && format[i + 2] == 'c') {
            taken = 3;
        } else if (rest >= 2 && (format[i + 1] == 's' || format[i + 1] == 'i')) {
            taken = 2;
            kind = format[i + 1] == 's' ? Kind::String : Kind::Int;
        } else {
            directive = false;
        }
        if (taken == 0) {
            ++i;
            continue;
        }
        if (directive && directives == kMaxDirectives) {
            cut = i;
            break;
        }
        pieces.push_back({literal, i, false, Kind::Text});
        if (directive) {
            pieces.push_back({i, i + taken, true, kind});
            ++directives;
        } else {
            pieces.push_back({i + 1, i + 2, false, Kind::Text}); // the second '%' as text
        }
        i += taken;
        literal = i;
    }
    pieces.push_back({literal, cut, false, Kind::Text});
    return pieces;
}

bool continuation(unsigned char byte)
{
    return (byte & 0xC0) == 0x80;
}

// The UTF-8 rule of ks, modified form included: C0 80 is U+0000, two three-byte surrogates
// of a pair are one code point, and a byte that starts no valid sequence is U+FFFD.
void referenceUtf8(std::vector<KS_CHAR>& out, const unsigned char* p, std::size_t n)
{
    auto three = [&](std::size_t at) -> KS_CHAR { // 0 when [at, at + 3) is no three-byte form
        if (at + 3 > n || (p[at] & 0xF0) != 0xE0 || !continuation(p[at + 1]) || !continuation(p[at + 2])) {
            return 0;
        }
        const KS_CHAR c = ((p[at] & 0x0Fu) << 12) | ((p[at + 1] & 0x3Fu) << 6) | (p[at + 2] & 0x3Fu);
        return c >= 0x800 ? c : 0;
    };
    for (std::size_t i = 0; i < n;) {
        const unsigned char b = p[i];
        if (b < 0x80) {
            out.push_back(b);
            i += 1;
        } else if (b == 0xC0 && i + 1 < n && p[i + 1] == 0x80) {
            out.push_back(0);
            i += 2;
        } else if (b >= 0xC2 && b <= 0xDF && i + 1 < n && continuation(p[i + 1])) {
            out.push_back(((b & 0x1Fu) << 6) | (p[i + 1] & 0x3Fu));
            i += 2;
        } else if (const KS_CHAR c = three(i); c != 0) {
            const KS_CHAR low = c >= 0xD800 && c <= 0xDBFF ? three(i + 3) : 0;
            if (low >= 0xDC00 && low <= 0xDFFF) {
                out.push_back(0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00));
                i += 6;
            } else {
                out.push_back(c);
                i += 3;
            }
        } else if (b >= 0xF0 && b <= 0xF4 && i + 3 < n && continuation(p[i + 1]) && continuation(p[i + 2]) &&
                   continuation(p[i + 3]) &&
                   (((b & 0x07u) << 18) | ((p[i + 1] & 0x3Fu) << 12)) >= 0x10000 &&
                   (((b & 0x07u) << 18) | ((p[i + 1] & 0x3Fu) << 12)) <= 0x10FFFF) {
            out.push_back(((b & 0x07u) << 18) | ((p[i + 1] & 0x3Fu) << 12) | ((p[i + 2] & 0x3Fu) << 6) |
                          (p[i + 3] & 0x3Fu));
            i += 4;
        } else {
            out.push_back(0xFFFD);
            i += 1;
        }
    }
}

void referenceUtf8(std::vector<KS_CHAR>& out, const char* text)
{
    referenceUtf8(out, reinterpret_cast<const unsigned char*>(text), std::strlen(text));
}

// Standard UTF-8 as the echo writes it: lone surrogates as three bytes, values beyond
// 10FFFF as U+FFFD; the echo ends at the first U+0000, where the C string does.
std::string referenceEcho(const std::vector<KS_CHAR>& chars)
{
    std::string out;
    for (KS_CHAR c : chars) {
        if (c == 0) {
            break;
        }
        c = c > 0x10FFFF ? 0xFFFD : c;
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += {static_cast<char>(0xC0 | c >> 6), static_cast<char>(0x80 | (c & 0x3F))};
        } else if (c < 0x10000) {
            out += {static_cast<char>(0xE0 | c >> 12), static_cast<char>(0x80 | (c >> 6 & 0x3F)),
                    static_cast<char>(0x80 | (c & 0x3F))};
        } else {
            out += {static_cast<char>(0xF0 | c >> 18), static_cast<char>(0x80 | (c >> 12 & 0x3F)),
                    static_cast<char>(0x80 | (c >> 6 & 0x3F)), static_cast<char>(0x80 | (c & 0x3F))};
        }
    }
    return out + '\n';
}

// One call site per sequence of argument types: the arguments of `args` are passed with
// their own types, as a caller's compiler would pass them.
template <class... Values>
void formatCall(lgStream* stream, const char* format, KS_INT length, const Arg* args, std::size_t count,
                Values... values)
{
    if constexpr (sizeof...(Values) < kMaxDirectives) {
        if (count > 0) {
            switch (args->kind) {
            case Kind::Text:
                return formatCall(stream, format, length, args + 1, count - 1, values..., args->text);
            case Kind::String:
                return formatCall(stream, format, length, args + 1, count - 1, values...,
                                  static_cast<const ksString*>(args->string));
            case Kind::Int:
                return formatCall(stream, format, length, args + 1, count - 1, values..., args->number);
            }
        }
    }
    lgStreamTextFormatCstr(stream, format, length, values...);
}

} // namespace

// Input: a flags byte (bit 0: pass the length as -1, bit 1: echo to a FILE, bit 2: an empty
// format as NULL), the format up to the first FF byte (a byte no UTF-8 form has), then the
// arguments' data, read as the directives ask: %lc a length byte (FF: NULL) and that many
// bytes; %s a length byte (FF: NULL) and three bytes per code point; %i eight bytes.
void checkLgFormat(const std::uint8_t* data, std::size_t size)
{
    const std::uint8_t flags = size > 0 ? data[0] : 0;
    const std::uint8_t* begin = data + (size > 0 ? 1 : 0);
    const std::uint8_t* end = data + size;
    const auto* separator =
        begin < end ? static_cast<const std::uint8_t*>(std::memchr(begin, 0xFF, end - begin)) : nullptr;
    const std::uint8_t* formatEnd = separator != nullptr ? separator : end;
    std::string format(reinterpret_cast<const char*>(begin), formatEnd - begin);
    Reader in(formatEnd + (separator != nullptr ? 1 : 0), separator != nullptr ? end - separator - 1 : 0);

    std::size_t cut = 0;
    const std::vector<Piece> pieces = scan(format, cut);
    format.resize(cut);
    const bool toNul = (flags & 1) != 0;
    const std::size_t used = toNul ? std::strlen(format.c_str()) : cut;

    const Counts counts;
    std::vector<Arg> args;
    std::vector<std::string> texts;
    texts.reserve(kMaxDirectives);
    std::vector<KS_CHAR> expected;
    for (const Piece& piece : pieces) {
        if (piece.begin >= used) {
            break;
        }
        if (!piece.directive) {
            referenceUtf8(expected, reinterpret_cast<const unsigned char*>(format.data()) + piece.begin,
                          std::min(piece.end, used) - piece.begin);
            continue;
        }
        Arg& arg = args.emplace_back();
        arg.kind = piece.kind;
        if (piece.kind == Kind::Int) {
            arg.number = static_cast<KS_INT>(in.bytes(8));
            const std::string digits = std::to_string(arg.number);
            expected.insert(expected.end(), digits.begin(), digits.end());
            continue;
        }
        const unsigned length = in.byte();
        if (length == 0xFF) {
            expected.insert(expected.end(), std::begin(kNullText), std::end(kNullText) - 1);
            continue;
        }
        if (piece.kind == Kind::Text) {
            std::string& text = texts.emplace_back();
            for (unsigned i = 0; i < length; ++i) {
                text += static_cast<char>(in.byte());
            }
            arg.text = text.c_str();
            referenceUtf8(expected, arg.text);
        } else {
            for (unsigned i = 0; i < length; ++i) {
                arg.chars.push_back(static_cast<KS_CHAR>(in.bytes(3)));
            }
            arg.string = ksStringCreateFromChars(arg.chars.data(), static_cast<KS_INT>(arg.chars.size()));
            expected.insert(expected.end(), arg.chars.begin(), arg.chars.end());
        }
    }

    char* echoText = nullptr;
    std::size_t echoSize = 0;
    FILE* echo = (flags & 2) != 0 ? open_memstream(&echoText, &echoSize) : nullptr;
    lgStream* stream = lgStreamCreate(echo);
    // An empty format may come as NULL with length 0 (bit 2).
    const char* text = (flags & 4) != 0 && cut == 0 && !toNul ? nullptr : format.c_str();
    formatCall(stream, text, toNul ? -1 : static_cast<KS_INT>(cut), args.data(), args.size());

    FUZZ_EXPECT(lgStreamLineCount(stream) == 1, "%lld lines", static_cast<long long>(lgStreamLineCount(stream)));
    ksString* line = lgStreamLineAt(stream, 0);
    const KS_INT length = ksStringLength(line);
    FUZZ_EXPECT(length == static_cast<KS_INT>(expected.size()), "%lld code points, %zu expected",
                static_cast<long long>(length), expected.size());
    const KS_CHAR* chars = ksStringBacking(line);
    for (std::size_t i = 0; i < expected.size(); ++i) {
        FUZZ_EXPECT(chars[i] == expected[i], "code point %zu is %#x, %#x expected", i, chars[i], expected[i]);
    }
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
