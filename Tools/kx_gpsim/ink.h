// How a piece of output is meant to look, apart from how a terminal does it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace kx {

/// What a piece of text is.
enum class Ink : std::uint8_t { Plain, Heading, Good, Warning, Bad, Dim };

/// Gives a text the look of an ink. Takes text without control characters.
using Painter = std::function<std::string(Ink, std::string_view)>;

/// For output without colours.
[[nodiscard]] inline std::string PaintNothing(Ink, std::string_view text)
{
    return std::string(text);
}

/// For whom a text is laid out.
struct TextStyle {
    int width = 0; ///< columns of the screen; 0 for no limit
    Painter paint = PaintNothing;
};

} // namespace kx
