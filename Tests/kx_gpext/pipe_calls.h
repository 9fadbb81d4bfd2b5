// What the pipe client asks of the system, step by step; any step can be made to fail.
#pragma once

#include "Common_CPP/util/unique_handle.h"
#include "Tests/support/hook.h"

#include <sddl.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

/// While it lives, the test program's calls around the agent's mutex, event and pipe go through it. One at a
/// time. Steps are those of the thread that made it: "turn" or "no-turn", "instance", "open", "owner",
/// "announce", "length", "text", "release".
class PipeCalls {
  public:
    PipeCalls() = default;
    PipeCalls(const PipeCalls&) = delete;
    PipeCalls& operator=(const PipeCalls&) = delete;

    /// The steps since the last time, with a blank behind each.
    std::string Take() { return std::exchange(_m_steps, {}); }

    /// The next step of this name fails with `error`; a write with error 0 succeeds with half of its bytes.
    void Fail(std::string step, DWORD error)
    {
        _m_failing = std::move(step);
        _m_error = error;
    }

    /// From now on the system says that every object belongs to the owner in this security descriptor text;
    /// for "" it refuses to say.
    void PretendOwner(std::wstring sddl)
    {
        _m_owner = std::move(sddl);
        _m_pretending = true;
    }

  private:
    // For the client's 10 seconds: only what it makes of the end matters.
    static constexpr DWORD c_shortWaitMs = 50;

    // What cleaning up leaves as the last error, so that a caller shows who does not keep the one before.
    static constexpr DWORD c_cleanUpError = 0x12345678;

    static DWORD WINAPI _Wait(HANDLE object, DWORD milliseconds, BOOL alertable)
    {
        (void)s_self->_Step(object ? "turn" : "no-turn");
        return ImportHook<&_Wait>::Original(object, milliseconds, alertable);
    }

    static BOOL WINAPI _WaitNamedPipe(LPCWSTR name, DWORD milliseconds)
    {
        return s_self->_Step("instance") &&
               ImportHook<&_WaitNamedPipe>::Original(name, std::min(milliseconds, c_shortWaitMs));
    }

    static HANDLE WINAPI _CreateFile(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                                     DWORD disposition, DWORD flags, HANDLE model)
    {
        if (std::wstring_view(name).starts_with(L"\\\\.\\pipe\\") && !s_self->_Step("open"))
            return INVALID_HANDLE_VALUE;
        return ImportHook<&_CreateFile>::Original(name, access, share, security, disposition, flags, model);
    }

    static BOOL WINAPI _GetSecurity(HANDLE object, SECURITY_INFORMATION what, PSECURITY_DESCRIPTOR descriptor,
                                    DWORD size, LPDWORD needed)
    {
        (void)s_self->_Step("owner");
        if (!s_self->_m_pretending)
            return ImportHook<&_GetSecurity>::Original(object, what, descriptor, size, needed);
        CkxLocalMemory<void> pretended;
        if (!::ConvertStringSecurityDescriptorToSecurityDescriptorW(s_self->_m_owner.c_str(), SDDL_REVISION_1,
                                                                    pretended.Put(), needed) ||
            *needed > size || s_self->_m_owner.empty()) {
            ::SetLastError(ERROR_ACCESS_DENIED);
            return FALSE;
        }
        std::copy_n(static_cast<const BYTE*>(pretended.Get()), *needed, static_cast<BYTE*>(descriptor));
        return TRUE;
    }

    static BOOL WINAPI _SetEvent(HANDLE event)
    {
        return s_self->_Step("announce") && ImportHook<&_SetEvent>::Original(event);
    }

    static BOOL WINAPI _WriteFile(HANDLE file, LPCVOID bytes, DWORD size, LPDWORD written, LPOVERLAPPED state)
    {
        if (s_self->_Step(size == 4 ? "length" : "text"))
            return ImportHook<&_WriteFile>::Original(file, bytes, size, written, state);
        *written = size / 2;
        return s_self->_m_error == 0;
    }

    static BOOL WINAPI _ReleaseMutex(HANDLE mutex)
    {
        (void)s_self->_Step("release");
        const BOOL released = ImportHook<&_ReleaseMutex>::Original(mutex);
        ::SetLastError(c_cleanUpError);
        return released;
    }

    /// Notes a step; false, with the last error set, when it is to fail.
    bool _Step(std::string_view step)
    {
        if (::GetCurrentThreadId() != _m_thread)
            return true;
        _m_steps.append(step).append(1, ' ');
        if (step != _m_failing)
            return true;
        _m_failing.clear();
        ::SetLastError(_m_error);
        return false;
    }

    static inline PipeCalls* s_self = nullptr;

    PipeCalls* const _m_self = s_self = this; ///< before the hooks
    const DWORD _m_thread = ::GetCurrentThreadId();
    std::string _m_steps;
    std::string _m_failing;
    DWORD _m_error = 0;
    std::wstring _m_owner;
    bool _m_pretending = false;
    ImportHook<&_Wait> _m_wait{"WaitForSingleObjectEx"};
    ImportHook<&_WaitNamedPipe> _m_waitNamedPipe{"WaitNamedPipeW"};
    ImportHook<&_GetSecurity> _m_getSecurity{"GetKernelObjectSecurity"};
    ImportHook<&_SetEvent> _m_setEvent{"SetEvent"};
    ImportHook<&_WriteFile> _m_writeFile{"WriteFile"};
    ImportHook<&_ReleaseMutex> _m_releaseMutex{"ReleaseMutex"};
    ImportHook<&_CreateFile> _m_createFile{"CreateFileW"};
};
