#pragma once

#include "Common_CPP/trace/expr_program.h"

#include <cstdint>
#include <string_view>

namespace kx {

/// Steps after which a search with back-references gives up, taken over all start positions: four times the
/// program's size times the subject's, between these two. That is 2 ms where both are 260 characters.
inline constexpr std::uint64_t kMinSearchSteps = 250'000;
inline constexpr std::uint64_t kMaxSearchSteps = 4'000'000;

/// Choices and changes that a search with back-references remembers at most, of eight bytes each.
inline constexpr std::uint32_t kMaxSearchTrail = 100'000;

/// True when a program that is not leftward matches any part of `subject`, which is shorter than 4 GB. False
/// also when a limit ends the search first, or memory cannot be had. Never recurses; safe in any number of
/// threads.
[[nodiscard]] bool SearchByTrail(const ExprProgram& program, std::string_view subject) noexcept;

} // namespace kx
