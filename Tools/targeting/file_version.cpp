#include "Tools/targeting/file_version.h"

#include <algorithm>

namespace kx {

namespace {

std::optional<std::uint16_t> ParsePart(std::wstring_view text)
{
    constexpr std::size_t mostDigits = 5;
    constexpr unsigned mostValue = 0xFFFF;
    const auto isDigit = [](wchar_t character) { return character >= L'0' && character <= L'9'; };
    if (text.empty() || text.size() > mostDigits || !std::all_of(text.begin(), text.end(), isDigit))
        return std::nullopt;
    unsigned value = 0;
    for (const wchar_t digit : text)
        value = value * 10 + static_cast<unsigned>(digit - L'0');
    if (value > mostValue)
        return std::nullopt;
    return static_cast<std::uint16_t>(value);
}

} // namespace

std::optional<FileVersion> ParseFileVersion(std::wstring_view text)
{
    FileVersion version{};
    for (std::size_t i = 0; i < version.size(); ++i) {
        const bool isLast = i + 1 == version.size();
        const std::size_t end = isLast ? text.size() : text.find(L'.');
        if (end == std::wstring_view::npos)
            return std::nullopt;
        const auto part = ParsePart(text.substr(0, end));
        if (!part)
            return std::nullopt;
        version[i] = *part;
        text.remove_prefix(isLast ? end : end + 1);
    }
    return version;
}

} // namespace kx
