#include "Tools/kx_gpsim/report_timeline.h"

#include <optional>
#include <string_view>

namespace kx {

namespace {

constexpr std::int64_t kDay = 24LL * 60 * 60 * 1000; // milliseconds

// 'd' stands for a digit, all else for itself.
bool BeginsAs(std::string_view text, std::string_view form)
{
    if (text.size() < form.size())
        return false;
    for (std::size_t at = 0; at < form.size(); ++at) {
        const bool isDigit = text[at] >= '0' && text[at] <= '9';
        if (form[at] == 'd' ? !isDigit : text[at] != form[at])
            return false;
    }
    return true;
}

std::int64_t NumberAt(std::string_view text, std::size_t at, std::size_t size)
{
    std::int64_t number = 0;
    for (const char digit : text.substr(at, size))
        number = number * 10 + (digit - '0');
    return number;
}

struct TimedLine {
    std::int64_t timeOfDay; // milliseconds
    std::string_view rest;
};

std::optional<TimedLine> ReadLine(std::string_view line)
{
    constexpr std::string_view date = "dddd-dd-dd ";
    constexpr std::string_view time = "dd:dd:dd.ddd ";
    if (BeginsAs(line, date))
        line.remove_prefix(date.size());
    if (!BeginsAs(line, time))
        return std::nullopt;
    const std::int64_t minutes = NumberAt(line, 0, 2) * 60 + NumberAt(line, 3, 2);
    const std::int64_t seconds = minutes * 60 + NumberAt(line, 6, 2);
    return TimedLine{seconds * 1000 + NumberAt(line, 9, 3), line.substr(time.size())};
}

} // namespace

std::vector<TimelineEntry> MakeTimeline(std::span<const std::string> trace, const SecretPaths& secrets)
{
    std::vector<TimelineEntry> timeline;
    const auto first = trace.empty() ? std::nullopt : ReadLine(trace.front());
    if (!first)
        return timeline;
    for (const std::string& text : trace)
        if (const auto line = ReadLine(text)) {
            const std::int64_t passed = line->timeOfDay - first->timeOfDay;
            timeline.push_back({passed < 0 ? passed + kDay : passed, secrets.MaskLine(line->rest)});
        }
    return timeline;
}

} // namespace kx
