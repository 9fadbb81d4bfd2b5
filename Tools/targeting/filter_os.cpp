// <FilterOs class="NT" version="WIN7" type="NE" edition="NE" sp="NE">: the system, in words; NE stands for
// any. What is stated in words decides. Without that, the versions whose words are certain are told by
// number.
#include "Tools/targeting/filter_values.h"

#include <algorithm>
#include <iterator>

namespace kx {

namespace {

constexpr std::wstring_view kAttributes[] = {L"class", L"version", L"type", L"edition", L"sp"};
constexpr std::wstring_view kAny = L"NE";

enum class Roles { Both, Workstation, Server };

struct NamedRelease {
    std::wstring_view word;
    unsigned major, minor;
    Roles roles;

    [[nodiscard]] bool Is(const OsRelease& release) const
    {
        const Roles role = release.isServer ? Roles::Server : Roles::Workstation;
        return major == release.major && minor == release.minor && (roles == Roles::Both || roles == role);
    }
};

constexpr NamedRelease kReleases[] = {
    {L"2K", 5, 0, Roles::Both},      {L"XP", 5, 1, Roles::Workstation},
    {L"2K3", 5, 2, Roles::Server},   {L"VISTA", 6, 0, Roles::Workstation},
    {L"2K8", 6, 0, Roles::Server},   {L"WIN7", 6, 1, Roles::Workstation},
    {L"2K8R2", 6, 1, Roles::Server},
};

std::optional<bool> IsRelease(std::wstring_view word, const TargetingFacts& facts)
{
    const auto* const named = std::find_if(std::begin(kReleases), std::end(kReleases),
                                           [&](const NamedRelease& each) { return each.word == word; });
    const auto release = facts.Release();
    if (named == std::end(kReleases) || !release)
        return std::nullopt;
    return named->Is(*release);
}

std::optional<bool> MatchPart(OsPart part, std::wstring_view wanted, const TargetingFacts& facts)
{
    if (wanted == kAny)
        return true;
    if (const auto stated = facts.OsPartOf(part))
        return facts.Folded(*stated) == facts.Folded(wanted);
    return part == OsPart::Version ? IsRelease(wanted, facts) : std::nullopt;
}

FilterAnswer Evaluate(const FilterElement& filter, const TargetingFacts& facts)
{
    constexpr std::pair<const wchar_t*, OsPart> parts[] = {{L"version", OsPart::Version},
                                                           {L"type", OsPart::Type},
                                                           {L"edition", OsPart::Edition},
                                                           {L"sp", OsPart::ServicePack}};
    if (filter.Value(L"class") != L"NT")
        return CannotTell(L"only class=\"NT\" is known");
    FilterAnswer answer = Matches(true);
    for (const auto& [attribute, part] : parts) {
        const std::wstring_view wanted = filter.Value(attribute);
        if (wanted.empty())
            return CannotTell(std::wstring(L"it has no ") + attribute);
        const auto matches = MatchPart(part, wanted, facts);
        if (!matches)
            answer = CannotTell(std::wstring(L"the system's ") + attribute + L" is not known");
        else if (!*matches)
            return Matches(false);
    }
    return answer;
}

} // namespace

constinit const FilterKind kOsFilter{L"FilterOs", kAttributes, {}, Evaluate};

} // namespace kx
