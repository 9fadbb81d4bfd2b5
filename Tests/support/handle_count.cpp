#include "Tests/support/handle_count.h"

#include <windows.h>

#include <winternl.h>

#include <cstring>
#include <stdexcept>
#include <vector>

namespace {

constexpr auto kSystemHandleInformation = static_cast<SYSTEM_INFORMATION_CLASS>(16);
constexpr NTSTATUS kTooSmall = static_cast<NTSTATUS>(0xC0000004);

// An entry of the list, after the count and its padding.
struct HandleEntry {
    USHORT process;
    USHORT backTrace;
    UCHAR type;
    UCHAR attributes;
    USHORT value;
    void* object;
    ULONG access;
};

std::size_t CountNow()
{
    using Query = NTSTATUS(WINAPI*)(SYSTEM_INFORMATION_CLASS, void*, ULONG, ULONG*);
    static const auto query = reinterpret_cast<Query>(reinterpret_cast<void*>(
        ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
    std::vector<BYTE> list(1 << 18);
    NTSTATUS status = kTooSmall;
    while ((status = query(kSystemHandleInformation, list.data(), static_cast<ULONG>(list.size()),
                           nullptr)) == kTooSmall)
        list.resize(list.size() * 2);
    if (status < 0)
        throw std::runtime_error("the system's handles cannot be listed");
    ULONG count = 0;
    std::memcpy(&count, list.data(), sizeof count);
    std::size_t own = 0;
    for (ULONG i = 0; i < count; ++i) {
        HandleEntry entry;
        std::memcpy(&entry, list.data() + sizeof(void*) + i * sizeof entry, sizeof entry);
        own += entry.process == static_cast<USHORT>(::GetCurrentProcessId());
    }
    return own;
}

} // namespace

std::size_t CountHandles(std::size_t expected)
{
    std::size_t count = CountNow();
    for (int i = 0; expected != 0 && count != expected && i < 100; ++i) {
        ::Sleep(20);
        count = CountNow();
    }
    return count;
}
