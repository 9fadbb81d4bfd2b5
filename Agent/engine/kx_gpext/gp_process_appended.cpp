#include <windows.h>

/// Applies policy sets that other components of the agent push. Not available yet.
extern "C" __declspec(dllexport) DWORD WINAPI ProcessAppendedUpdate(const void* /*request*/)
{
    return ERROR_INVALID_FUNCTION;
}

/// Kept for testing.
extern "C" __declspec(dllexport) DWORD WINAPI ProcessAppendedUpdateTestW()
{
    return ERROR_INVALID_FUNCTION;
}
