#include "Tools/kx_gpsim/recorded_values.h"

#include "Tools/kx_gpsim/text_case.h"

#include <charconv>
#include <limits>

namespace kx {

bool IsPolicySetting(const RecordedInstance& instance)
{
    return EqualNoCase(instance.className, "RSOP_KxTesmorPolicySetting");
}

bool IsConfiguration(const RecordedInstance& instance)
{
    return EqualNoCase(instance.className, "RSOP_KxTesmorConfig");
}

std::string_view TextOf(const RecordedInstance& instance, std::string_view property)
{
    for (const RecordedProperty& candidate : instance.properties)
        if (EqualNoCase(candidate.name, property))
            return candidate.isNull ? std::string_view() : std::string_view(candidate.value);
    return {};
}

// Stores that keep the number in a signed property write the high ones as negative.
std::uint32_t PrecedenceOf(const RecordedInstance& instance)
{
    const std::string_view text = TextOf(instance, "precedence");
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    const bool fits = value >= std::numeric_limits<std::int32_t>::min() &&
                      value <= std::numeric_limits<std::uint32_t>::max();
    return isNumber && fits ? static_cast<std::uint32_t>(value) : 0;
}

std::string_view GpoNameOf(std::string_view gpoId)
{
    constexpr std::string_view key = "cn=";
    if (!StartsWithNoCase(gpoId, key))
        return gpoId;
    const std::string_view rest = gpoId.substr(key.size());
    return rest.substr(0, rest.find(','));
}

std::string ReadableTime(std::string_view wmiTime)
{
    constexpr std::string_view form = "dddddddddddddd.dddddd+000";
    if (wmiTime.size() != form.size())
        return std::string(wmiTime);
    for (std::size_t at = 0; at < form.size(); ++at) {
        const bool isDigit = wmiTime[at] >= '0' && wmiTime[at] <= '9';
        if (form[at] == 'd' ? !isDigit : wmiTime[at] != form[at])
            return std::string(wmiTime);
    }
    const auto part = [&](std::size_t at, std::size_t size) { return std::string(wmiTime.substr(at, size)); };
    return part(0, 4) + "-" + part(4, 2) + "-" + part(6, 2) + "T" + part(8, 2) + ":" + part(10, 2) + ":" +
           part(12, 2) + "Z";
}

} // namespace kx
