#pragma once

#include "Tools/kx_gpsim/document_diff.h"

#include <string>

namespace kx {

/// What differs, for programs; indented, ends in a line end. Bytes that are no UTF-8 are replaced.
[[nodiscard]] std::string FormatDiffJson(const DocumentDiff& diff, const DiffSide& before,
                                         const DiffSide& after);

} // namespace kx
