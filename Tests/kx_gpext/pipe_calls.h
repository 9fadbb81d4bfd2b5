// What the pipe client asks of the system, step by step; any step can be made to fail.
#pragma once

#include "Common_CPP/util/last_error.h"
#include "Common_CPP/util/unique_handle.h"
#include "Tests/support/hook.h"

#include <sddl.h>

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <map>
#include <mutex>
#include <string>
#include <utility>

/// While it lives, the test program's calls around the agent's mutex, event and pipe go through it. One at a
/// time. Steps are those of the thread that made it; handles are counted for all.
class PipeCalls {
  public:
    PipeCalls() = default;
    PipeCalls(const PipeCalls&) = delete;
    PipeCalls& operator=(const PipeCalls&) = delete;

    /// The steps since the last time, with a blank behind each.
    std::string Take() { return std::exchange(_m_steps, {}); }

    /// The next step of this text fails with `error`; a write with error 0 succeeds with half of its bytes.
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

    /// The mutexes, events and files opened since the beginning and not closed.
    [[nodiscard]] std::size_t OpenHandles()
    {
        const std::lock_guard<std::mutex> turn(_m_lock);
        return _m_open.size();
    }

    /// Where the bytes of the last write stood.
    [[nodiscard]] const void* LastWritten() const { return _m_lastWritten; }

  private:
    // For the client's 10 seconds: only what it makes of the end matters.
    static constexpr DWORD c_shortWaitMs = 50;

    // What cleaning up leaves as the last error, so that a caller shows who does not keep the one before.
    static constexpr DWORD c_cleanUpError = 0x12345678;

    template <class... Numbers>
    static std::string _StepText(const char* format, Numbers... numbers)
    {
        char text[64];
        std::snprintf(text, sizeof text, format, numbers...);
        return text;
    }

    static HANDLE WINAPI _CreateMutex(LPSECURITY_ATTRIBUTES security, BOOL owned, LPCWSTR name)
    {
        if (!s_self->_Step(_StepText("mutex(%d,%d)", security != nullptr, owned)))
            return nullptr;
        return s_self->_Opened(ImportHook<&_CreateMutex>::Original(security, owned, name), "mutex");
    }

    static HANDLE WINAPI _OpenEvent(DWORD access, BOOL inherit, LPCWSTR name)
    {
        if (!s_self->_Step(_StepText("event(%lx,%d)", access, inherit)))
            return nullptr;
        return s_self->_Opened(ImportHook<&_OpenEvent>::Original(access, inherit, name), "event");
    }

    static DWORD WINAPI _Wait(HANDLE object, DWORD milliseconds, BOOL alertable)
    {
        if (object == nullptr || s_self->_Names(object, "mutex"))
            (void)s_self->_Step(
                _StepText("%s(%lx,%d)", object ? "turn" : "no-turn", milliseconds, alertable));
        return ImportHook<&_Wait>::Original(object, milliseconds, alertable);
    }

    static BOOL WINAPI _WaitNamedPipe(LPCWSTR name, DWORD milliseconds)
    {
        return s_self->_Step(_StepText("instance(%lu)", milliseconds)) &&
               ImportHook<&_WaitNamedPipe>::Original(name, std::min(milliseconds, c_shortWaitMs));
    }

    static HANDLE WINAPI _CreateFile(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                                     DWORD disposition, DWORD flags, HANDLE model)
    {
        const bool pipe = std::wcsncmp(name, L"\\\\.\\pipe\\", 9) == 0;
        if (pipe && !s_self->_Step(_StepText("open(%lx,%lx,%d,%lx,%lx,%d)", access, share,
                                             security != nullptr, disposition, flags, model != nullptr)))
            return INVALID_HANDLE_VALUE;
        return s_self->_Opened(
            ImportHook<&_CreateFile>::Original(name, access, share, security, disposition, flags, model),
            pipe ? "pipe" : "");
    }

