// libFuzzer target: pure functions on XML text against versions that go by the words of their contracts. The
// first byte is the replacement and how long the tag is, the rest UTF-16 units: the tag, then the text.
//
//   xml_text_fuzz -max_len=1024
#include "Common_CPP/xml/xml_query.h"
#include "Common_CPP/xml/xml_text.h"
#include "Tests/fuzz/fuzz_input.h"

namespace {

using fuzz::Require;

bool IsKept(char16_t unit)
{
    return unit == 9 || unit == 10 || unit == 13 || (unit >= 0x20 && unit <= 0xD7FF) ||
           (unit >= 0xE000 && unit <= 0xFFFD);
}

std::u16string NaiveInvalidCharacters(std::u16string text, char16_t replacement)
{
    bool ended = false;
    for (char16_t& unit : text) {
        ended = ended || unit == 0;
        if (!ended && !IsKept(unit))
            unit = replacement;
    }
    return text;
}

std::u16string NaiveInvalidXml(const std::u16string& text)
{
    std::u16string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isPair = i + 1 < text.size() && text[i] >= 0xD800 && text[i] < 0xDC00 &&
                            text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000;
        if (isPair)
            result += text[i++];
        result += isPair || IsKept(text[i]) ? text[i] : u'\xFFFD';
    }
    return result;
}

std::u16string ReplacedAll(std::u16string text, std::u16string_view from, std::u16string_view to)
{
    for (std::size_t at = text.find(from); at != std::u16string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

// In place, one element after the other.
int NaiveObfuscate(std::u16string& text, const std::u16string& tag, bool& unclosed)
{
    if (tag.empty())
        return 0;
    std::u16string opening = tag[0] == u'<' ? tag : u"<" + tag;
    std::u16string closing = u"</" + opening.substr(1);
    if (tag[0] != u'<' || tag.back() != u'>') {
        opening += u'>';
        closing += u'>';
    }
    opening = ReplacedAll(opening, u">>", u">");
    closing = ReplacedAll(closing, u">>", u">");
    int count = 0;
    std::size_t position = 0;
    for (;;) {
        const std::size_t open = text.find(opening, position);
        if (open == std::u16string::npos)
            return count;
        const std::size_t begin = open + opening.size();
        const std::size_t close = text.find(closing, begin);
        if (close == std::u16string::npos) {
            unclosed = true;
            return count;
        }
        text.replace(begin, close - begin, u"...");
        position = begin + 3 + closing.size();
        ++count;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::size_t tagLength = data[0] % 8;
    const auto replacement = static_cast<char16_t>(data[0] / 8);
    const std::u16string units = fuzz::TextOf<char16_t>(data + 1, size - 1);
    const std::u16string tag = units.substr(0, tagLength);
    const std::u16string text = units.substr(tag.size());

    std::u16string ours = text;
    kx::ReplaceInvalidCharacters(ours.data(), ours.size(), replacement);
    Require(ours == NaiveInvalidCharacters(text, replacement), "ReplaceInvalidCharacters");

    ours = text;
    kx::ReplaceInvalidXml(ours.data(), ours.size());
    Require(ours == NaiveInvalidXml(text), "ReplaceInvalidXml");
    const std::size_t invalid = kx::FindInvalidXml(std::u16string_view(text));
    Require((invalid == std::u16string::npos) == (ours == text) || text.find(u'\xFFFD') != text.npos,
            "FindInvalidXml");
    Require(kx::FindInvalidXml(std::u16string_view(ours)) == std::u16string_view::npos,
            "a second pass finds more");

    std::u16string naive = text;
    bool unclosed = false;
    const int count = NaiveObfuscate(naive, tag, unclosed);
    std::u16string masked = text;
    const kx::ObfuscatedTags done =
        kx::ObfuscateTagText(std::u16string_view(text), std::u16string_view(tag), masked);
    Require(done.count == count && done.unclosed == unclosed && masked == naive, "ObfuscateTagText");

    (void)kx::IsSafeQuery(std::u16string_view(text)); // any text ends in an answer
    return 0;
}
