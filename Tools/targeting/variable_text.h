#pragma once

#include "Tools/targeting/targeting_facts.h"

#include <optional>
#include <string>
#include <string_view>

namespace kx {

/// A text with its variables replaced.
struct ExpandedText {
    std::wstring text;
    std::wstring unknown; ///< the first variable that is not set, or not known; empty: all are
};

/// Replaces each %NAME% by the variable's value. Percent signs that enclose nothing, or have no partner, are
/// text, and values are not looked through again.
[[nodiscard]] ExpandedText ExpandVariables(std::wstring_view text, const TargetingFacts& facts);

/// Whether the text holds a %NAME%.
[[nodiscard]] bool HasVariables(std::wstring_view text);

} // namespace kx
