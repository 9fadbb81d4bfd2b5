// Functions of the NT layer, looked up when they are needed.
#pragma once

#include <windows.h>

#include <winternl.h>

#include <string_view>
#include <vector>

namespace kx {

/// What a call of a function that this system does not have comes to.
constexpr NTSTATUS c_statusProcedureNotFound = static_cast<NTSTATUS>(0xC000007A);

} // namespace kx

/// Finds functions that not every system has, or that no import library names, and wraps those that are used
/// here. A wrapper whose function is absent returns kx::c_statusProcedureNotFound. Failed look-ups are
/// traced, failed calls by the caller, who knows what they mean. Nothing throws unless it says so.
class CkxNTAPI {
  public:
    CkxNTAPI() = delete;

    /// A function by its pointer type, of a module that the process has loaded already. Null, and the last
    /// error says why, when module or function is absent.
    template <class Function>
    [[nodiscard]] static Function Find(const wchar_t* module, const char* name) noexcept
    {
        return reinterpret_cast<Function>(reinterpret_cast<void*>(_Find(module, name)));
    }

    /// The same in ntdll.dll.
    template <class Function>
    [[nodiscard]] static Function Find(const char* name) noexcept
    {
        return Find<Function>(L"ntdll.dll", name);
    }

    /// The version of the running system, whatever the program's manifest declares.
    [[nodiscard]] static NTSTATUS GetVersion(OSVERSIONINFOEXW& version) noexcept;

    /// Reads one class of system information (SystemProcessInformation and its like) whole. On failure
    /// `information` stays as it was. Throws std::bad_alloc.
    [[nodiscard]] static NTSTATUS QuerySystemInformation(ULONG type, std::vector<BYTE>& information);

    /// Opens what is called `name` in the folder `parent`, and nothing outside of it: neither folder names
    /// nor links in front of the name can lead elsewhere. `options` are FILE_OPEN_REPARSE_POINT and its like.
    /// On success the caller closes `handle`.
    [[nodiscard]] static NTSTATUS OpenInFolder(HANDLE parent, std::wstring_view name, ACCESS_MASK access,
                                               ULONG options, HANDLE& handle) noexcept;

    /// The Windows error that stands for a status.
    [[nodiscard]] static DWORD ErrorOf(NTSTATUS status) noexcept;

  private:
    static FARPROC _Find(const wchar_t* module, const char* name) noexcept;
};
