// <FilterLanguage default="1" system="0" native="0" language="9" locale="1033" displayName="...">: the user's
// locale (default), the computer's (system) or the system's own language (native) is `locale`. The `language`
// beside it is that locale, or the primary language in it.
#include "Tools/targeting/filter_values.h"
#include "Tools/targeting/plain_values.h"

#include <utility>

namespace kx {

namespace {

constexpr std::wstring_view kAttributes[] = {L"default",  L"system", L"native",
                                             L"language", L"locale", L"displayName"};

// What the filter is looking for, where both numbers say the same.
std::optional<std::uint64_t> WantedLocale(const FilterElement& filter)
{
    constexpr std::uint64_t mostLocale = 0xFFFFF;
    constexpr std::uint64_t primaryLanguage = 0x3FF;
    const auto locale = ParseNumber(filter.Value(L"locale"), mostLocale);
    const auto language = ParseNumber(filter.Value(L"language"), mostLocale);
    if (!locale || !language || (*language != *locale && *language != (*locale & primaryLanguage)))
        return std::nullopt;
    return (*locale & ~primaryLanguage) != 0 ? locale : std::nullopt;
}

// Whether all of several must match, or one, is not known; where they agree it does not matter.
FilterAnswer Evaluate(const FilterElement& filter, const TargetingFacts& facts)
{
    constexpr std::pair<const wchar_t*, LanguageOf> choices[] = {
        {L"default", LanguageOf::User}, {L"system", LanguageOf::System}, {L"native", LanguageOf::Native}};

    const auto wanted = WantedLocale(filter);
    if (!wanted)
        return CannotTell(L"locale and language do not name one locale");
    std::optional<bool> answer;
    for (const auto& [attribute, whose] : choices) {
        const auto chosen = OptionalSwitch(filter, attribute);
        if (!chosen)
            return CannotTell(std::wstring(attribute) + L" is neither 0 nor 1");
        if (!*chosen)
            continue;
        const auto language = facts.Language(whose);
        if (!language)
            return CannotTell(L"the language is not known");
        if (answer && *answer != (*language == *wanted))
            return CannotTell(L"of several languages some match and some do not");
        answer = *language == *wanted;
    }
    return answer ? Matches(*answer) : CannotTell(L"none of default, system and native is chosen");
}

} // namespace

constinit const FilterKind kLanguageFilter{L"FilterLanguage", kAttributes, {}, Evaluate};

} // namespace kx
