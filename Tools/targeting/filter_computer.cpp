// <FilterComputer type="NETBIOS" name="PC-*">: the computer's name, NetBIOS or full DNS; wildcards allowed.
#include "Tools/targeting/filters.h"
#include "Tools/targeting/name_pattern.h"

namespace kx {

namespace {

constexpr std::wstring_view kAttributes[] = {L"name", L"type"};

std::optional<ComputerName> KindOf(std::wstring_view type)
{
    if (type == L"NETBIOS")
        return ComputerName::NetBios;
    if (type == L"DNS")
        return ComputerName::Dns;
    return std::nullopt;
}

FilterAnswer Evaluate(const FilterElement& filter, const TargetingFacts& facts)
{
    const auto kind = KindOf(filter.Value(L"type"));
    if (!kind)
        return CannotTell(L"the type is neither NETBIOS nor DNS");
    const std::wstring_view pattern = filter.Value(L"name");
    if (pattern.empty())
        return CannotTell(L"it has no name");
    const auto name = facts.NameOf(*kind);
    if (!name)
        return CannotTell(L"the computer's name is not known");
    return Matches(MatchesPattern(facts.Folded(*name), facts.Folded(pattern)));
}

} // namespace

constinit const FilterKind kComputerFilter{L"FilterComputer", kAttributes, {}, Evaluate};

} // namespace kx
