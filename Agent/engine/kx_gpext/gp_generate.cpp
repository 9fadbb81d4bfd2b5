#include <windows.h>

#include <userenv.h>

/// The engine's planning callback: what would apply to a computer and a user. Not available yet.
extern "C" __declspec(dllexport) DWORD WINAPI
    GenerateGroupPolicy(DWORD /*dwFlags*/, BOOL* /*pbAbort*/, WCHAR* /*pwszSite*/,
                        PRSOP_TARGET /*pComputerTarget*/, PRSOP_TARGET /*pUserTarget*/)
{
    return ERROR_INVALID_FUNCTION;
}
