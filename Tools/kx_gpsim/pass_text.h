#pragma once

#include "Tools/kx_gpsim/ink.h"
#include "Tools/kx_gpsim/report_model.h"
#include "Tools/kx_gpsim/text_table.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kx {

/// What became of each GPO in one pass, what was excluded, let through and complained about, and what the
/// call returned.
[[nodiscard]] std::string FormatPass(const Report& report, std::size_t pass, const TextStyle& style);

/// A GPO as people call it: its display name, or its name without one. Empty for kNoIndex.
[[nodiscard]] std::string GpoLabel(const Report& report, std::size_t gpo);

/// A line that begins a section, with an empty line before it.
[[nodiscard]] std::string HeadingLine(std::string_view text, const TextStyle& style);

/// A table with a heading line; nothing at all without rows.
[[nodiscard]] std::string FormatSection(std::string_view heading, std::span<const TableColumn> columns,
                                        const std::vector<std::vector<std::string>>& rows,
                                        const TextStyle& style);

} // namespace kx
