// The string formatter shared with the trace library. It knows exactly four
// directives: "%lc" (a NUL-terminated UTF-8 C string), "%s" (a borrowed ksString),
// "%i" (a KS_INT) and "%%"; any other '%' is ordinary text, so a format that came
// from elsewhere can never read an argument that was not passed for it.
#include "ks_internal.hpp"

#include <cstdarg>
#include <cstring>

namespace ks::detail
{
namespace
{

constexpr const char* kFormatPath = "source/ks/ks_format";

constexpr Check kFormatLength{kFormatPath, 30, "formatLength >= -1"};
constexpr Check kFormat{kFormatPath, 31, "format != NULL || formatLength == 0"};

constexpr char kNullText[] = "(null)";

// Scans `format` (`length` bytes) and appends the formatted text; the text between
// directives is UTF-8.
void formatInto(CharBuilder& out, const char* format, KS_INT length, va_list args)
{
    KS_INT literalStart = 0;
    KS_INT i = 0;
    while (i < length) {
        if (format[i] != '%') {
            ++i;
            continue;
        }
        KS_INT rest = length - i;
        KS_INT consumed = 0;
        if (rest >= 2 && format[i + 1] == '%') {
            out.appendUtf8(format + literalStart, i - literalStart);
            out.push('%');
            consumed = 2;
        } else if (rest >= 3 && format[i + 1] == 'l' && format[i + 2] == 'c') {
            out.appendUtf8(format + literalStart, i - literalStart);
            const char* text = va_arg(args, const char*);
            if (text == nullptr) {
                text = kNullText;
            }
            out.appendUtf8(text, static_cast<KS_INT>(std::strlen(text)));
            consumed = 3;
        } else if (rest >= 2 && format[i + 1] == 's') {
            out.appendUtf8(format + literalStart, i - literalStart);
            const ksString* string = va_arg(args, const ksString*);
            if (string == nullptr) {
                out.appendUtf8(kNullText, sizeof kNullText - 1);
            } else {
                out.append(string->chars, string->length);
            }
            consumed = 2;
        } else if (rest >= 2 && format[i + 1] == 'i') {
            out.appendUtf8(format + literalStart, i - literalStart);
            out.appendDecimal(va_arg(args, KS_INT));
            consumed = 2;
        }
        if (consumed == 0) {
            // Not a directive: the '%' stays part of the literal text.
            ++i;
        } else {
            i += consumed;
            literalStart = i;
        }
    }
    out.appendUtf8(format + literalStart, length - literalStart);
}

} // namespace
} // namespace ks::detail

using namespace ks::detail;

extern "C" {

ksString* ksStringCreateFromFormatCstrArgList(const char* format, KS_INT formatLength, va_list args)
{
    if (formatLength < -1) {
        failCondition(kFormatLength);
    }
    if (format == nullptr && formatLength != 0) {
        failCondition(kFormat);
    }
    KS_INT length = formatLength == -1 ? static_cast<KS_INT>(std::strlen(format)) : formatLength;
    CharBuilder builder;
    formatInto(builder, format != nullptr ? format : "", length, args);
    KS_INT count = builder.length();
    KS_INT capacity = builder.capacity();
    return stringAdopt(builder.release(), count, capacity);
}

ksString* ksStringCreateFromFormatCstr(const char* format, KS_INT formatLength, ...)
{
    va_list args;
    va_start(args, formatLength);
    ksString* string;
    try {
        string = ksStringCreateFromFormatCstrArgList(format, formatLength, args);
    } catch (...) {
        va_end(args);
        throw;
    }
    va_end(args);
    return string;
}

} // extern "C"
