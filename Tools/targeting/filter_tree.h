#pragma once

#include <cstddef>
#include <span>

namespace kx {

/// How a filter joins with what stands before it in the same collection.
enum class FilterJoin { And, Or };

/// One filter, evaluated, or a collection, whose result is that of its members. In document order, as
/// FilterElement has it.
struct FilterNode {
    std::size_t depth = 0;
    FilterJoin join = FilterJoin::And; ///< without meaning for the first of a collection
    bool negated = false;
    bool isCollection = false;
    bool matches = false; ///< without meaning for a collection
};

/// The result of the whole tree. Members of a collection are joined from left to right, so AND binds no
/// stronger than OR: a OR b AND c is (a OR b) AND c. Negation applies to a member, or to a collection as a
/// whole, before it is joined. No filters at all, in the tree or in a collection, are true.
[[nodiscard]] bool EvaluateTree(std::span<const FilterNode> nodes);

} // namespace kx
