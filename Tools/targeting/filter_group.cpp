// <FilterGroup name="DOMAIN\group" sid="S-1-..." userContext="1" primaryGroup="0" localGroup="0">: the user,
// or with userContext="0" the computer, is in the security group; with primaryGroup="1" it is the primary
// one.
#include "Tools/targeting/filter_values.h"
#include "Tools/targeting/plain_values.h"

namespace kx {

namespace {

constexpr std::wstring_view kAttributes[] = {L"name", L"sid", L"userContext", L"primaryGroup", L"localGroup"};

FilterAnswer Evaluate(const FilterElement& filter, const TargetingFacts& facts)
{
    const auto whose = PrincipalOf(filter);
    const auto primary = OptionalSwitch(filter, L"primaryGroup");
    if (!whose || !primary)
        return CannotTell(L"userContext or primaryGroup is neither 0 nor 1");
    if (OptionalSwitch(filter, L"localGroup") != false)
        return CannotTell(L"only localGroup=\"0\" is known");
    const GroupId group{std::wstring(filter.Value(L"name")), std::wstring(filter.Value(L"sid"))};
    if (group.name.empty() && group.sid.empty())
        return CannotTell(L"it has neither name nor sid");
    if (!group.sid.empty() && !IsSid(group.sid))
        return CannotTell(L"the sid is none");
    return MatchesKnown(facts.InGroup(*whose, group, *primary), L"whether it is a member");
}

} // namespace

constinit const FilterKind kGroupFilter{L"FilterGroup", kAttributes, {}, Evaluate};

} // namespace kx
