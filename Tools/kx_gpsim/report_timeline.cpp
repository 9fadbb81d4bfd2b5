#include "Tools/kx_gpsim/report_timeline.h"

#include "Tools/kx_gpsim/trace_line.h"

#include <string_view>

namespace kx {

std::vector<TimelineEntry> MakeTimeline(std::span<const std::string> trace, const SecretPaths& secrets)
{
    std::vector<TimelineEntry> timeline;
    CkxTraceClock clock;
    for (std::string_view line : trace) {
        const auto at = clock.Cut(line);
        if (timeline.empty() && !at) // the trace is without times
            break;
        if (at)
            timeline.push_back({*at, secrets.MaskLine(line)});
    }
    return timeline;
}

} // namespace kx
