#include "Common_CPP/trace/expr_shorthand.h"

namespace kx {

namespace {

struct Shorthand {
    char letter;
    std::string_view text;
};

constexpr Shorthand kShorthands[] = {
    {'a', "([a-zA-Z0-9])"},
    {'b', "([ \t])"},
    {'c', "([a-zA-Z])"},
    {'d', "([0-9])"},
    {'h', "([0-9a-fA-F])"},
    {'n', "(\r|(\r?\n))"},
    {'q', "((\"[^\"]*\")|('[^']*'))"},
    {'w', "([a-zA-Z]+)"},
    {'z', "([0-9]+)"},
};

} // namespace

std::string_view ShorthandText(char letter) noexcept
{
    for (const Shorthand& shorthand : kShorthands)
        if (shorthand.letter == letter)
            return shorthand.text;
    return {};
}

} // namespace kx
