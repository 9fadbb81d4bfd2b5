#include "Tools/rsop_store/wmi_time.h"

#include <algorithm>
#include <chrono>
#include <optional>

namespace {

using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
using std::chrono::days;
using std::chrono::sys_days;

constexpr std::size_t c_length = 25;
constexpr int c_mostOffset = 999;
// A leap year with a long month, so that an unknown field excludes nothing that could be.
constexpr int c_anyYear = 2000;
constexpr unsigned c_anyMonth = 1;
constexpr unsigned c_anyDay = 1;

constexpr sys_days c_firstDay = std::chrono::year(1601) / 1 / 1;
constexpr sys_days c_endDay = std::chrono::year(10000) / 1 / 1;
constexpr Ticks c_end = c_endDay - c_firstDay;

/// A field's value, nullopt where it is unknown.
using Field = std::optional<int>;

/// Reads digits or asterisks alone. False for anything else.
bool ReadField(std::wstring_view text, std::size_t start, std::size_t length, Field& field)
{
    const std::wstring_view part = text.substr(start, length);
    if (part.find_first_not_of(L'*') == std::wstring_view::npos) {
        field.reset();
        return true;
    }
    int value = 0;
    for (const wchar_t character : part) {
        if (character < L'0' || character > L'9')
            return false;
        value = value * 10 + (character - L'0');
    }
    field = value;
    return true;
}

/// The time of day, which points in time and intervals share.
struct TimeOfDay {
    Field hours;
    Field minutes;
    Field seconds;
    Field microseconds;

    [[nodiscard]] bool IsComplete() const { return hours && minutes && seconds && microseconds; }

    /// REQUIRES: IsComplete().
    [[nodiscard]] Ticks Value() const
    {
        return std::chrono::hours(*hours) + std::chrono::minutes(*minutes) + std::chrono::seconds(*seconds) +
               std::chrono::microseconds(*microseconds);
    }
};

bool ReadTimeOfDay(std::wstring_view text, TimeOfDay& time)
{
    return ReadField(text, 8, 2, time.hours) && time.hours.value_or(0) < 24 &&
           ReadField(text, 10, 2, time.minutes) && time.minutes.value_or(0) < 60 &&
           ReadField(text, 12, 2, time.seconds) && time.seconds.value_or(0) < 60 && text[14] == L'.' &&
           ReadField(text, 15, 6, time.microseconds);
}

struct PointInTime {
    Field year;
    Field month;
    Field day;
    TimeOfDay time;
    Field offset; ///< minutes, with its sign

    [[nodiscard]] bool IsComplete() const { return year && month && day && time.IsComplete() && offset; }

    [[nodiscard]] std::chrono::year_month_day Date() const
    {
        return std::chrono::year(year.value_or(c_anyYear)) /
               std::chrono::month(static_cast<unsigned>(month.value_or(c_anyMonth))) /
               std::chrono::day(static_cast<unsigned>(day.value_or(c_anyDay)));
    }
};

/// REQUIRES: the text has its length.
bool ReadPointInTime(std::wstring_view text, PointInTime& point)
{
    PointInTime read;
    if (!ReadField(text, 0, 4, read.year) || !ReadField(text, 4, 2, read.month) ||
        !ReadField(text, 6, 2, read.day) || !ReadTimeOfDay(text, read.time) || !read.Date().ok() ||
        (text[21] != L'+' && text[21] != L'-') || !ReadField(text, 22, 3, read.offset))
        return false;
    if (read.offset && text[21] == L'-')
        read.offset = -*read.offset;
    point = read;
    return true;
}

/// REQUIRES: the text has its length.
bool IsInterval(std::wstring_view text)
{
    Field dayCount;
    TimeOfDay time;
    return ReadField(text, 0, 8, dayCount) && ReadTimeOfDay(text, time) && text.substr(21) == L":000";
}

/// Appends `value`, not negative, with leading zeros up to `length` digits.
void AppendNumber(std::wstring& text, std::int64_t value, std::size_t length)
{
    const std::wstring digits = std::to_wstring(value);
    text.append(length - (std::min)(length, digits.size()), L'0').append(digits);
}

std::wstring ComposePointInTime(Ticks wall, int offsetMinutes)
{
    const auto dayCount = std::chrono::floor<days>(wall);
    const std::chrono::year_month_day date(c_firstDay + dayCount);
    const std::chrono::hh_mm_ss time(std::chrono::floor<std::chrono::microseconds>(wall - dayCount));
    std::wstring text;
    text.reserve(c_length);
    AppendNumber(text, static_cast<int>(date.year()), 4);
    AppendNumber(text, static_cast<unsigned>(date.month()), 2);
    AppendNumber(text, static_cast<unsigned>(date.day()), 2);
    AppendNumber(text, time.hours().count(), 2);
    AppendNumber(text, time.minutes().count(), 2);
    AppendNumber(text, time.seconds().count(), 2);
    text += L'.';
    AppendNumber(text, time.subseconds().count(), 6);
    text += offsetMinutes < 0 ? L'-' : L'+';
    AppendNumber(text, offsetMinutes < 0 ? -offsetMinutes : offsetMinutes, 3);
    return text;
}

} // namespace

namespace kx {

bool IsWmiDateTime(std::wstring_view text)
{
    PointInTime point;
    return text.size() == c_length && (ReadPointInTime(text, point) || IsInterval(text));
}

bool WmiTimeToTicks(std::wstring_view text, std::uint64_t& ticks)
{
    PointInTime point;
    if (text.size() != c_length || !ReadPointInTime(text, point) || !point.IsComplete())
        return false;
    const Ticks since =
        sys_days(point.Date()) - c_firstDay + point.time.Value() - std::chrono::minutes(*point.offset);
    if (since < Ticks::zero())
        return false;
    ticks = static_cast<std::uint64_t>(since.count());
    return true;
}

bool TicksToWmiTime(std::uint64_t ticks, int offsetMinutes, std::wstring& text)
{
    const auto mostTicks = static_cast<std::uint64_t>((c_end + std::chrono::minutes(c_mostOffset)).count());
    if (offsetMinutes < -c_mostOffset || offsetMinutes > c_mostOffset || ticks >= mostTicks)
        return false;
    const Ticks wall = Ticks(static_cast<std::int64_t>(ticks)) + std::chrono::minutes(offsetMinutes);
    if (wall < Ticks::zero() || wall >= c_end)
        return false;
    text = ComposePointInTime(wall, offsetMinutes);
    return true;
}

} // namespace kx
