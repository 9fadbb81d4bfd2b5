// libFuzzer target: attributes read from a start tag's text. A tag that is written from names and values
// gives each value back; any text ends in an answer that no content after the tag changes. Lines of the input
// are values, and the whole of it is a text.
//
//   xml_start_tag_fuzz -max_len=256 -dict=xml_start_tag.dict
#include "Common_CPP/xml/xml_start_tag.h"
#include "Common_CPP/xml/xml_text.h"
#include "Tests/fuzz/fuzz_input.h"

#include <optional>
#include <string>
#include <vector>

namespace {

using fuzz::Require;

template <class Char>
std::optional<std::basic_string<Char>> Read(const std::basic_string<Char>& xml,
                                            const std::basic_string<Char>& name)
{
    std::basic_string<Char> value;
    if (kx::ReadStartTagAttribute(std::basic_string_view<Char>(xml), std::basic_string_view<Char>(name),
                                  value))
        return value;
    return std::nullopt;
}

// The character as it may stand in a value, in one of the ways to write it.
std::u16string Written(char16_t unit, char16_t quote, unsigned way)
{
    const std::string number = std::to_string(static_cast<unsigned>(unit));
    if (unit == u'&')
        return way % 2 == 0 ? u"&amp;" : u"&#x26;";
    if (unit == u'<')
        return way % 2 == 0 ? u"&lt;" : u"&#60;";
    if (unit == quote)
        return quote == u'"' ? u"&quot;" : u"&apos;";
    if (way % 4 == 3 && kx::IsXmlCharacter(unit))
        return u"&#" + std::u16string(number.begin(), number.end()) + u";";
    return std::u16string(1, unit);
}

void CheckWrittenTag(const std::vector<std::u16string>& values, unsigned way)
{
    const char16_t quote = way % 2 == 0 ? u'"' : u'\'';
    std::u16string tag = u"<Policy";
    for (std::size_t i = 0; i < values.size(); ++i) {
        tag += way % 3 == 0 ? u"\r\n\t" : u" ";
        tag += u'a';
        tag += static_cast<char16_t>(u'0' + i);
        tag += way % 5 == 0 ? u" = " : u"=";
        tag += quote;
        for (const char16_t unit : values[i])
            tag += Written(unit, quote, way + unit);
        tag += quote;
    }
    tag += way % 7 == 0 ? u"/>" : u">";
    const std::u16string content = u"<a0 a9=\"1\" a0='2'/>a0=\"3\"</Policy>";
    for (std::size_t i = 0; i < values.size(); ++i) {
        const std::u16string name{u'a', static_cast<char16_t>(u'0' + i)};
        Require(Read(tag + content, name) == values[i], "another value than the one written");
    }
    Require(!Read(tag + content, std::u16string(u"a9")), "an attribute of the content");
    Require(!Read(tag + content, std::u16string(u"a")), "part of a name");
}

void CheckAnyText(const std::u16string& xml)
{
    const std::u16string name = u"b";
    const auto value = Read(xml, name);
    const auto wide = Read(std::wstring(xml.begin(), xml.end()), std::wstring(L"b"));
    Require(value.has_value() == wide.has_value() &&
                (!value || std::u16string(wide->begin(), wide->end()) == *value),
            "character types differ");
    if (!value)
        return;
    Require(xml.front() == u'<' && value->size() < xml.size(), "more than the text holds");
    Require(Read(xml + u"\"' b=\"2\">", name) == value, "what follows changes the value");
    // References bring no character into a text of XML that XML does not have.
    Require(kx::FindInvalidXml(std::u16string_view(xml)) != std::u16string_view::npos ||
                kx::FindInvalidXml(std::u16string_view(*value)) == std::u16string_view::npos,
            "a reference to what is no character");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::u16string text = fuzz::TextOf<char16_t>(data, size);
    CheckAnyText(text);
    CheckAnyText(u"<P b=\"" + text);
    fuzz::Input input(data, size);
    const unsigned way = input.Byte();
    std::vector<std::u16string> values;
    while (!input.IsEmpty() && values.size() < 9) {
        std::u16string value = input.Line<char16_t>();
        std::erase(value, u'\0');
        values.push_back(value);
    }
    CheckWrittenTag(values, way);
    return 0;
}
