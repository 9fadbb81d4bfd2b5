#pragma once

#include "Tools/kx_gpsim/report_model.h"
#include "Tools/kx_gpsim/secret_paths.h"

#include <span>
#include <string>
#include <vector>

namespace kx {

/// The lines that begin with a local time, "12:34:56.789 ", with or without a date "2026-01-31 " before it.
/// Empty where the first line has none; later lines without one are left out, and midnight is passed.
[[nodiscard]] std::vector<TimelineEntry> MakeTimeline(std::span<const std::string> trace,
                                                      const SecretPaths& secrets);

} // namespace kx
