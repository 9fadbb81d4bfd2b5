#pragma once

#include "Common_CPP/trace/text_builder.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace kx {

/// One reading of the local clock, in the fields that trace lines and file names show.
struct LocalTime {
    unsigned year = 0;
    unsigned month = 0;
    unsigned day = 0;
    unsigned hour = 0;
    unsigned minute = 0;
    unsigned second = 0;
    unsigned millisecond = 0;
};

/// The time tokens, in the order in which a template replaces them.
enum class TimeToken { Year, Month, Day, Hour, Minute, Second, Millisecond };

struct TimeTokenName {
    std::string_view text; ///< "<%YEAR>" and so on
    TimeToken token;
};

inline constexpr TimeTokenName kTimeTokens[] = {
    {"<%YEAR>", TimeToken::Year},       {"<%MONTH>", TimeToken::Month}, {"<%DAY>", TimeToken::Day},
    {"<%HOUR>", TimeToken::Hour},       {"<%MIN>", TimeToken::Minute},  {"<%SEC>", TimeToken::Second},
    {"<%MSEC>", TimeToken::Millisecond}};

/// The token's value: two digits at least, three for the milliseconds.
[[nodiscard]] Decimal TimeTokenValue(TimeToken token, const LocalTime& time) noexcept;

/// Replaces the first occurrence of `token` in `text`; false when there is none.
bool ReplaceFirst(std::string& text, std::string_view token, std::string_view value);

/// `path` with the first occurrence of "<%PID>" and of each time token replaced.
[[nodiscard]] std::string ExpandFileTokens(std::string_view path, std::uint32_t processId,
                                           const LocalTime& time);

} // namespace kx
