// What only a facts file answers:
// <FilterLdap searchFilter="..." binding="..." attribute="...">, <FilterWmi query="..." nameSpace="...">:
// something is found. With a variableName the filter also sets that variable, which nobody does here.
// <FilterRunOnce id="{...}">: the item was not performed before.
#include "Tools/targeting/filter_values.h"

namespace kx {

namespace {

constexpr std::wstring_view kLdapAttributes[] = {L"searchFilter", L"binding", L"attribute", L"variableName"};
constexpr std::wstring_view kWmiAttributes[] = {L"query", L"nameSpace", L"property", L"variableName"};
constexpr std::wstring_view kRunOnceAttributes[] = {L"id"};

FilterAnswer MatchQuery(const FilterElement& filter, std::wstring_view attribute, QueryLanguage language,
                        const TargetingFacts& facts)
{
    const std::wstring query(filter.Value(attribute));
    if (query.empty() || !filter.Value(L"variableName").empty())
        return CannotTell(L"it has no query, or sets a variable");
    return MatchesKnown(facts.Finds(language, query), L"what the query finds");
}

FilterAnswer EvaluateLdap(const FilterElement& filter, const TargetingFacts& facts)
{
    return MatchQuery(filter, L"searchFilter", QueryLanguage::Ldap, facts);
}

FilterAnswer EvaluateWmi(const FilterElement& filter, const TargetingFacts& facts)
{
    return MatchQuery(filter, L"query", QueryLanguage::Wmi, facts);
}

FilterAnswer EvaluateRunOnce(const FilterElement& filter, const TargetingFacts& facts)
{
    const std::wstring id(filter.Value(L"id"));
    if (id.empty())
        return CannotTell(L"it has no id");
    const auto ran = facts.RanBefore(id);
    return ran ? Matches(!*ran) : CannotTell(L"whether the item was performed before is not known");
}

} // namespace

constinit const FilterKind kLdapFilter{L"FilterLdap", kLdapAttributes, L"searchFilter", EvaluateLdap};
constinit const FilterKind kRunOnceFilter{L"FilterRunOnce", kRunOnceAttributes, {}, EvaluateRunOnce};
constinit const FilterKind kWmiFilter{L"FilterWmi", kWmiAttributes, L"query", EvaluateWmi};

} // namespace kx
