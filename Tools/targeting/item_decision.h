#pragma once

#include "Tools/targeting/filter_element.h"
#include "Tools/targeting/targeting_facts.h"

#include <span>
#include <string>
#include <vector>

namespace kx {

/// Whether an item is to be performed, and what could not be understood on the way.
struct ItemDecision {
    bool passes = true;
    std::vector<std::wstring> findings; ///< each begins with the element's name; any lets the item through
};

/// Evaluates a tree of filters. All of them are looked at. Where one is of a kind that is not known, or
/// cannot be evaluated as it is written, the item passes, wherever in the tree that filter stands: joining
/// the others would be a guess.
[[nodiscard]] ItemDecision DecideItem(std::span<const FilterElement> elements, const TargetingFacts& facts);

} // namespace kx
