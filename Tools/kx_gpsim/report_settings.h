#pragma once

#include "Tools/kx_gpsim/report_gpos.h"
#include "Tools/kx_gpsim/report_policies.h"
#include "Tools/kx_gpsim/secret_paths.h"

namespace kx {

/// Adds the configuration paths of all passes. Who wins a path is what the RSoP data says; the others are
/// those that the document holds besides.
void AddSettings(const RunResult& run, const PolicyPlaces& places, const SecretPaths& secrets,
                 ReportGpos& gpos, Report& report);

} // namespace kx
