#include "Common_CPP/trace/config_number.h"

#include "Common_CPP/trace/line_reader.h"

namespace kx {

std::optional<std::uint64_t> ReadConfigNumber(std::string_view text, std::uint64_t max) noexcept
{
    const bool beginsWithZero = !text.empty() && text.front() == '0';
    while (!text.empty() && IsWhiteSpace(text.front()))
        text.remove_prefix(1);
    if (!text.empty() && text.front() == '+')
        text.remove_prefix(1);
    std::uint64_t value = 0;
    for (; !text.empty() && text.front() >= '0' && text.front() <= '9'; text.remove_prefix(1)) {
        const auto digit = static_cast<std::uint64_t>(text.front() - '0');
        if (value > max / 10)
            return std::nullopt;
        value = value * 10 + digit;
        if (value > max)
            return std::nullopt;
    }
    if (value == 0 && !beginsWithZero)
        return std::nullopt;
    return value;
}

} // namespace kx
