#pragma once

#include "Tools/kx_gpsim/run_result.h"

namespace kx {

/// Puts dots in place of every secret of the run, wherever it stands: nothing that is shown or saved holds
/// one.
void MaskSecrets(RunResult& run);

} // namespace kx
