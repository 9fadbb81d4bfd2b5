#include "Tests/support/memory_use.h"

#include <windows.h>

#include <psapi.h>

#include <algorithm>
#include <span>
#include <stdexcept>

std::size_t PrivateBytes()
{
    PROCESS_MEMORY_COUNTERS_EX counters{};
    if (!::K32GetProcessMemoryInfo(::GetCurrentProcess(),
                                   reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters), sizeof counters))
        throw std::runtime_error("the system does not tell this process's memory");
    return counters.PagefileUsage; // the same as PrivateUsage, and filled in everywhere
}

std::size_t HeapBytes()
{
    HANDLE heaps[64];
    const DWORD count = std::min<DWORD>(::GetProcessHeaps(ARRAYSIZE(heaps), heaps), ARRAYSIZE(heaps));
    std::size_t bytes = 0;
    for (const HANDLE heap : std::span(heaps, count)) {
        PROCESS_HEAP_ENTRY entry{};
        ::HeapLock(heap);
        while (::HeapWalk(heap, &entry))
            bytes += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? entry.cbData : 0;
        ::HeapUnlock(heap);
    }
    return bytes;
}
