#include "Common_CPP/trace/file_strip.h"

#include <algorithm>

namespace kx {

namespace {

constexpr std::string_view kCut = ".../";

// Where the `level`-th slash from the end stands, or npos. Every line asks, and a search for one of several
// characters in the library would be a call for each that it looks at.
std::size_t SlashFromEnd(std::string_view path, unsigned level) noexcept
{
    for (std::size_t at = path.size(); at-- > 0;)
        if ((path[at] == '/' || path[at] == '\\') && --level == 0)
            return at;
    return std::string_view::npos;
}

} // namespace

StrippedFile::StrippedFile(std::string_view path, unsigned level) noexcept
{
    path = path.substr(0, kMaxSourcePath);
    const std::size_t slash = level == 0 ? std::string_view::npos : SlashFromEnd(path, level);
    const bool nothingToGain = level > 1 && slash < kCut.size();
    if (slash != std::string_view::npos && !nothingToGain) {
        path.remove_prefix(slash + 1);
        if (level > 1)
            _m_size = kCut.copy(_m_text, kCut.size());
    }
    std::replace_copy(path.begin(), path.end(), _m_text + _m_size, '\\', '/');
    _m_size += path.size();
}

} // namespace kx
