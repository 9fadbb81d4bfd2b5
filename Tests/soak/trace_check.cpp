#include "Tests/soak/trace_check.h"

#include <charconv>

namespace {

constexpr std::string_view kBegin = "kx-soak-";
constexpr std::string_view kOwn = "D_Lib: ";

} // namespace

std::string TracePrefix(char letter)
{
    return std::string(kBegin) + letter + " <%TID>|";
}

void TraceCheck::Read(std::string_view text)
{
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        if (end == text.npos) { // the last line of a file ends, too
            _m_torn.emplace_back(text);
            return;
        }
        _ReadLine(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
}

const std::vector<std::string>& TraceCheck::MessagesOf(unsigned long thread) const
{
    static const std::vector<std::string> none;
    const auto found = _m_messages.find(thread);
    return found == _m_messages.end() ? none : found->second;
}

void TraceCheck::_ReadLine(std::string_view line)
{
    ++_m_lines;
    const std::size_t begin = line.find(kBegin);
    if (begin != 0 && _ReadOwnLine(line))
        return;
    unsigned long thread = 0;
    const char* const end = line.data() + line.size();
    const std::size_t number = kBegin.size() + 2; // the letter and a blank
    const bool once = begin == 0 && line.find(kBegin, 1) == line.npos && line.size() > number;
    const auto read =
        once ? std::from_chars(line.data() + number, end, thread) : std::from_chars_result{end, {}};
    if (read.ptr == end || *read.ptr != '|') {
        _m_torn.emplace_back(line);
        return;
    }
    std::string_view message(read.ptr + 1, static_cast<std::size_t>(end - read.ptr - 1));
    _m_messages[thread].emplace_back(message);
}

bool TraceCheck::_ReadOwnLine(std::string_view line)
{
    if (_m_headerLines > 0)
        return --_m_headerLines > 0 ? line.ends_with(".trace.1") : line.empty();
    if (line.starts_with(kOwn)) {
        if (line.find(kBegin) != line.npos && !line.ends_with("|]")) // it may say how statements begin
            return false;
        _m_reloads += line.find("reading configuration from ") != line.npos;
        if (line.ends_with("continued after:")) {
            ++_m_rotations;
            _m_headerLines = 2;
        }
        return true;
    }
    return !line.empty() && line.find_first_not_of('-') == line.npos;
}
