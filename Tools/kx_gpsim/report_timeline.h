#pragma once

#include "Tools/kx_gpsim/report_model.h"
#include "Tools/kx_gpsim/secret_paths.h"

#include <span>
#include <string>
#include <vector>

namespace kx {

/// The lines that begin with a time. Empty where the first line has none; later lines without one are left
/// out.
[[nodiscard]] std::vector<TimelineEntry> MakeTimeline(std::span<const std::string> trace,
                                                      const SecretPaths& secrets);

} // namespace kx
