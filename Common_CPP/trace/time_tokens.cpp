#include "Common_CPP/trace/time_tokens.h"

namespace kx {

Decimal TimeTokenValue(TimeToken token, const LocalTime& time) noexcept
{
    switch (token) {
    case TimeToken::Year:
        return Decimal(time.year, 2);
    case TimeToken::Month:
        return Decimal(time.month, 2);
    case TimeToken::Day:
        return Decimal(time.day, 2);
    case TimeToken::Hour:
        return Decimal(time.hour, 2);
    case TimeToken::Minute:
        return Decimal(time.minute, 2);
    case TimeToken::Second:
        return Decimal(time.second, 2);
    case TimeToken::Millisecond:
        break;
    }
    return Decimal(time.millisecond, 3);
}

bool ReplaceFirst(std::string& text, std::string_view token, std::string_view value)
{
    const std::size_t at = text.find(token);
    if (at == std::string::npos)
        return false;
    text.replace(at, token.size(), value);
    return true;
}

std::string ExpandFileTokens(std::string_view path, std::uint32_t processId, const LocalTime& time)
{
    std::string expanded(path);
    ReplaceFirst(expanded, "<%PID>", Decimal(processId).View());
    for (const TimeTokenName& entry : kTimeTokens)
        ReplaceFirst(expanded, entry.text, TimeTokenValue(entry.token, time).View());
    return expanded;
}

} // namespace kx
