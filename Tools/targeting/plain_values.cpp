#include "Tools/targeting/plain_values.h"

#include <array>

namespace kx {

namespace {

using std::optional;
using std::size_t;
using std::uint64_t;
using std::wstring_view;

// Cuts the text at every separator. nullopt where that does not make exactly `count` parts.
template <size_t count>
optional<std::array<wstring_view, count>> Split(wstring_view text, wchar_t separator)
{
    std::array<wstring_view, count> parts;
    for (size_t i = 0; i + 1 < count; ++i) {
        const size_t end = text.find(separator);
        if (end == wstring_view::npos)
            return std::nullopt;
        parts[i] = text.substr(0, end);
        text.remove_prefix(end + 1);
    }
    if (text.find(separator) != wstring_view::npos)
        return std::nullopt;
    parts.back() = text;
    return parts;
}

optional<unsigned> HexDigit(wchar_t digit)
{
    if (digit >= L'0' && digit <= L'9')
        return static_cast<unsigned>(digit - L'0');
    if (digit >= L'a' && digit <= L'f')
        return static_cast<unsigned>(digit - L'a') + 10;
    if (digit >= L'A' && digit <= L'F')
        return static_cast<unsigned>(digit - L'A') + 10;
    return std::nullopt;
}

optional<std::chrono::year_month_day> ParseDate(wstring_view text)
{
    const auto parts = Split<3>(text, L'-');
    if (!parts)
        return std::nullopt;
    const auto year = ParseNumber((*parts)[0], 9999);
    const auto month = ParseNumber((*parts)[1], 12);
    const auto day = ParseNumber((*parts)[2], 31);
    if (!year || !month || !day)
        return std::nullopt;
    const std::chrono::year_month_day date{std::chrono::year(static_cast<int>(*year)),
                                           std::chrono::month(static_cast<unsigned>(*month)),
                                           std::chrono::day(static_cast<unsigned>(*day))};
    return date.ok() ? optional(date) : std::nullopt;
}

} // namespace

optional<uint64_t> ParseNumber(wstring_view text, uint64_t most)
{
    if (text.empty())
        return std::nullopt;
    uint64_t value = 0;
    for (const wchar_t character : text) {
        if (character < L'0' || character > L'9')
            return std::nullopt;
        const auto digit = static_cast<uint64_t>(character - L'0');
        if (digit > most || value > (most - digit) / 10)
            return std::nullopt;
        value = value * 10 + digit;
    }
    return value;
}

optional<bool> ParseSwitch(wstring_view text)
{
    constexpr Word<bool> words[] = {{L"0", false}, {L"1", true}};
    return ParseWord(words, text);
}

bool IsSid(wstring_view text)
{
    constexpr wstring_view start = L"S-1-";
    return text.starts_with(start) && text.size() > start.size() &&
           text.find_first_not_of(L"0123456789-", start.size()) == wstring_view::npos;
}

optional<uint64_t> ParseIpv4(wstring_view text)
{
    const auto parts = Split<4>(text, L'.');
    if (!parts)
        return std::nullopt;
    uint64_t address = 0;
    for (const wstring_view part : *parts) {
        const auto number = ParseNumber(part, 255);
        if (!number || part.size() > 3)
            return std::nullopt;
        address = address << 8 | *number;
    }
    return address;
}

optional<uint64_t> ParseMac(wstring_view text)
{
    const auto parts = Split<6>(text, text.find(L':') == wstring_view::npos ? L'-' : L':');
    if (!parts)
        return std::nullopt;
    uint64_t address = 0;
    for (const wstring_view part : *parts) {
        const auto high = part.size() == 2 ? HexDigit(part[0]) : std::nullopt;
        const auto low = part.size() == 2 ? HexDigit(part[1]) : std::nullopt;
        if (!high || !low)
            return std::nullopt;
        address = address << 8 | *high << 4 | *low;
    }
    return address;
}

optional<unsigned> ParseTime(wstring_view text)
{
    const std::wstring whole = std::wstring(text) + (text.size() == 5 ? L":00" : L"");
    const auto parts = Split<3>(whole, L':');
    if (!parts || whole.size() != 8)
        return std::nullopt;
    const auto hour = ParseNumber((*parts)[0], 23);
    const auto minute = ParseNumber((*parts)[1], 59);
    const auto second = ParseNumber((*parts)[2], 59);
    if (!hour || !minute || !second)
        return std::nullopt;
    return static_cast<unsigned>((*hour * 60 + *minute) * 60 + *second);
}

optional<LocalMoment> ParseMoment(wstring_view text)
{
    const auto parts = Split<2>(text, L'T');
    const auto date = parts ? ParseDate((*parts)[0]) : std::nullopt;
    const auto time = parts ? ParseTime((*parts)[1]) : std::nullopt;
    if (!date || !time)
        return std::nullopt;
    return LocalMoment{*date, *time};
}

} // namespace kx
