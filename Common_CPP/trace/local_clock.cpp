#include "Common_CPP/trace/local_clock.h"

#include <windows.h>

kx::LocalTime D_ReadLocalClock() noexcept
{
    SYSTEMTIME now;
    ::GetLocalTime(&now);
    return {now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds};
}
