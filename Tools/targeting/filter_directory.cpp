// Where the user or the computer (userContext="1" or "0") stands in the directory:
// <FilterDomain name="FERNHILL" userContext="1">: in the domain of that NetBIOS or DNS name.
// <FilterOrgUnit name="OU=Hall 2,DC=..." userContext="0" directMember="0">: in the unit, or with
// directMember="0" also in one below it.
// <FilterSite name="North">: the computer is in the site.
#include "Tools/targeting/distinguished_name.h"
#include "Tools/targeting/filter_values.h"

#include <algorithm>

namespace kx {

namespace {

constexpr std::wstring_view kDomainAttributes[] = {L"name", L"userContext"};
constexpr std::wstring_view kUnitAttributes[] = {L"name", L"userContext", L"directMember"};
constexpr std::wstring_view kSiteAttributes[] = {L"name"};

bool IsDnsName(std::wstring_view name)
{
    return name.find(L'.') != std::wstring_view::npos;
}

// Names stand for themselves; whether one may hold wildcards is not known.
bool IsPlainName(std::wstring_view name)
{
    return !name.empty() && name.find_first_of(L"*?") == std::wstring_view::npos;
}

FilterAnswer EvaluateDomain(const FilterElement& filter, const TargetingFacts& facts)
{
    const std::wstring wanted = facts.Folded(filter.Value(L"name"));
    const auto whose = PrincipalOf(filter);
    if (!whose || !IsPlainName(wanted))
        return CannotTell(L"it needs a name without wildcards, userContext as 0 or 1");
    const auto names = facts.DomainOf(*whose);
    if (!names)
        return CannotTell(L"the domain is not known");
    bool comparable = names->empty();
    for (const std::wstring& name : *names) {
        if (facts.Folded(name) == wanted)
            return Matches(true);
        comparable = comparable || IsDnsName(name) == IsDnsName(wanted);
    }
    return comparable ? Matches(false) : CannotTell(L"the domain is known by another kind of name only");
}

FilterAnswer EvaluateUnit(const FilterElement& filter, const TargetingFacts& facts)
{
    const auto whose = PrincipalOf(filter);
    const auto direct = OptionalSwitch(filter, L"directMember");
    const auto wanted = SplitDistinguishedName(facts.Folded(filter.Value(L"name")));
    if (!whose || !direct || wanted.empty())
        return CannotTell(L"it needs a distinguished name, userContext and directMember as 0 or 1");
    const auto unit = facts.UnitOf(*whose);
    if (!unit)
        return CannotTell(L"the organisational unit is not known");
    const auto parts = SplitDistinguishedName(facts.Folded(*unit));
    return Matches(*direct ? parts == wanted : StandsWithin(parts, wanted));
}

FilterAnswer EvaluateSite(const FilterElement& filter, const TargetingFacts& facts)
{
    const std::wstring_view wanted = filter.Value(L"name");
    if (!IsPlainName(wanted))
        return CannotTell(L"it needs a name without wildcards");
    const auto site = facts.Site();
    return site ? Matches(facts.Folded(*site) == facts.Folded(wanted)) : CannotTell(L"the site is not known");
}

} // namespace

constinit const FilterKind kDomainFilter{L"FilterDomain", kDomainAttributes, {}, EvaluateDomain};
constinit const FilterKind kOrgUnitFilter{L"FilterOrgUnit", kUnitAttributes, {}, EvaluateUnit};
constinit const FilterKind kSiteFilter{L"FilterSite", kSiteAttributes, {}, EvaluateSite};

} // namespace kx
