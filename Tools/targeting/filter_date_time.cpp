// The computer's local time:
// <FilterDate period="WEEKLY" dow="MONDAY">, <FilterDate period="MONTHLY" day="1">,
// <FilterDate period="YEARLY" day="24" month="12" year="2026">, the year also absent: on these days.
// <FilterTime begin="08:00:00" end="17:00:00">: from begin to end, both included.
#include "Tools/targeting/filters.h"
#include "Tools/targeting/plain_values.h"

namespace kx {

namespace {

using std::wstring_view;

constexpr wstring_view kDateAttributes[] = {L"period", L"dow", L"day", L"month", L"year"};
constexpr wstring_view kTimeAttributes[] = {L"begin", L"end"};
constexpr wstring_view kNoClock = L"the time is not known";

std::optional<std::chrono::weekday> ParseWeekday(wstring_view text)
{
    constexpr wstring_view names[] = {L"SUNDAY",   L"MONDAY", L"TUESDAY", L"WEDNESDAY",
                                      L"THURSDAY", L"FRIDAY", L"SATURDAY"};
    constexpr std::size_t shortName = 3;
    for (unsigned i = 0; i < std::size(names); ++i)
        if (text == names[i] || text == names[i].substr(0, shortName))
            return std::chrono::weekday(i);
    return std::nullopt;
}

FilterAnswer MatchWeekday(const FilterElement& filter, const LocalMoment& now, const TargetingFacts& facts)
{
    const auto day = ParseWeekday(facts.Folded(filter.Value(L"dow")));
    if (!day)
        return CannotTell(L"the dow is no day's name");
    return Matches(std::chrono::weekday(std::chrono::sys_days(now.date)) == *day);
}

FilterAnswer MatchDay(const FilterElement& filter, const LocalMoment& now, bool yearly)
{
    const auto day = ParseNumber(filter.Value(L"day"), 31);
    const auto month = ParseNumber(filter.Value(L"month"), 12);
    const wstring_view yearText = yearly ? filter.Value(L"year") : wstring_view();
    const auto year = ParseNumber(yearText, 9999);
    const bool isDate = day.value_or(0) > 0 && (!yearly || month.value_or(0) > 0);
    if (!isDate || (!yearText.empty() && year.value_or(0) == 0))
        return CannotTell(L"the day, month or year is none");
    return Matches(unsigned(now.date.day()) == *day && (!yearly || unsigned(now.date.month()) == *month) &&
                   (yearText.empty() || int(now.date.year()) == static_cast<int>(*year)));
}

FilterAnswer EvaluateDate(const FilterElement& filter, const TargetingFacts& facts)
{
    const auto now = facts.Now();
    if (!now)
        return CannotTell(std::wstring(kNoClock));
    const wstring_view period = filter.Value(L"period");
    if (period == L"WEEKLY")
        return MatchWeekday(filter, *now, facts);
    if (period == L"MONTHLY" || period == L"YEARLY")
        return MatchDay(filter, *now, period == L"YEARLY");
    return CannotTell(L"the period is neither WEEKLY, MONTHLY nor YEARLY");
}

FilterAnswer EvaluateTime(const FilterElement& filter, const TargetingFacts& facts)
{
    const auto begin = ParseTime(filter.Value(L"begin"));
    const auto end = ParseTime(filter.Value(L"end"));
    if (!begin || !end || *begin > *end)
        return CannotTell(L"begin and end are not times of day, in this order");
    const auto now = facts.Now();
    return now ? Matches(*begin <= now->secondOfDay && now->secondOfDay <= *end)
               : CannotTell(std::wstring(kNoClock));
}

} // namespace

constinit const FilterKind kDateFilter{L"FilterDate", kDateAttributes, {}, EvaluateDate};
constinit const FilterKind kTimeFilter{L"FilterTime", kTimeAttributes, {}, EvaluateTime};

} // namespace kx
