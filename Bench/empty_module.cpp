// A module that does nothing: what loading one costs at the least.
#include <windows.h>

extern "C" __declspec(dllexport) int Nothing()
{
    return 0;
}
