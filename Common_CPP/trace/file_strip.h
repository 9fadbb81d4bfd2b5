#pragma once

#include <cstddef>
#include <string_view>

namespace kx {

/// The longest source path that a line shows; the rest is cut off.
inline constexpr std::size_t kMaxSourcePath = 2048;

/// A source path as "<%FILE>" shows it, in a buffer of its own.
class StrippedFile {
  public:
    /// Keeps the last `level` components of `path`, with ".../" in front unless it is one alone; the whole
    /// path when it has no more, or when level is 0. Backslashes become slashes.
    StrippedFile(std::string_view path, unsigned level) noexcept;

    [[nodiscard]] std::string_view View() const noexcept { return {_m_text, _m_size}; }

  private:
    char _m_text[kMaxSourcePath + 4];
    std::size_t _m_size = 0;
};

} // namespace kx
