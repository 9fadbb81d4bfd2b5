#include "Common_CPP/trace/level.h"

#include "Common_CPP/trace/text_builder.h"

namespace kx {

std::string_view LevelName(std::uint32_t level) noexcept
{
    switch (level) {
    case KXT_ERROR:
        return "KXT_ERROR";
    case KXT_WARNING:
        return "KXT_WARNING";
    case KXT_INFO:
        return "KXT_INFO";
    case KXT_TRACE:
        return "KXT_TRACE";
    case KXT_VERBOSE:
        return "KXT_VERBOSE";
    case KXT_DEBUG:
        return "KXT_DEBUG";
    case KXT_FLASHBACK_ERROR:
        return "KXT_FLASHBACK_ERROR";
    case KXT_FLASHBACK_WARNING:
        return "KXT_FLASHBACK_WARNING";
    case KXT_FLASHBACK_INFO:
        return "KXT_FLASHBACK_INFO";
    case KXT_REDIRECTED:
        return "KXT_REDIRECTED";
    default:
        return {};
    }
}

} // namespace kx

bool D_LevelNumberInfo_c::Matches(std::uint32_t level) const noexcept
{
    return level == _no;
}

void D_LevelNumberInfo_c::Print(kx::TextBuilder& text) const noexcept
{
    text.Append("D_LevelNumberInfo_c: _no = [").AppendUnsigned(_no).Append("]");
}

bool D_LevelStringInfo_c::Matches(std::uint32_t level) const noexcept
{
    return !_name.empty() && kx::LevelName(level) == _name;
}

void D_LevelStringInfo_c::Print(kx::TextBuilder& text) const noexcept
{
    text.Append("D_LevelStringInfo_c: _name = [").Append(_name).Append("]");
}
