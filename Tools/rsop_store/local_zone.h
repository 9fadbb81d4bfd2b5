#pragma once

#include "Common_CPP/util/kx_time.h"

/// How many minutes the wall clocks of this machine are ahead of UTC at that very moment, by the daylight
/// rule of its year. False beyond the calendar; `minutes` then stays as it was.
[[nodiscard]] bool LocalOffset(CkxTime moment, int& minutes) noexcept;

/// The moment at which wall clocks of this machine show `wall`; for the hour that they show twice, one of the
/// two. False for a time that does not exist; `moment` then stays as it was.
[[nodiscard]] bool FromWallTime(const SYSTEMTIME& wall, CkxTime& moment) noexcept;
