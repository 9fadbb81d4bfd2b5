#pragma once

#include "Tools/kx_gpsim/report_gpos.h"
#include "Tools/kx_gpsim/report_model.h"

#include <cstddef>
#include <vector>

namespace kx {

/// For each pass and each of its policies in document order: where it stands in Report::policies.
using PolicyPlaces = std::vector<std::vector<std::size_t>>;

/// Adds the policies of all passes in ascending order, and tells those apart that share an id. Where a pass
/// has no document, its policies are those that were recorded; they have no places.
[[nodiscard]] PolicyPlaces AddPolicies(const RunResult& run, ReportGpos& gpos, Report& report);

} // namespace kx
