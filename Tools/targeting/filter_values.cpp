#include "Tools/targeting/filter_values.h"

#include "Tools/targeting/plain_values.h"

namespace kx {

std::optional<Principal> PrincipalOf(const FilterElement& filter)
{
    constexpr Word<Principal> words[] = {{L"0", Principal::Computer}, {L"1", Principal::User}};
    return ParseWord(words, filter.Value(L"userContext"));
}

std::optional<VersionRange> VersionRangeOf(const FilterElement& filter)
{
    const auto lowest = ParseFileVersion(filter.Value(L"min"));
    const auto highest = ParseFileVersion(filter.Value(L"max"));
    const auto withLowest = ParseSwitch(filter.Value(L"gte"));
    const auto withHighest = ParseSwitch(filter.Value(L"lte"));
    if (!lowest || !highest || !withLowest || !withHighest)
        return std::nullopt;
    return VersionRange{*lowest, *highest, *withLowest, *withHighest};
}

std::optional<bool> OptionalSwitch(const FilterElement& filter, std::wstring_view attribute)
{
    const std::wstring_view value = filter.Value(attribute);
    return value.empty() ? std::optional(false) : ParseSwitch(value);
}

} // namespace kx
