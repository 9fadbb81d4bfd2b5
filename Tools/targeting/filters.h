#pragma once

#include "Tools/targeting/filter_element.h"
#include "Tools/targeting/targeting_facts.h"

#include <span>
#include <string>
#include <string_view>

namespace kx {

/// What a filter says of the machine and the user. CannotTell: the filter is written in a way that is not
/// understood here, or the system did not answer.
enum class FilterVerdict { No, Yes, CannotTell };

/// A verdict, with the reason where there is none.
struct FilterAnswer {
    FilterVerdict verdict = FilterVerdict::CannotTell;
    std::wstring why; ///< set for CannotTell
};

/// An answer that is known.
[[nodiscard]] inline FilterAnswer Matches(bool matches)
{
    return {matches ? FilterVerdict::Yes : FilterVerdict::No, {}};
}

/// No answer, and why not.
[[nodiscard]] inline FilterAnswer CannotTell(std::wstring why)
{
    return {FilterVerdict::CannotTell, std::move(why)};
}

/// One kind of filter: the element's name, the attributes that it understands beside those that all filters
/// share, and what decides. Negation and joining are none of its business.
struct FilterKind {
    std::wstring_view element;
    std::span<const std::wstring_view> attributes;
    std::wstring_view expanded; ///< the attribute in which % may enclose a name; empty: none
    FilterAnswer (*evaluate)(const FilterElement& filter, const TargetingFacts& facts);
};

// One file each, or a small family; a new kind is declared here and listed in filters.cpp.
extern const FilterKind kBatteryFilter;
extern const FilterKind kComputerFilter;
extern const FilterKind kCpuFilter;
extern const FilterKind kDateFilter;
extern const FilterKind kDiskFilter;
extern const FilterKind kDomainFilter;
extern const FilterKind kFileFilter;
extern const FilterKind kGroupFilter;
extern const FilterKind kIpRangeFilter;
extern const FilterKind kLanguageFilter;
extern const FilterKind kLdapFilter;
extern const FilterKind kMacRangeFilter;
extern const FilterKind kOrgUnitFilter;
extern const FilterKind kOsFilter;
extern const FilterKind kPcCardFilter;
extern const FilterKind kPortableFilter;
extern const FilterKind kProcModeFilter;
extern const FilterKind kRamFilter;
extern const FilterKind kRegistryFilter;
extern const FilterKind kRunOnceFilter;
extern const FilterKind kSiteFilter;
extern const FilterKind kTerminalFilter;
extern const FilterKind kTimeFilter;
extern const FilterKind kUserFilter;
extern const FilterKind kVariableFilter;
extern const FilterKind kWmiFilter;

/// All kinds, sorted by the constants' names.
[[nodiscard]] std::span<const FilterKind* const> FilterKinds();

/// The kind of filter that the element is, or null where it is none that is known.
[[nodiscard]] const FilterKind* FindFilterKind(std::wstring_view element);

} // namespace kx
