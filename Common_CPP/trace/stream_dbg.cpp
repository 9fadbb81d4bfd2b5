#include "Common_CPP/trace/stream_dbg.h"

#include <windows.h>

// The debugger call takes text up to a NUL and, in the usual listeners, at most 4 KB at a time.
bool dbgstreambuf::Write(std::string_view text) noexcept
{
    char chunk[4000];
    while (!text.empty()) {
        const std::size_t size = text.copy(chunk, sizeof chunk - 1);
        chunk[size] = '\0';
        ::OutputDebugStringA(chunk);
        text.remove_prefix(size);
    }
    return true;
}
