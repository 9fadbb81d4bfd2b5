#pragma once

#include "Tools/kx_gpsim/gpo_source.h"
#include "Tools/kx_gpsim/lint_input.h"

#include <vector>

/// Reads the policy files of the GPOs. The extension's own XML layer says which it takes; where the elements
/// stand is found out apart from it. REQUIRES: COM on the thread.
[[nodiscard]] kx::LintInput ReadForLint(const std::vector<CkxGpoSource>& sources);
