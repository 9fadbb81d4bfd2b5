#pragma once

#include <windows.h>

/// An import that fails. It leaves its arguments alone, so that it stands in for any function.
template <LONG_PTR Result, DWORD Error>
LONG_PTR WINAPI Fail()
{
    ::SetLastError(Error);
    return Result;
}
