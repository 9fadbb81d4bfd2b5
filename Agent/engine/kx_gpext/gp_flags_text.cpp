#include "Agent/engine/kx_gpext/gp_flags_text.h"

#include <string_view>

namespace kx {

namespace {

struct FlagName {
    std::uint32_t bit;
    std::wstring_view text;
};

constexpr FlagName kFlagNames[] = {{0x0001, L"MACHINE, "},          {0x0010, L"BACKGROUND, "},
                                   {0x1000, L"ASYNC_FOREGROUND, "}, {0x0020, L"SLOWLINK, "},
                                   {0x0040, L"VERBOSE, "},          {0x0080, L"NOCHANGES, "},
                                   {0x0100, L"LINKTRANSITION, "},   {0x0200, L"LOGRSOP_TRANSITION, "},
                                   {0x0400, L"FORCED_REFRESH, "},   {0x0800, L"SAFEMODE_BOOT, "}};

std::wstring Hex8(std::uint32_t value)
{
    std::wstring text = L"0x";
    for (int shift = 28; shift >= 0; shift -= 4)
        text += L"0123456789ABCDEF"[(value >> shift) & 0xF];
    return text;
}

} // namespace

std::wstring GpFlagsText(std::uint32_t flags)
{
    if (flags == 0)
        return L"0";
    std::wstring text;
    for (const FlagName& name : kFlagNames) {
        if ((flags & name.bit) != 0)
            text += name.text;
        flags &= ~name.bit;
    }
    if (flags != 0)
        text += Hex8(flags) + L", ";
    text.resize(text.size() - 2);
    return text;
}

} // namespace kx
