#pragma once

#include "Tools/kx_gpsim/explain.h"

#include <vector>

namespace kx {

/// The policies that stand in the files of a run's GPOs, as far as these are there and can be read now.
/// REQUIRES: COM on the thread.
[[nodiscard]] std::vector<FiledPolicy> ReadFiledPolicies(const RunResult& run);

} // namespace kx
