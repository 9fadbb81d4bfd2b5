#include "Tools/targeting/item_decision.h"

#include "Tools/targeting/filter_tree.h"
#include "Tools/targeting/filters.h"
#include "Tools/targeting/variable_text.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kx {

namespace {

using std::wstring;
using std::wstring_view;

constexpr wstring_view kCollection = L"FilterCollection";

// What every filter may have. "hidden" is for editors.
constexpr wstring_view kSharedAttributes[] = {L"bool", L"not", L"hidden"};

// A collection may be named, also for editors only.
constexpr wstring_view kCollectionAttributes[] = {L"name"};

bool IsOneOf(std::span<const wstring_view> names, wstring_view name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

// Reads what all filters share. Returns what is wrong with it; empty: nothing.
wstring ReadFrame(const FilterElement& element, FilterNode& node)
{
    const wstring_view join = element.Value(L"bool");
    const wstring_view negated = element.Value(L"not");
    if (!join.empty() && join != L"AND" && join != L"OR")
        return L"the bool attribute is neither AND nor OR";
    if (!negated.empty() && negated != L"0" && negated != L"1")
        return L"the not attribute is neither 0 nor 1";
    node.join = join == L"OR" ? FilterJoin::Or : FilterJoin::And;
    node.negated = negated == L"1";
    return {};
}

// An attribute that is not understood might change the meaning of the others.
wstring CheckAttributes(const FilterElement& element, std::span<const wstring_view> own,
                        wstring_view expanded)
{
    for (const FilterAttribute& attribute : element.attributes) {
        if (!IsOneOf(kSharedAttributes, attribute.name) && !IsOneOf(own, attribute.name))
            return L"an attribute that is not known: " + attribute.name;
        if (attribute.name != expanded && HasVariables(attribute.value))
            return L"a variable where none is expected: " + attribute.name;
    }
    return {};
}

wstring ReadCollection(const FilterElement& element, bool hasChildren)
{
    if (!hasChildren)
        return L"it holds no filter";
    return CheckAttributes(element, kCollectionAttributes, {});
}

wstring ReadFilter(const FilterElement& element, bool hasChildren, const TargetingFacts& facts, bool& matches)
{
    const FilterKind* const kind = FindFilterKind(element.name);
    if (kind == nullptr)
        return L"a filter that is not known";
    if (hasChildren)
        return L"elements inside it that are not known";
    if (wstring wrong = CheckAttributes(element, kind->attributes, kind->expanded); !wrong.empty())
        return wrong;
    FilterAnswer answer = kind->evaluate(element, facts);
    matches = answer.verdict == FilterVerdict::Yes;
    return std::move(answer.why);
}

} // namespace

ItemDecision DecideItem(std::span<const FilterElement> elements, const TargetingFacts& facts)
{
    ItemDecision decision;
    std::vector<FilterNode> nodes;
    for (std::size_t i = 0; i < elements.size(); ++i) {
        const FilterElement& element = elements[i];
        const bool hasChildren = i + 1 < elements.size() && elements[i + 1].depth > element.depth;
        FilterNode node;
        node.depth = element.depth;
        node.isCollection = element.name == kCollection;
        wstring wrong = ReadFrame(element, node);
        if (wrong.empty())
            wrong = node.isCollection ? ReadCollection(element, hasChildren)
                                      : ReadFilter(element, hasChildren, facts, node.matches);
        if (!wrong.empty())
            decision.findings.push_back(element.name + L": " + wrong);
        nodes.push_back(node);
    }
    decision.passes = !decision.findings.empty() || EvaluateTree(nodes);
    return decision;
}

} // namespace kx
