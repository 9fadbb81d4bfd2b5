#pragma once

#include "Common_CPP/trace/expr_program.h"

#include <string_view>

namespace kx {

/// True when the program matches any part of `subject`; a position is a byte.
///
/// Without back-references the cost is at most proportional to steps times bytes, and the answer is exact.
/// With them it is exact unless a limit of expr_trail_search ends the search, which then counts as no match;
/// so do a subject of 4 GB or more and memory that cannot be had. Up to some sixty steps a search without
/// back-references uses no heap; none uses more than 1 MB of it. Safe in any number of threads.
[[nodiscard]] bool MatchesSomewhere(const ExprProgram& program, std::string_view subject) noexcept;

} // namespace kx
