// The recording trace stream and the ks string helpers.
#include "support/ven_test.hpp"

namespace ven::test
{

Trace::Trace() : stream_(lgStreamCreate(nullptr)) {}

Trace::~Trace()
{
    lgStreamDestroy(stream_);
}

std::vector<std::string> Trace::lines() const
{
    std::vector<std::string> result;
    KS_INT count = lgStreamLineCount(stream_);
    for (KS_INT index = 0; index < count; ++index) {
        KsRef<ksString> line(lgStreamLineAt(stream_, index));
        result.push_back(utf8(line.get()));
    }
    return result;
}

bool Trace::notable() const
{
    return lgStreamNotable(stream_) != KS_FALSE;
}

void Trace::reset()
{
    lgStreamReset(stream_);
}

KsRef<ksString> ksStr(std::string_view text)
{
    std::u32string points = decodeUtf8(text);
    static_assert(sizeof(char32_t) == sizeof(KS_CHAR));
    return KsRef<ksString>(ksStringCreateFromChars(reinterpret_cast<const KS_CHAR*>(points.data()),
                                                   static_cast<KS_INT>(points.size())));
}

std::string utf8(const ksString* string)
{
    if (string == nullptr) {
        return "<NULL ksString>";
    }
    char* text = ksStringToUtf8Cstr(string);
    std::string result = text;
    ksMemFree(text);
    return result;
}

std::u32string codePoints(const ksString* string)
{
    if (string == nullptr) {
        return {};
    }
    const KS_CHAR* chars = ksStringBacking(string);
    return std::u32string(chars, chars + ksStringLength(string));
}

} // namespace ven::test
