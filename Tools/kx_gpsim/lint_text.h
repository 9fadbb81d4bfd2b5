#pragma once

#include "Tools/kx_gpsim/ink.h"
#include "Tools/kx_gpsim/lint_findings.h"

#include <string>

namespace kx {

/// A line a finding, in the form that editors and build logs know, and a line with the sums:
///
///     PATH:3:12: warning: the order ... is no number [KX1102]
[[nodiscard]] std::string FormatLintText(const LintReport& report, const TextStyle& style = {});

/// "3 errors, 1 warning, 0 notes in 7 files", and what was silenced.
[[nodiscard]] std::string LintSummary(const LintReport& report);

} // namespace kx
