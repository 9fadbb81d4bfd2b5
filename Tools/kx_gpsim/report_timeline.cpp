#include "Tools/kx_gpsim/report_timeline.h"

#include "Tools/kx_gpsim/trace_line.h"

#include <optional>
#include <string_view>

namespace kx {

namespace {

constexpr std::int64_t kDay = 24LL * 60 * 60 * 1000; // milliseconds

} // namespace

std::vector<TimelineEntry> MakeTimeline(std::span<const std::string> trace, const SecretPaths& secrets)
{
    std::vector<TimelineEntry> timeline;
    std::optional<std::int64_t> first;
    for (std::string_view line : trace) {
        const auto time = CutTraceTime(line);
        if (!first && !time) // the trace is without times
            break;
        if (!first)
            first = time;
        if (time)
            timeline.push_back(
                {*time < *first ? *time - *first + kDay : *time - *first, secrets.MaskLine(line)});
    }
    return timeline;
}

} // namespace kx
