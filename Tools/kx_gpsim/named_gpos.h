#pragma once

#include "Tools/kx_gpsim/gpo_source.h"

#include <string>
#include <vector>

/// The GPOs at these paths and, where `manifest` is not empty, those that it names instead. Throws UsageError
/// for both, for neither, and where there is no GPO.
[[nodiscard]] std::vector<CkxGpoSource> FindNamedGpos(const std::vector<std::string>& paths,
                                                      const std::string& manifest);
