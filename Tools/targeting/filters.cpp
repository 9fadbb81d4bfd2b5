#include "Tools/targeting/filters.h"

#include <algorithm>
#include <iterator>

namespace kx {

namespace {

constexpr const FilterKind* kKinds[] = {
    &kBatteryFilter,  &kComputerFilter, &kCpuFilter,     &kDateFilter,     &kDiskFilter,     &kDomainFilter,
    &kFileFilter,     &kGroupFilter,    &kIpRangeFilter, &kLanguageFilter, &kLdapFilter,     &kMacRangeFilter,
    &kOrgUnitFilter,  &kOsFilter,       &kPcCardFilter,  &kPortableFilter, &kProcModeFilter, &kRamFilter,
    &kRegistryFilter, &kRunOnceFilter,  &kSiteFilter,    &kTerminalFilter, &kTimeFilter,     &kUserFilter,
    &kVariableFilter, &kWmiFilter,
};

} // namespace

std::span<const FilterKind* const> FilterKinds()
{
    return kKinds;
}

const FilterKind* FindFilterKind(std::wstring_view element)
{
    const auto* const found = std::find_if(std::begin(kKinds), std::end(kKinds),
                                           [&](const FilterKind* kind) { return kind->element == element; });
    return found == std::end(kKinds) ? nullptr : *found;
}

} // namespace kx
