#include "Tools/rsop_store/wmi_time_fields.h"

#include "Tools/rsop_store/wmi_time.h"

#include <algorithm>

namespace {

using kx::WmiTimePart;

constexpr std::size_t c_signAt = 21;
constexpr std::wstring_view c_firstDate = L"00000101";
constexpr std::wstring_view c_noDays = L"00000000";
constexpr std::wstring_view c_utc = L"+000";
constexpr std::wstring_view c_intervalEnd = L":000";

/// Where a part's digits stand, and its bounds. The offset's sign stands before it.
struct Place {
    std::size_t start;
    std::size_t length;
    std::int32_t lowest;
    std::int32_t highest;
};

constexpr Place c_places[] = {{0, 4, 0, 9999}, {4, 2, 1, 12},  {6, 2, 1, 31},       {8, 2, 0, 23},
                              {10, 2, 0, 59},  {12, 2, 0, 59}, {15, 6, 0, 999'999}, {22, 3, -999, 999}};
constexpr Place c_intervalDays = {0, 8, 0, 99'999'999};

/// Null when an interval has no such part.
const Place* PlaceOf(WmiTimePart part, bool isInterval) noexcept
{
    if (isInterval && part == WmiTimePart::Day)
        return &c_intervalDays;
    if (isInterval &&
        (part == WmiTimePart::Year || part == WmiTimePart::Month || part == WmiTimePart::Offset))
        return nullptr;
    return &c_places[static_cast<std::size_t>(part)];
}

} // namespace

namespace kx {

bool WmiTimeFields::Assign(std::wstring_view text)
{
    if (!IsWmiDateTime(text))
        return false;
    _Write(0, text);
    return true;
}

bool WmiTimeFields::IsInterval() const noexcept
{
    return _m_text[c_signAt] == L':';
}

void WmiTimeFields::MakeInterval(bool isInterval) noexcept
{
    if (isInterval == IsInterval())
        return;
    _Write(0, isInterval ? c_noDays : c_firstDate);
    _Write(c_signAt, isInterval ? c_intervalEnd : c_utc);
}

std::int32_t WmiTimeFields::Get(WmiTimePart part) const noexcept
{
    if (!IsKnown(part))
        return 0;
    const Place& place = *PlaceOf(part, IsInterval());
    std::int32_t value = 0;
    for (const wchar_t digit : Text().substr(place.start, place.length))
        value = value * 10 + static_cast<std::int32_t>(digit - L'0');
    return part == WmiTimePart::Offset && _m_text[c_signAt] == L'-' ? -value : value;
}

bool WmiTimeFields::Set(WmiTimePart part, std::int32_t value) noexcept
{
    const Place* const place = PlaceOf(part, IsInterval());
    if (place == nullptr || value < place->lowest || value > place->highest)
        return false;
    if (part == WmiTimePart::Offset)
        _m_text[c_signAt] = value < 0 ? L'-' : L'+';
    std::int32_t rest = value < 0 ? -value : value;
    for (std::size_t i = place->start + place->length; i-- > place->start; rest /= 10)
        _m_text[i] = static_cast<wchar_t>(L'0' + rest % 10);
    return true;
}

bool WmiTimeFields::IsKnown(WmiTimePart part) const noexcept
{
    const Place* const place = PlaceOf(part, IsInterval());
    return place != nullptr && _m_text[place->start] != L'*';
}

bool WmiTimeFields::SetKnown(WmiTimePart part, bool isKnown) noexcept
{
    const Place* const place = PlaceOf(part, IsInterval());
    if (place == nullptr)
        return false;
    if (isKnown)
        return IsKnown(part) || Set(part, (std::max)(place->lowest, 0));
    std::fill_n(_m_text + place->start, place->length, L'*');
    return true;
}

void WmiTimeFields::_Write(std::size_t start, std::wstring_view text) noexcept
{
    std::copy(text.begin(), text.end(), _m_text + start);
}

} // namespace kx
