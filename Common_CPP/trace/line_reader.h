// The text of the configuration file, line by line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace kx {

/// The longest line, without its end, that a configuration file may hold.
inline constexpr std::size_t kMaxConfigLine = 1023;

/// A blank, a tab, or another of the ASCII characters that move on without showing anything.
[[nodiscard]] constexpr bool IsWhiteSpace(char c) noexcept
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// `text` without the white space at its two ends.
[[nodiscard]] std::string_view StripWhiteSpace(std::string_view text) noexcept;

/// One line that says something: neither empty nor a comment.
struct ConfigLine {
    std::string_view text;    ///< without white space at its ends; of a line too long, the beginning
    std::uint32_t number = 0; ///< counted from 1, comments and empty lines included
    bool isTooLong = false;   ///< the line was cut: it is to be reported, and never to be used in part
};

/// Goes through a text whose lines end in LF or CR LF. A UTF-8 byte order mark at its start is passed over.
class LineReader {
  public:
    /// `text` must outlive the reader and the lines it gives.
    explicit LineReader(std::string_view text) noexcept;

    /// The next line that says something, or nothing at the end.
    [[nodiscard]] std::optional<ConfigLine> Next() noexcept;

  private:
    [[nodiscard]] std::string_view _TakeLine() noexcept;

    std::string_view _m_rest;
    std::uint32_t _m_number = 0;
};

} // namespace kx
