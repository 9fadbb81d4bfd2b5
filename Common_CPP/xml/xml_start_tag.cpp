#include "Common_CPP/xml/xml_start_tag.h"

#include "Common_CPP/xml/xml_scan.h"

#include <algorithm>
#include <cstdint>

namespace kx {

namespace {

template <class Char>
void SkipSpaces(std::basic_string_view<Char>& text)
{
    text.remove_prefix(
        static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), IsXmlSpace) - text.begin()));
}

// Takes what stands before the first `mark`, and the mark. False where there is none.
template <class Char>
bool TakeThrough(std::basic_string_view<Char>& text, char mark, std::basic_string_view<Char>& taken)
{
    const std::size_t size = text.find(static_cast<Char>(mark));
    if (size == text.npos)
        return false;
    taken = text.substr(0, size);
    text.remove_prefix(size + 1);
    return true;
}

template <class Char>
void Append(std::basic_string<Char>& text, std::uint32_t code)
{
    if (code < 0x10000) {
        text += static_cast<Char>(code);
        return;
    }
    text += static_cast<Char>(0xD800 + ((code - 0x10000) >> 10));
    text += static_cast<Char>(0xDC00 + ((code - 0x10000) & 0x3FF));
}

template <class Char>
bool Resolve(std::basic_string_view<Char> raw, std::basic_string<Char>& value)
{
    value.clear();
    std::basic_string_view<Char> plain;
    while (TakeThrough(raw, '&', plain)) {
        value += plain;
        std::basic_string_view<Char> reference;
        const std::uint32_t code = TakeThrough(raw, ';', reference) ? ReferencedCharacter(reference) : 0;
        if (code == 0)
            return false;
        Append(value, code);
    }
    value += raw;
    return true;
}

// The attribute's name, from what stands before its "=". Empty where the tag has ended by then.
template <class Char>
std::basic_string_view<Char> AttributeName(std::basic_string_view<Char> text)
{
    const auto isNoName = [](Char character) { return character == '>' || character == '/'; };
    if (std::any_of(text.begin(), text.end(), isNoName))
        return {};
    const auto end = std::find_if(text.begin(), text.end(), IsXmlSpace);
    return text.substr(0, static_cast<std::size_t>(end - text.begin()));
}

} // namespace

template <class Char>
bool ReadStartTagAttribute(std::basic_string_view<Char> xml, std::basic_string_view<Char> name,
                           std::basic_string<Char>& value)
{
    if (xml.empty() || xml.front() != '<')
        return false;
    const auto isEnd = [](Char character) { return IsXmlSpace(character) || character == '>'; };
    xml.remove_prefix(static_cast<std::size_t>(std::find_if(xml.begin(), xml.end(), isEnd) - xml.begin()));
    for (;;) {
        SkipSpaces(xml);
        std::basic_string_view<Char> before;
        if (!TakeThrough(xml, '=', before))
            return false;
        const std::basic_string_view<Char> found = AttributeName(before);
        SkipSpaces(xml);
        if (found.empty() || xml.empty() || (xml.front() != '"' && xml.front() != '\''))
            return false;
        const char quote = xml.front() == '"' ? '"' : '\'';
        xml.remove_prefix(1);
        std::basic_string_view<Char> raw;
        if (!TakeThrough(xml, quote, raw))
            return false;
        if (found == name)
            return Resolve(raw, value);
    }
}

template bool ReadStartTagAttribute(std::u16string_view, std::u16string_view, std::u16string&);
template bool ReadStartTagAttribute(std::wstring_view, std::wstring_view, std::wstring&);

} // namespace kx
