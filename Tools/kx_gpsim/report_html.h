#pragma once

#include "Tools/kx_gpsim/report_model.h"
#include "Tools/kx_gpsim/run_result.h"

#include <string>

namespace kx {

/// The report as one HTML file for people: it needs no other file, asks nobody for anything, and its policy
/// has the browser refuse what is not its own. `report` is that of `run`, from whose trace the timeline
/// comes. Names are data in it and never markup, secrets are masked. Grows with the report without its
/// documents.
[[nodiscard]] std::string FormatReportHtml(const RunResult& run, const Report& report);

} // namespace kx
