// <FilterIpRange min="10.0.0.1" max="10.0.0.255" useIPv6="0">,
// <FilterMacRange min="00-00-00-00-00-00" max="00-FF-FF-FF-FF-FF">: an address of the computer lies in the
// range, its ends included.
#include "Tools/targeting/filter_values.h"
#include "Tools/targeting/plain_values.h"

#include <algorithm>

namespace kx {

namespace {

constexpr std::wstring_view kIpAttributes[] = {L"min", L"max", L"useIPv6"};
constexpr std::wstring_view kMacAttributes[] = {L"min", L"max"};

using AddressReader = std::optional<std::uint64_t> (*)(std::wstring_view);

FilterAnswer MatchRange(const FilterElement& filter, AddressReader read, AddressKind kind,
                        const TargetingFacts& facts)
{
    const auto lowest = read(filter.Value(L"min"));
    const auto highest = read(filter.Value(L"max"));
    if (!lowest || !highest || *lowest > *highest)
        return CannotTell(L"min and max are not addresses, in this order");
    const auto addresses = facts.Addresses(kind);
    if (!addresses)
        return CannotTell(L"the addresses are not known");
    return Matches(std::any_of(addresses->begin(), addresses->end(), [&](std::uint64_t address) {
        return *lowest <= address && address <= *highest;
    }));
}

FilterAnswer EvaluateIp(const FilterElement& filter, const TargetingFacts& facts)
{
    if (OptionalSwitch(filter, L"useIPv6") != false)
        return CannotTell(L"only useIPv6=\"0\" is known");
    return MatchRange(filter, ParseIpv4, AddressKind::Ipv4, facts);
}

FilterAnswer EvaluateMac(const FilterElement& filter, const TargetingFacts& facts)
{
    return MatchRange(filter, ParseMac, AddressKind::Mac, facts);
}

} // namespace

constinit const FilterKind kIpRangeFilter{L"FilterIpRange", kIpAttributes, {}, EvaluateIp};
constinit const FilterKind kMacRangeFilter{L"FilterMacRange", kMacAttributes, {}, EvaluateMac};

} // namespace kx
