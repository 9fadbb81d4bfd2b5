#pragma once

#include "Tools/kx_gpsim/lint_findings.h"

#include <string>

namespace kx {

/// The report as JUnit XML, for a CI: a suite with a test case for each finding, and for each file without
/// one. Findings of `failOn` and above are failures; the others pass, with their text as output.
[[nodiscard]] std::string FormatLintJUnit(const LintReport& report, LintSeverity failOn);

} // namespace kx
