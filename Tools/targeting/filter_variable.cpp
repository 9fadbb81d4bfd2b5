// <FilterVariable variableName="SITE" value="north">: an environment variable, compared as a whole without
// regard to case. One that is not set compares as empty.
#include "Tools/targeting/filters.h"

namespace kx {

namespace {

constexpr std::wstring_view kAttributes[] = {L"variableName", L"value"};

FilterAnswer Evaluate(const FilterElement& filter, const TargetingFacts& facts)
{
    const std::wstring name(filter.Value(L"variableName"));
    if (name.empty())
        return CannotTell(L"it has no variableName");
    const VariableFact variable = facts.Variable(name);
    if (variable.state == VariableFact::State::CannotTell)
        return CannotTell(L"the variable is not known");
    return Matches(facts.Folded(variable.value) == facts.Folded(filter.Value(L"value")));
}

} // namespace

constinit const FilterKind kVariableFilter{L"FilterVariable", kAttributes, {}, Evaluate};

} // namespace kx
