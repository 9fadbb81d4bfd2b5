#pragma once

#include "Tools/kx_gpsim/document_diff.h"
#include "Tools/kx_gpsim/ink.h"

#include <string>

namespace kx {

/// What differs, for reading: a section a scope, "+" for what is added, "-" for what is removed, "~" for what
/// is changed or moved, and a line with the sums.
[[nodiscard]] std::string FormatDiffText(const DocumentDiff& diff, const DiffSide& before,
                                         const DiffSide& after, const TextStyle& style = {});

} // namespace kx
