#pragma once

#include <cstddef>

namespace kx {

/// Traces that the condition at place `index` names no property.
void ReportRefusedCondition(std::size_t index) noexcept;

} // namespace kx
