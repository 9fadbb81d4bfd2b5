// How many columns UTF-8 text takes on a screen, and text made safe to show there.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kx {

/// One character of a text.
struct TextCharacter {
    char32_t code = 0;    ///< U+FFFD where the bytes are no UTF-8
    std::size_t size = 0; ///< its bytes, at least 1
};

/// The character that begins at `at`, which lies in `text`.
[[nodiscard]] TextCharacter CharacterAt(std::string_view text, std::size_t at) noexcept;

/// Columns of one character: 0 for those that join the one before, 2 for the wide ones of East Asia and most
/// pictographs, else 1. A rule by blocks, which terminals agree on but for rare characters.
[[nodiscard]] int CharacterWidth(char32_t code) noexcept;

/// Columns of a text without control characters.
[[nodiscard]] std::size_t DisplayWidth(std::string_view text) noexcept;

/// The text with everything replaced that could move the cursor, change colours, turn the direction of
/// writing or hide: control characters become their pictures, other such characters "<U+202E>", ill-formed
/// bytes U+FFFD.
[[nodiscard]] std::string VisibleText(std::string_view text);

/// The text, cut to at most `width` columns with an ellipsis at the end where it is longer; unchanged for a
/// width of 0.
[[nodiscard]] std::string CutText(std::string_view text, int width);

/// `text` without a character at its end that is there only in part.
[[nodiscard]] std::string_view WholeCharacters(std::string_view text) noexcept;

} // namespace kx
