// <FilterUser name="DOMAIN\user" sid="S-1-...">: whom the policy is applied for. A sid decides alone, where
// the user's is known; else the name does, whose two parts may hold wildcards.
#include "Tools/targeting/filters.h"
#include "Tools/targeting/name_pattern.h"
#include "Tools/targeting/plain_values.h"

namespace kx {

namespace {

constexpr std::wstring_view kAttributes[] = {L"name", L"sid"};

// The parts of DOMAIN\user; nullopt where there is no backslash.
struct AccountName {
    std::wstring_view domain;
    std::wstring_view user;
};

std::optional<AccountName> SplitName(std::wstring_view name)
{
    const std::size_t split = name.find(L'\\');
    if (split == std::wstring_view::npos)
        return std::nullopt;
    return AccountName{name.substr(0, split), name.substr(split + 1)};
}

FilterAnswer MatchName(std::wstring_view wanted, const TargetingFacts& facts)
{
    const std::wstring pattern = facts.Folded(wanted);
    const auto patterns = SplitName(pattern);
    if (!patterns)
        return CannotTell(L"the name is not of the form DOMAIN\\user");
    const std::wstring name = facts.Folded(facts.UserName().value_or(std::wstring()));
    const auto names = SplitName(name);
    if (!names)
        return CannotTell(L"the user's name is not known");
    return Matches(MatchesPattern(names->domain, patterns->domain) &&
                   MatchesPattern(names->user, patterns->user));
}

FilterAnswer Evaluate(const FilterElement& filter, const TargetingFacts& facts)
{
    const std::wstring_view wanted = filter.Value(L"sid");
    const std::wstring_view name = filter.Value(L"name");
    if (wanted.empty())
        return MatchName(name, facts);
    if (!IsSid(wanted))
        return CannotTell(L"the sid is none");
    if (const auto sid = facts.UserSid())
        return Matches(*sid == wanted);
    return name.empty() ? CannotTell(L"the user's sid is not known") : MatchName(name, facts);
}

} // namespace

constinit const FilterKind kUserFilter{L"FilterUser", kAttributes, {}, Evaluate};

} // namespace kx
