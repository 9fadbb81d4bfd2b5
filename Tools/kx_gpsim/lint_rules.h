#pragma once

#include "Tools/kx_gpsim/lint_findings.h"
#include "Tools/kx_gpsim/lint_input.h"

namespace kx {

/// Looks at everything in the set. Linear but for sorting.
[[nodiscard]] LintReport Lint(const LintInput& input);

} // namespace kx
