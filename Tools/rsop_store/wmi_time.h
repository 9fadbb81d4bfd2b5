#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kx {

/// Whether the text is a WMI date-time of 25 characters: a point in time `yyyymmddHHMMSS.mmmmmmsUUU`, wall
/// time and how many minutes it is ahead of UTC, or an interval `ddddddddHHMMSS.mmmmmm:000`.
///
/// The date must exist. A field that is unknown consists of asterisks; the offset keeps its sign.
[[nodiscard]] bool IsWmiDateTime(std::wstring_view text);

/// A complete point in time in ticks of 100 ns since 1601 began in UTC. False, and `ticks` stays as it was,
/// for intervals, unknown fields, moments before 1601, and text that IsWmiDateTime() refuses.
[[nodiscard]] bool WmiTimeToTicks(std::wstring_view text, std::uint64_t& ticks);

/// Writes a moment as the wall time of a place `offsetMinutes` ahead of UTC, and that offset; tenths of
/// microseconds are dropped. False, and `text` stays as it was, when that wall time is before 1601 or after
/// 9999, or when the offset needs more than three digits.
[[nodiscard]] bool TicksToWmiTime(std::uint64_t ticks, int offsetMinutes, std::wstring& text);

} // namespace kx
