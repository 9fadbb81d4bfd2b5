#pragma once

#include "Tools/kx_gpsim/lint_findings.h"

#include <string>

namespace kx {

/// The report for programs, indented, ends in a line end. Bytes that are no UTF-8 are replaced.
[[nodiscard]] std::string FormatLintJson(const LintReport& report);

} // namespace kx
