#pragma once

#include "Tools/kx_gpsim/ink.h"
#include "Tools/kx_gpsim/report_model.h"

#include <string>

namespace kx {

/// The report for reading: what came of each pass, the GPOs, the policies in the agent's order, the ids that
/// several have, the configuration with winners and others, and what the words mean. UTF-8, lines end in
/// "\n".
[[nodiscard]] std::string FormatReportText(const Report& report, const TextStyle& style = {});

} // namespace kx
