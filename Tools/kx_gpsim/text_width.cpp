#include "Tools/kx_gpsim/text_width.h"

#include <algorithm>
#include <iterator>

namespace kx {

namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr std::string_view kEllipsis = "\xE2\x80\xA6";

struct Range {
    char32_t first;
    char32_t last;
};

// Marks that stand on the character before them, and characters of no width.
constexpr Range kJoining[] = {{0x0300, 0x036F}, {0x0483, 0x0489},  {0x0591, 0x05BD}, {0x064B, 0x065F},
                              {0x0E34, 0x0E3A}, {0x0E47, 0x0E4E},  {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF},
                              {0x200B, 0x200D}, {0x20D0, 0x20FF},  {0x3099, 0x309A}, {0xFE00, 0xFE0F},
                              {0xFE20, 0xFE2F}, {0xE0100, 0xE01EF}};

constexpr Range kWide[] = {{0x1100, 0x115F},   {0x2E80, 0x303E},   {0x3041, 0x33FF},  {0x3400, 0x4DBF},
                           {0x4E00, 0xA4CF},   {0xA960, 0xA97F},   {0xAC00, 0xD7A3},  {0xF900, 0xFAFF},
                           {0xFE30, 0xFE6F},   {0xFF01, 0xFF60},   {0xFFE0, 0xFFE6},  {0x1F300, 0x1F64F},
                           {0x1F680, 0x1F6FF}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};

// What shows nothing itself but changes how its surroundings are shown.
constexpr Range kTreacherous[] = {{0x00AD, 0x00AD}, {0x061C, 0x061C}, {0x200B, 0x200B},
                                  {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2060, 0x206F},
                                  {0xFEFF, 0xFEFF}, {0xFFF9, 0xFFFB}, {0xE0000, 0xE007F}};

template <std::size_t Count>
bool IsIn(const Range (&ranges)[Count], char32_t code) noexcept
{
    const Range* const after =
        std::upper_bound(std::begin(ranges), std::end(ranges), code,
                         [](char32_t value, const Range& range) { return value < range.first; });
    return after != std::begin(ranges) && code <= std::prev(after)->last;
}

std::size_t SizeByLead(unsigned char lead) noexcept
{
    if (lead < 0x80)
        return 1;
    if (lead < 0xC2 || lead > 0xF4)
        return 0;
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

bool IsTail(char character) noexcept
{
    return (static_cast<unsigned char>(character) & 0xC0U) == 0x80;
}

bool IsScalarOfSize(char32_t code, std::size_t size) noexcept
{
    constexpr char32_t lowest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
    return code >= lowest[size] && code <= 0x10FFFF && !isSurrogate;
}

void AppendUtf8(std::string& text, char32_t code)
{
    const auto tail = [&](unsigned shift) {
        text += static_cast<char>(0x80U | ((static_cast<unsigned>(code) >> shift) & 0x3FU));
    };
    text += static_cast<char>(0xE0U | (static_cast<unsigned>(code) >> 12U)); // only for U+0800 to U+FFFF
    tail(6);
    tail(0);
}

void AppendNumber(std::string& text, char32_t code)
{
    constexpr char digits[] = "0123456789ABCDEF";
    text += "<U+";
    for (int shift = code > 0xFFFF ? 20 : 12; shift >= 0; shift -= 4)
        text += digits[(static_cast<unsigned>(code) >> static_cast<unsigned>(shift)) & 0xFU];
    text += '>';
}

void AppendVisible(std::string& text, char32_t code, std::string_view bytes)
{
    constexpr char32_t pictures = 0x2400;
    constexpr char32_t pictureOfDelete = 0x2421;
    if (code < 0x20)
        AppendUtf8(text, pictures + code);
    else if (code == 0x7F)
        AppendUtf8(text, pictureOfDelete);
    else if ((code >= 0x80 && code < 0xA0) || IsIn(kTreacherous, code))
        AppendNumber(text, code);
    else if (code == kReplacement)
        AppendUtf8(text, code);
    else
        text += bytes;
}

} // namespace

TextCharacter CharacterAt(std::string_view text, std::size_t at) noexcept
{
    const auto lead = static_cast<unsigned char>(text[at]);
    const std::size_t size = SizeByLead(lead);
    if (size == 1)
        return {lead, 1};
    if (size == 0 || size > text.size() - at)
        return {kReplacement, 1};
    char32_t code = lead & (0x7FU >> size);
    for (std::size_t tail = at + 1; tail < at + size; ++tail) {
        if (!IsTail(text[tail]))
            return {kReplacement, 1};
        code = (code << 6U) | (static_cast<unsigned char>(text[tail]) & 0x3FU);
    }
    return IsScalarOfSize(code, size) ? TextCharacter{code, size} : TextCharacter{kReplacement, 1};
}

int CharacterWidth(char32_t code) noexcept
{
    if (code < 0x0300)
        return 1;
    if (IsIn(kJoining, code))
        return 0;
    return IsIn(kWide, code) ? 2 : 1;
}

std::size_t DisplayWidth(std::string_view text) noexcept
{
    std::size_t width = 0;
    for (std::size_t at = 0; at < text.size();) {
        const TextCharacter character = CharacterAt(text, at);
        width += static_cast<std::size_t>(CharacterWidth(character.code));
        at += character.size;
    }
    return width;
}

std::string VisibleText(std::string_view text)
{
    std::string visible;
    visible.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const TextCharacter character = CharacterAt(text, at);
        AppendVisible(visible, character.code, text.substr(at, character.size));
        at += character.size;
    }
    return visible;
}

std::string CutText(std::string_view text, int width)
{
    const auto limit = static_cast<std::size_t>(std::max(width, 0));
    if (limit == 0 || DisplayWidth(text) <= limit)
        return std::string(text);
    std::size_t at = 0;
    for (std::size_t used = 0; at < text.size();) {
        const TextCharacter character = CharacterAt(text, at);
        used += static_cast<std::size_t>(CharacterWidth(character.code));
        if (used > limit - 1)
            break;
        at += character.size;
    }
    return std::string(text.substr(0, at)).append(kEllipsis);
}

std::string_view WholeCharacters(std::string_view text) noexcept
{
    std::size_t tails = 0;
    while (tails < 3 && tails < text.size() && IsTail(text[text.size() - 1 - tails]))
        ++tails;
    if (tails == text.size())
        return text;
    const std::size_t leadAt = text.size() - 1 - tails;
    const bool isPartial = SizeByLead(static_cast<unsigned char>(text[leadAt])) > tails + 1;
    return isPartial && leadAt != 0 ? text.substr(0, leadAt) : text;
}

} // namespace kx
