#pragma once

#include "Tools/kx_gpsim/run_result.h"
#include "Tools/kx_gpsim/trace_digest.h"

#include <vector>

namespace kx {

/// Puts together what is known of each GPO: `changed` as it was put before the extension, the trace's digest,
/// and the policies that arrived. The deleted ones follow.
[[nodiscard]] std::vector<GpoOutcome> GatherOutcomes(const std::vector<GpoInput>& changed,
                                                     const std::vector<GpoInput>& deleted,
                                                     const TraceDigest& digest,
                                                     const std::vector<SentPolicy>& policies);

} // namespace kx
