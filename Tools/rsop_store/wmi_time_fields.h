#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>

namespace kx {

/// The parts of a WMI date-time. Intervals have no year, month and offset.
enum class WmiTimePart { Year, Month, Day, Hours, Minutes, Seconds, Microseconds, Offset };

/// A WMI date-time that is changed part by part. It holds what can be written down, which need not be a date
/// that exists: the day may be 31 before the month is set. Allocates nothing.
class WmiTimeFields {
  public:
    /// The text, 25 characters; valid as long as this object.
    [[nodiscard]] std::wstring_view Text() const noexcept { return {_m_text, std::size(_m_text) - 1}; }

    /// Takes over a text. False when it is no WMI date-time, and nothing changes.
    [[nodiscard]] bool Assign(std::wstring_view text);

    [[nodiscard]] bool IsInterval() const noexcept;

    /// Turns a point in time into an interval of no days, or an interval into a point in time of the first
    /// day; the time of day stays.
    void MakeInterval(bool isInterval) noexcept;

    /// The value, with the offset in minutes; 0 for a part that is unknown or that an interval has not.
    [[nodiscard]] std::int32_t Get(WmiTimePart part) const noexcept;

    /// False when the value is out of the part's bounds or an interval has no such part; nothing changes
    /// then.
    [[nodiscard]] bool Set(WmiTimePart part, std::int32_t value) noexcept;

    /// Whether the part is there and no asterisks fill it.
    [[nodiscard]] bool IsKnown(WmiTimePart part) const noexcept;

    /// Fills the part with asterisks, or an unknown one with its lowest value, for the offset 0. False when
    /// an interval has no such part.
    [[nodiscard]] bool SetKnown(WmiTimePart part, bool isKnown) noexcept;

  private:
    void _Write(std::size_t start, std::wstring_view text) noexcept;

    wchar_t _m_text[26] = L"00000101000000.000000+000";
};

} // namespace kx
