// What one run came to, GPO by GPO.
#pragma once

#include "Tools/kx_gpsim/ink.h"
#include "Tools/kx_gpsim/run_result.h"

#include <string>

namespace kx {

/// For each pass: a table with what became of each GPO, below it what was excluded, let through or complained
/// about, and the return code with its meaning. UTF-8, lines end in "\n"; secrets are masked.
[[nodiscard]] std::string FormatRunTable(const RunResult& run, const TextStyle& style = {});

} // namespace kx
