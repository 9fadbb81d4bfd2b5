#include "Common_CPP/trace/stream_std.h"

#include <windows.h>

bool D_StdStreamBuf_c::Write(std::string_view text) noexcept
{
    const HANDLE handle = ::GetStdHandle(_m_which == Which::Out ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
    DWORD written = 0;
    return ::WriteFile(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) &&
           written == text.size();
}
