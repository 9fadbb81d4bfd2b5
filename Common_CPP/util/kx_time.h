// Points in time.
#pragma once

#include "Common_CPP/atl/kx_atl.h"

#include <windows.h>

#include <chrono>
#include <compare>
#include <cstdint>
#include <string_view>

namespace kx {

/// The platform's unit of time, 100 nanoseconds.
using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;

} // namespace kx

/// A point in time: the ticks since the beginning of 1601 in UTC, as a FILETIME counts them. Zero is what the
/// platform uses for "no time". Every bool is false on failure and leaves the out-parameters as they were.
class CkxTime {
  public:
    /// No time: zero ticks.
    constexpr CkxTime() noexcept = default;

    /// The 64-bit value.
    explicit constexpr CkxTime(std::uint64_t ticks) noexcept : _m_ticks(ticks) {}

    /// What a file or the system carries.
    explicit constexpr CkxTime(const FILETIME& time) noexcept
        : _m_ticks(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime)
    {
    }

    /// The present time, as fine as the system keeps it without being asked for more (1 to 16 ms).
    [[nodiscard]] static CkxTime Now() noexcept;

    /// From a date and time of day in UTC. False for one that does not exist. The day of the week is ignored.
    [[nodiscard]] static bool FromUtc(const SYSTEMTIME& utc, CkxTime& time) noexcept;

    /// From a date and time of day here, by the daylight rule of that year.
    [[nodiscard]] static bool FromLocal(const SYSTEMTIME& local, CkxTime& time) noexcept;

    /// Reads "2024-02-29T12:34:56", a fraction with a point or comma, and "Z", an offset such as "+01:30",
    /// or nothing for local time. Digits beyond the seventh of the fraction are dropped.
    [[nodiscard]] static bool Parse(std::wstring_view text, CkxTime& time) noexcept;

    /// The 64-bit value.
    [[nodiscard]] constexpr std::uint64_t GetTicks() const noexcept { return _m_ticks; }

    /// What a file or the system takes.
    [[nodiscard]] FILETIME ToFileTime() const noexcept;

    /// The date and time of day in UTC; parts of a millisecond are dropped. False beyond the year 30827.
    [[nodiscard]] bool ToUtc(SYSTEMTIME& utc) const noexcept;

    /// The date and time of day here, by the daylight rule of that year.
    [[nodiscard]] bool ToLocal(SYSTEMTIME& local) const noexcept;

    /// Writes "2024-02-29T12:34:56.1234567Z", which Parse reads back exactly. False beyond the year 9999.
    /// Throws CAtlException.
    [[nodiscard]] bool FormatUtc(CString& text) const;

    /// Writes the local time with its offset, "2024-02-29T13:34:56.1234567+01:00", which Parse reads back
    /// exactly. False beyond the year 9999. Throws CAtlException.
    [[nodiscard]] bool FormatLocal(CString& text) const;

    /// Moves by `ticks`, forwards or backwards. False when that leaves the 64-bit value's range.
    [[nodiscard]] bool Add(kx::Ticks ticks) noexcept;

    /// The time that lies between two points, negative when `a` is the earlier; at most what fits.
    friend kx::Ticks operator-(CkxTime a, CkxTime b) noexcept;

    friend constexpr bool operator==(const CkxTime& a, const CkxTime& b) noexcept = default;

    friend constexpr std::strong_ordering operator<=>(const CkxTime& a, const CkxTime& b) noexcept
    {
        return a._m_ticks <=> b._m_ticks;
    }

  private:
    std::uint64_t _m_ticks = 0;
};
