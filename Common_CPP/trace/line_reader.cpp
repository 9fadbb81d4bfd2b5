#include "Common_CPP/trace/line_reader.h"

namespace kx {

std::string_view StripWhiteSpace(std::string_view text) noexcept
{
    while (!text.empty() && IsWhiteSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsWhiteSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

LineReader::LineReader(std::string_view text) noexcept : _m_rest(text)
{
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (_m_rest.substr(0, kByteOrderMark.size()) == kByteOrderMark)
        _m_rest.remove_prefix(kByteOrderMark.size());
}

std::optional<ConfigLine> LineReader::Next() noexcept
{
    while (!_m_rest.empty()) {
        const std::string_view line = _TakeLine();
        const std::string_view text = StripWhiteSpace(line);
        if (text.empty() || text.front() == '#')
            continue;
        if (line.size() > kMaxConfigLine)
            return ConfigLine{text.substr(0, kMaxConfigLine), _m_number, true};
        return ConfigLine{text, _m_number, false};
    }
    return std::nullopt;
}

std::string_view LineReader::_TakeLine() noexcept
{
    const std::size_t end = _m_rest.find('\n');
    std::string_view line = _m_rest.substr(0, end);
    _m_rest.remove_prefix(end == std::string_view::npos ? _m_rest.size() : end + 1);
    ++_m_number;
    if (!line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    return line;
}

} // namespace kx
