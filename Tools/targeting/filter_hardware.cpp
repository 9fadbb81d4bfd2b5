// <FilterRam totalMB="64">, <FilterCpu speedMHz="1000">, <FilterDisk drive="%SystemDrive%" freeSpace="80">:
// at least that much memory, speed of the first processor, or free space in GB. <FilterBattery>,
// <FilterPcmcia>: there is a battery, or a PC card's slot. <FilterPortable unknown="0" docked="1"
// undocked="1">: a portable computer in one of the chosen states.
#include "Tools/targeting/filter_values.h"
#include "Tools/targeting/plain_values.h"
#include "Tools/targeting/variable_text.h"

#include <utility>

namespace kx {

namespace {

constexpr std::wstring_view kRamAttributes[] = {L"totalMB"};
constexpr std::wstring_view kCpuAttributes[] = {L"speedMHz"};
constexpr std::wstring_view kDiskAttributes[] = {L"drive", L"freeSpace"};
constexpr std::wstring_view kPortableAttributes[] = {L"unknown", L"docked", L"undocked"};

constexpr std::uint64_t kMostNumber = 0xFFFFFFFF; // also in bytes it stays within 64 bits

FilterAnswer MatchLeast(const FilterElement& filter, std::wstring_view attribute,
                        const std::optional<std::uint64_t>& amount, std::uint64_t unit = 1)
{
    const auto least = ParseNumber(filter.Value(attribute), kMostNumber);
    if (!least)
        return CannotTell(std::wstring(attribute) + L" is no number");
    return amount ? Matches(*amount >= *least * unit) : CannotTell(L"the amount is not known");
}

FilterAnswer EvaluateRam(const FilterElement& filter, const TargetingFacts& facts)
{
    return MatchLeast(filter, L"totalMB", facts.Amount(Quantity::RamMegabytes));
}

FilterAnswer EvaluateCpu(const FilterElement& filter, const TargetingFacts& facts)
{
    return MatchLeast(filter, L"speedMHz", facts.Amount(Quantity::CpuMegahertz));
}

// "C:", "C:\", or a name of the system's drive that is no path.
std::optional<wchar_t> DriveOf(const FilterElement& filter, const TargetingFacts& facts)
{
    const std::wstring_view written = filter.Value(L"drive");
    const ExpandedText path =
        ExpandVariables(written == L"SystemDrive" ? std::wstring_view(L"%SystemDrive%") : written, facts);
    const std::wstring drive = facts.Folded(path.text);
    const bool isDrive = drive.size() >= 2 && drive[0] >= L'A' && drive[0] <= L'Z' && drive[1] == L':' &&
                         (drive.size() == 2 || (drive.size() == 3 && drive[2] == L'\\'));
    return path.unknown.empty() && isDrive ? std::optional(drive[0]) : std::nullopt;
}

FilterAnswer EvaluateDisk(const FilterElement& filter, const TargetingFacts& facts)
{
    constexpr std::uint64_t gigabyte = std::uint64_t{1} << 30;
    const auto drive = DriveOf(filter, facts);
    if (!drive)
        return CannotTell(L"the drive is none that is known");
    return MatchLeast(filter, L"freeSpace", facts.FreeBytes(*drive), gigabyte);
}

FilterAnswer EvaluateBattery(const FilterElement& /*filter*/, const TargetingFacts& facts)
{
    return MatchesKnown(facts.Has(Device::Battery), L"whether there is one");
}

FilterAnswer EvaluatePcCard(const FilterElement& /*filter*/, const TargetingFacts& facts)
{
    return MatchesKnown(facts.Has(Device::PcCard), L"whether there is one");
}

FilterAnswer EvaluatePortable(const FilterElement& filter, const TargetingFacts& facts)
{
    constexpr std::pair<const wchar_t*, PortableState> choices[] = {{L"unknown", PortableState::Unknown},
                                                                    {L"docked", PortableState::Docked},
                                                                    {L"undocked", PortableState::Undocked}};
    const auto state = facts.Portable();
    bool anyChosen = false;
    bool matches = false;
    for (const auto& [attribute, choice] : choices) {
        const auto chosen = OptionalSwitch(filter, attribute);
        if (!chosen)
            return CannotTell(std::wstring(attribute) + L" is neither 0 nor 1");
        anyChosen = anyChosen || *chosen;
        matches = matches || (*chosen && state == choice);
    }
    if (!anyChosen || !state)
        return CannotTell(anyChosen ? L"whether it is portable is not known" : L"no state is chosen");
    return Matches(matches);
}

} // namespace

constinit const FilterKind kBatteryFilter{L"FilterBattery", {}, {}, EvaluateBattery};
constinit const FilterKind kCpuFilter{L"FilterCpu", kCpuAttributes, {}, EvaluateCpu};
constinit const FilterKind kDiskFilter{L"FilterDisk", kDiskAttributes, L"drive", EvaluateDisk};
constinit const FilterKind kPcCardFilter{L"FilterPcmcia", {}, {}, EvaluatePcCard};
constinit const FilterKind kPortableFilter{L"FilterPortable", kPortableAttributes, {}, EvaluatePortable};
constinit const FilterKind kRamFilter{L"FilterRam", kRamAttributes, {}, EvaluateRam};

} // namespace kx
