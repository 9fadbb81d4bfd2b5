#include "Tools/targeting/filter_tree.h"

#include <vector>

namespace kx {

namespace {

// A collection whose members are being joined.
struct OpenCollection {
    FilterJoin join = FilterJoin::And;
    bool negated = false;
    bool hasMembers = false;
    bool result = true;

    void Join(FilterJoin how, bool member)
    {
        if (!hasMembers)
            result = member;
        else
            result = how == FilterJoin::And ? result && member : result || member;
        hasMembers = true;
    }
};

void CloseLast(std::vector<OpenCollection>& open)
{
    const OpenCollection done = open.back();
    open.pop_back();
    open.back().Join(done.join, done.result != done.negated);
}

} // namespace

bool EvaluateTree(std::span<const FilterNode> nodes)
{
    std::vector<OpenCollection> open(1); // the tree itself
    for (const FilterNode& node : nodes) {
        while (open.size() > node.depth + 1)
            CloseLast(open);
        if (node.isCollection)
            open.push_back({node.join, node.negated});
        else
            open.back().Join(node.join, node.matches != node.negated);
    }
    while (open.size() > 1)
        CloseLast(open);
    return open.front().result;
}

} // namespace kx
