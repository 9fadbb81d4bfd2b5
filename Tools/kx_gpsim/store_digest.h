#pragma once

#include "Tools/kx_gpsim/run_result.h"
#include "Tools/rsop_store/rsop_store.h"

#include <vector>

/// What was recorded, in the order of recording; secrets are still in it.
[[nodiscard]] std::vector<kx::RecordedInstance> DigestStore(const CkxRsopStore& store);
