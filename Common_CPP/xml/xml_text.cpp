#include "Common_CPP/xml/xml_text.h"

namespace kx {

bool IsXmlCharacter(std::uint32_t code) noexcept
{
    return code == 0x9 || code == 0xA || code == 0xD || (code >= 0x20 && code <= 0xD7FF) ||
           (code >= 0xE000 && code <= 0xFFFD) || (code >= 0x10000 && code <= 0x10FFFF);
}

namespace {

bool IsHigh(unsigned unit) noexcept
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool IsLow(unsigned unit) noexcept
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

// How many code units from `at` on make one allowed character: 1, 2, or 0 when what stands there is not.
template <class Char>
std::size_t CharacterSize(std::basic_string_view<Char> text, std::size_t at) noexcept
{
    const auto unit = static_cast<unsigned>(text[at]);
    if (IsHigh(unit) && at + 1 < text.size() && IsLow(static_cast<unsigned>(text[at + 1])))
        return 2;
    return IsXmlCharacter(unit) ? 1 : 0;
}

template <class Char>
std::size_t FindInvalidFrom(std::basic_string_view<Char> text, std::size_t at) noexcept
{
    while (at < text.size()) {
        const auto unit = static_cast<unsigned>(text[at]);
        if (unit >= 0x20 && unit < 0xD800) { // nearly always
            ++at;
            continue;
        }
        const std::size_t size = CharacterSize(text, at);
        if (size == 0)
            return at;
        at += size;
    }
    return std::basic_string_view<Char>::npos;
}

// The opening and the closing tag of the elements that `tag` names.
template <class Char>
struct Tags {
    std::basic_string<Char> opening;
    std::basic_string<Char> closing;
};

// "a>>" becomes "a>": a name given with its ">" has just got a second one.
template <class Char>
std::basic_string<Char> WithSingleEnds(const std::basic_string<Char>& tag)
{
    std::basic_string<Char> single;
    for (std::size_t at = 0; at < tag.size(); ++at) {
        single += tag[at];
        if (tag[at] == Char{'>'} && at + 1 < tag.size() && tag[at + 1] == Char{'>'})
            ++at;
    }
    return single;
}

template <class Char>
Tags<Char> TagsOf(std::basic_string_view<Char> tag)
{
    const bool isTag = tag.front() == Char{'<'};
    const std::basic_string<Char> name(isTag ? tag.substr(1) : tag);
    const bool ends = isTag && tag.back() == Char{'>'};
    const std::basic_string<Char> end = ends ? std::basic_string<Char>() : std::basic_string<Char>{Char{'>'}};
    return {WithSingleEnds(std::basic_string<Char>{Char{'<'}} + name + end),
            WithSingleEnds(std::basic_string<Char>{Char{'<'}, Char{'/'}} + name + end)};
}

} // namespace

template <class Char>
std::size_t FindInvalidXml(std::basic_string_view<Char> text) noexcept
{
    return FindInvalidFrom(text, 0);
}

template <class Char>
void ReplaceInvalidXml(Char* text, std::size_t size) noexcept
{
    const std::basic_string_view<Char> view(text, size);
    for (std::size_t at = FindInvalidFrom(view, 0); at < size; at = FindInvalidFrom(view, at + 1))
        text[at] = static_cast<Char>(0xFFFD);
}

template <class Char>
void ReplaceInvalidCharacters(Char* text, std::size_t size, Char replacement) noexcept
{
    for (std::size_t at = 0; at < size && text[at] != Char{}; ++at)
        if (!IsXmlCharacter(static_cast<unsigned>(text[at])))
            text[at] = replacement;
}

template <class Char>
ObfuscatedTags ObfuscateTagText(std::basic_string_view<Char> text, std::basic_string_view<Char> tag,
                                std::basic_string<Char>& masked)
{
    constexpr auto npos = std::basic_string_view<Char>::npos;
    ObfuscatedTags done;
    if (tag.empty())
        return done;
    const Tags<Char> tags = TagsOf(tag);
    std::basic_string<Char> result;
    std::size_t copied = 0;
    for (std::size_t at = text.find(tags.opening); at != npos; at = text.find(tags.opening, at)) {
        const std::size_t begin = at + tags.opening.size();
        const std::size_t end = text.find(tags.closing, begin);
        done.unclosed = end == npos;
        if (done.unclosed)
            break;
        result.append(text.substr(copied, begin - copied)).append(3, Char{'.'});
        copied = end;
        at = end + tags.closing.size();
        ++done.count;
    }
    if (done.count > 0)
        masked = result.append(text.substr(copied));
    return done;
}

template std::size_t FindInvalidXml(std::basic_string_view<wchar_t>) noexcept;
template std::size_t FindInvalidXml(std::basic_string_view<char16_t>) noexcept;
template void ReplaceInvalidXml(wchar_t*, std::size_t) noexcept;
template void ReplaceInvalidXml(char16_t*, std::size_t) noexcept;
template void ReplaceInvalidCharacters(wchar_t*, std::size_t, wchar_t) noexcept;
template void ReplaceInvalidCharacters(char16_t*, std::size_t, char16_t) noexcept;
template ObfuscatedTags ObfuscateTagText(std::wstring_view, std::wstring_view, std::wstring&);
template ObfuscatedTags ObfuscateTagText(std::u16string_view, std::u16string_view, std::u16string&);

} // namespace kx
