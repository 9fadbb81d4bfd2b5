#include "Common_CPP/ntapi/ntapi.h"

#include "Common_CPP/trace/trace.h"

#include <limits>
#include <utility>

KXT_CLASS("CkxNTAPI");

namespace {

using RtlGetVersionFunction = NTSTATUS(NTAPI*)(OSVERSIONINFOEXW*);
using NtQuerySystemInformationFunction = NTSTATUS(NTAPI*)(ULONG, PVOID, ULONG, PULONG);
using NtOpenFileFunction = NTSTATUS(NTAPI*)(PHANDLE, ACCESS_MASK, POBJECT_ATTRIBUTES, PIO_STATUS_BLOCK, ULONG,
                                            ULONG);
using RtlNtStatusToDosErrorFunction = ULONG(NTAPI*)(NTSTATUS);

constexpr auto c_infoLengthMismatch = static_cast<NTSTATUS>(0xC0000004);
constexpr auto c_invalidParameter = static_cast<NTSTATUS>(0xC000000D);

constexpr ULONG c_firstRoom = 16 * 1024;
constexpr ULONG c_mostRoom = 256 * 1024 * 1024;

constexpr ULONG c_shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

} // namespace

FARPROC CkxNTAPI::_Find(const wchar_t* module, const char* name) noexcept
{
    const HMODULE loaded = ::GetModuleHandleW(module);
    const FARPROC function = loaded != nullptr ? ::GetProcAddress(loaded, name) : nullptr;
    if (function == nullptr) {
        KXT_SCOPE("Find");
        KXT_OUT(KXT_ERROR,
                "ERROR: GetProcAddress(" << module << ", " << name << ") failed. LastError=" << D_LastError);
    }
    return function;
}

NTSTATUS CkxNTAPI::GetVersion(OSVERSIONINFOEXW& version) noexcept
{
    const auto function = Find<RtlGetVersionFunction>("RtlGetVersion");
    if (function == nullptr)
        return kx::c_statusProcedureNotFound;
    OSVERSIONINFOEXW found = {};
    found.dwOSVersionInfoSize = sizeof found;
    const NTSTATUS status = function(&found);
    if (NT_SUCCESS(status))
        version = found;
    return status;
}

// The length that the system asks for is missing for some classes and outdated for the others, so the room
// is doubled until it fits.
NTSTATUS CkxNTAPI::QuerySystemInformation(ULONG type, std::vector<BYTE>& information)
{
    const auto function = Find<NtQuerySystemInformationFunction>("NtQuerySystemInformation");
    if (function == nullptr)
        return kx::c_statusProcedureNotFound;
    // Classes of fixed size take exactly that: those tell it, when they are asked with nothing.
    ULONG length = 0;
    NTSTATUS status = function(type, nullptr, 0, &length);
    std::vector<BYTE> room;
    for (ULONG size = length != 0 ? length : c_firstRoom;
         status == c_infoLengthMismatch && size <= c_mostRoom; size *= 2) {
        room.resize(size);
        length = 0;
        status = function(type, room.data(), size, &length);
    }
    if (!NT_SUCCESS(status))
        return status;
    if (length != 0 && length < room.size())
        room.resize(length);
    information = std::move(room);
    return status;
}

NTSTATUS CkxNTAPI::OpenInFolder(HANDLE parent, std::wstring_view name, ACCESS_MASK access, ULONG options,
                                HANDLE& handle) noexcept
{
    const auto function = Find<NtOpenFileFunction>("NtOpenFile");
    if (function == nullptr)
        return kx::c_statusProcedureNotFound;
    const std::size_t bytes = name.size() * sizeof(wchar_t);
    if (name.empty() || name == L"." || name == L".." || name.find(L'\\') != name.npos ||
        bytes > (std::numeric_limits<USHORT>::max)())
        return c_invalidParameter;
    UNICODE_STRING text = {};
    text.Length = static_cast<USHORT>(bytes);
    text.MaximumLength = text.Length;
    text.Buffer = const_cast<wchar_t*>(name.data()); // only read
    OBJECT_ATTRIBUTES attributes = {};
    attributes.Length = sizeof attributes;
    attributes.RootDirectory = parent;
    attributes.ObjectName = &text;
    attributes.Attributes = OBJ_CASE_INSENSITIVE;
    IO_STATUS_BLOCK io = {};
    HANDLE opened = nullptr;
    const NTSTATUS status = function(&opened, access, &attributes, &io, c_shareAll, options);
    if (NT_SUCCESS(status))
        handle = opened;
    return status;
}

DWORD CkxNTAPI::ErrorOf(NTSTATUS status) noexcept
{
    const auto function = Find<RtlNtStatusToDosErrorFunction>("RtlNtStatusToDosError");
    return function != nullptr ? function(status) : static_cast<DWORD>(ERROR_PROC_NOT_FOUND);
}
