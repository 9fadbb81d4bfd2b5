#include "Tools/rsop_store/local_zone.h"

namespace {

bool ZoneOf(WORD year, TIME_ZONE_INFORMATION& zone) noexcept
{
    return ::GetTimeZoneInformationForYear(year, nullptr, &zone) != FALSE;
}

} // namespace

bool LocalOffset(CkxTime moment, int& minutes) noexcept
{
    SYSTEMTIME utc = {};
    SYSTEMTIME local = {};
    TIME_ZONE_INFORMATION zone = {};
    CkxTime atUtc;
    CkxTime atLocal;
    if (!moment.ToUtc(utc) || !ZoneOf(utc.wYear, zone) ||
        !::SystemTimeToTzSpecificLocalTime(&zone, &utc, &local) || !CkxTime::FromUtc(utc, atUtc) ||
        !CkxTime::FromUtc(local, atLocal))
        return false;
    minutes = std::chrono::duration_cast<std::chrono::duration<int, std::ratio<60>>>(atLocal - atUtc).count();
    return true;
}

bool FromWallTime(const SYSTEMTIME& wall, CkxTime& moment) noexcept
{
    TIME_ZONE_INFORMATION zone = {};
    SYSTEMTIME utc = {};
    return ZoneOf(wall.wYear, zone) && ::TzSpecificLocalTimeToSystemTime(&zone, &wall, &utc) &&
           CkxTime::FromUtc(utc, moment);
}
