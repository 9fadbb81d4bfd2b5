#pragma once

#include "Common_CPP/trace/time_tokens.h"

/// The local wall clock, now.
[[nodiscard]] kx::LocalTime D_ReadLocalClock() noexcept;
