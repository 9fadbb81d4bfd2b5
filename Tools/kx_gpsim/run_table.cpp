#include "Tools/kx_gpsim/run_table.h"

#include "Tools/kx_gpsim/pass_text.h"

namespace kx {

// By way of the report, so that both say the same and secrets are masked in one place.
std::string FormatRunTable(const RunResult& run, const TextStyle& style)
{
    const Report report = MakeReport(run);
    std::string text;
    for (std::size_t pass = 0; pass < report.passes.size(); ++pass)
        text += FormatPass(report, pass, style);
    return text.empty() ? text : text.substr(1); // the empty line before the first heading
}

} // namespace kx
