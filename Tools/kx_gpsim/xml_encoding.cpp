#include "Tools/kx_gpsim/xml_encoding.h"

#include "Tools/kx_gpsim/text_width.h"

#include <algorithm>

namespace kx {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

void Append(char32_t code, std::string& text)
{
    const auto tail = [&](int shift) { return static_cast<char>(0x80U | ((code >> shift) & 0x3FU)); };
    if (code < 0x80) {
        text += static_cast<char>(code);
    } else if (code < 0x800) {
        text += {static_cast<char>(0xC0U | (code >> 6)), tail(0)};
    } else if (code < 0x10000) {
        text += {static_cast<char>(0xE0U | (code >> 12)), tail(6), tail(0)};
    } else {
        text += {static_cast<char>(0xF0U | (code >> 18)), tail(12), tail(6), tail(0)};
    }
}

bool IsHigh(char32_t unit)
{
    return unit >= 0xD800 && unit < 0xDC00;
}

bool IsLow(char32_t unit)
{
    return unit >= 0xDC00 && unit < 0xE000;
}

std::string OfUtf16(std::string_view bytes, bool littleEndian)
{
    const std::size_t count = bytes.size() / 2;
    const auto unit = [&](std::size_t index) -> char32_t {
        const char32_t first = static_cast<unsigned char>(bytes[2 * index]);
        const char32_t second = static_cast<unsigned char>(bytes[2 * index + 1]);
        return littleEndian ? first | (second << 8U) : second | (first << 8U);
    };
    std::string text;
    for (std::size_t at = 0; at < count; ++at) {
        const char32_t code = unit(at);
        if (IsHigh(code) && at + 1 < count && IsLow(unit(at + 1)))
            Append(0x10000 + ((code - 0xD800) << 10) + (unit(++at) - 0xDC00), text);
        else
            Append(IsHigh(code) || IsLow(code) ? kReplacement : code, text);
    }
    return text;
}

bool IsUtf8(std::string_view bytes)
{
    constexpr std::string_view replacement = "\xEF\xBF\xBD";
    for (std::size_t at = 0; at < bytes.size();) {
        const TextCharacter character = CharacterAt(bytes, at);
        if (character.code == kReplacement && bytes.substr(at, character.size) != replacement)
            return false;
        at += character.size;
    }
    return true;
}

std::string OfSingleBytes(std::string_view bytes)
{
    std::string text;
    for (const char byte : bytes)
        Append(static_cast<unsigned char>(byte), text);
    return text;
}

} // namespace

std::string Utf8OfXmlFile(std::string_view bytes)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (bytes.starts_with("\xFF\xFE"))
        return OfUtf16(bytes.substr(2), true);
    if (bytes.starts_with("\xFE\xFF"))
        return OfUtf16(bytes.substr(2), false);
    if (bytes.starts_with(byteOrderMark))
        bytes.remove_prefix(byteOrderMark.size());
    return IsUtf8(bytes) ? std::string(bytes) : OfSingleBytes(bytes);
}

} // namespace kx
