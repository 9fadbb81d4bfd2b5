#include "Common_CPP/trace/default_output.h"

#include <windows.h>

bool D_IsConsoleProgram() noexcept
{
    // The program's image begins where its module handle points (PE format).
    const auto* image = reinterpret_cast<const BYTE*>(::GetModuleHandleW(nullptr));
    if (!image)
        return false;
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(image);
    if (dos->e_magic != IMAGE_DOS_SIGNATURE)
        return false;
    const auto* header = reinterpret_cast<const IMAGE_NT_HEADERS*>(image + dos->e_lfanew);
    if (header->Signature != IMAGE_NT_SIGNATURE)
        return false;
    switch (header->OptionalHeader.Subsystem) {
    case IMAGE_SUBSYSTEM_WINDOWS_CUI:
    case IMAGE_SUBSYSTEM_OS2_CUI:
    case IMAGE_SUBSYSTEM_POSIX_CUI:
        return true;
    default:
        return false;
    }
}
