#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kx {

/// One attribute as the file has it.
struct FilterAttribute {
    std::wstring name;
    std::wstring value;
};

/// One element of a filter tree. The tree is a list in document order, each element with its depth, so that
/// neither walking it nor freeing it can use up the stack.
struct FilterElement {
    std::size_t depth = 0; ///< 0 for the outermost; its children follow it, one deeper
    std::wstring name;
    std::vector<FilterAttribute> attributes;

    /// The attribute's value; empty where it is absent. Valid while this object stays as it is.
    [[nodiscard]] std::wstring_view Value(std::wstring_view attribute) const
    {
        const auto found = std::find_if(attributes.begin(), attributes.end(),
                                        [&](const FilterAttribute& each) { return each.name == attribute; });
        return found == attributes.end() ? std::wstring_view() : std::wstring_view(found->value);
    }
};

} // namespace kx