    static BOOL WINAPI _GetSecurity(HANDLE object, SECURITY_INFORMATION what, PSECURITY_DESCRIPTOR descriptor,
                                    DWORD size, LPDWORD needed)
    {
        if (!s_self->_Step("owner"))
            return FALSE;
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
        if (!s_self->_Names(event, "event")) // of some other part of the program
            return ImportHook<&_SetEvent>::Original(event);
        return s_self->_Step("announce") && ImportHook<&_SetEvent>::Original(event);
    }

    static BOOL WINAPI _WriteFile(HANDLE file, LPCVOID bytes, DWORD size, LPDWORD written, LPOVERLAPPED state)
    {
        if (!s_self->_Names(file, "pipe"))
            return ImportHook<&_WriteFile>::Original(file, bytes, size, written, state);
        s_self->_m_lastWritten = bytes;
        if (s_self->_Step(_StepText(state ? "write(%lu,overlapped)" : "write(%lu)", size)))
            return ImportHook<&_WriteFile>::Original(file, bytes, size, written, state);
        if (s_self->_m_error != 0)
            return FALSE;
        *written = size / 2;
        return TRUE;
    }

    static BOOL WINAPI _ReleaseMutex(HANDLE mutex)
    {
        (void)s_self->_Step("release");
        const BOOL released = ImportHook<&_ReleaseMutex>::Original(mutex);
        ::SetLastError(c_cleanUpError);
        return released;
    }

    static BOOL WINAPI _CloseHandle(HANDLE object)
    {
        std::string name;
        {
            const std::lock_guard<std::mutex> turn(s_self->_m_lock);
            if (const auto found = s_self->_m_open.find(object); found != s_self->_m_open.end()) {
                name = found->second;
                s_self->_m_open.erase(found);
            }
        }
        if (!name.empty())
            (void)s_self->_Step("close-" + name);
        const BOOL closed = ImportHook<&_CloseHandle>::Original(object);
        ::SetLastError(c_cleanUpError);
        return closed;
    }

    /// Notes a step; false, with the last error set, when it is to fail.
    bool _Step(const std::string& step)
    {
        if (::GetCurrentThreadId() != _m_thread)
            return true;
        _m_steps += step + ' ';
        if (step != _m_failing)
            return true;
        _m_failing.clear();
        ::SetLastError(_m_error);
        return false;
    }

    /// Notes an object that was opened; `name` is empty where closing it is no step.
    HANDLE _Opened(HANDLE object, const char* name)
    {
        const CkxLastErrorKeeper keeper;
        const std::lock_guard<std::mutex> turn(_m_lock);
        if (object != nullptr && object != INVALID_HANDLE_VALUE)
            _m_open[object] = name;
        return object;
    }

    bool _Names(HANDLE object, const char* name)
    {
        const std::lock_guard<std::mutex> turn(_m_lock);
        const auto found = _m_open.find(object);
        return found != _m_open.end() && found->second == name;
    }

    static inline PipeCalls* s_self = nullptr;

    PipeCalls* const _m_self = s_self = this; ///< before the hooks
    const DWORD _m_thread = ::GetCurrentThreadId();
    std::string _m_steps;
    std::string _m_failing;
    DWORD _m_error = 0;
    std::wstring _m_owner;
    bool _m_pretending = false;
    const void* _m_lastWritten = nullptr;
    std::mutex _m_lock;
    std::map<HANDLE, std::string> _m_open; ///< guarded by _m_lock
    ImportHook<&_CreateMutex> _m_createMutex{"CreateMutexW"};
    ImportHook<&_OpenEvent> _m_openEvent{"OpenEventW"};
    ImportHook<&_Wait> _m_wait{"WaitForSingleObjectEx"};
    ImportHook<&_WaitNamedPipe> _m_waitNamedPipe{"WaitNamedPipeW"};
    ImportHook<&_GetSecurity> _m_getSecurity{"GetKernelObjectSecurity"};
    ImportHook<&_SetEvent> _m_setEvent{"SetEvent"};
    ImportHook<&_WriteFile> _m_writeFile{"WriteFile"};
    ImportHook<&_ReleaseMutex> _m_releaseMutex{"ReleaseMutex"};
    ImportHook<&_CreateFile> _m_createFile{"CreateFileW"};
    ImportHook<&_CloseHandle> _m_closeHandle{"CloseHandle"};
};
