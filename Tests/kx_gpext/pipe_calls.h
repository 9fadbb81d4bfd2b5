// What the pipe client asks of the system, step by step; any step can be made to fail.
#pragma once

#include "Tools/host/patched_import.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// While it lives, the test program's calls around the agent's mutex, event and pipe go through it. One at a
/// time. Steps are those of the thread that made it; handles are counted for all.
class PipeCalls {
  public:
    PipeCalls();

    ~PipeCalls()
    {
        _m_patches.clear();
        s_self = nullptr;
    }

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
    [[nodiscard]] std::size_t OpenHandles();

    /// Where the bytes of the last write stood.
    [[nodiscard]] const void* LastWritten() const { return _m_lastWritten; }

  private:
    static HANDLE WINAPI _CreateMutex(LPSECURITY_ATTRIBUTES security, BOOL owned, LPCWSTR name);
    static HANDLE WINAPI _OpenEvent(DWORD access, BOOL inherit, LPCWSTR name);
    static DWORD WINAPI _Wait(HANDLE object, DWORD milliseconds, BOOL alertable);
    static BOOL WINAPI _WaitNamedPipe(LPCWSTR name, DWORD milliseconds);
    static HANDLE WINAPI _CreateFile(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                                     DWORD disposition, DWORD flags, HANDLE model);
    static BOOL WINAPI _GetSecurity(HANDLE object, SECURITY_INFORMATION what, PSECURITY_DESCRIPTOR descriptor,
                                    DWORD size, LPDWORD needed);
    static BOOL WINAPI _SetEvent(HANDLE event);
    static BOOL WINAPI _WriteFile(HANDLE file, LPCVOID bytes, DWORD size, LPDWORD written,
                                  LPOVERLAPPED state);
    static BOOL WINAPI _ReleaseMutex(HANDLE mutex);
    static BOOL WINAPI _CloseHandle(HANDLE object);

    template <class Function>
    void _Watch(const char* name, Function replacement, Function& real)
    {
        _m_patches.push_back(std::make_unique<PatchedImport>(name, reinterpret_cast<void*>(replacement)));
        real = _m_patches.back()->template Original<Function>();
    }

    /// Notes a step; false, with the last error set, when it is to fail.
    bool _Step(const std::string& step);
    /// Notes an object that was opened; `name` is empty where closing it is no step.
    HANDLE _Opened(HANDLE object, const char* name);
    bool _Names(HANDLE object, const char* name);

    static inline PipeCalls* s_self = nullptr;

    struct {
        decltype(&::CreateMutexW) createMutex;
        decltype(&::OpenEventW) openEvent;
        decltype(&::WaitForSingleObjectEx) wait;
        decltype(&::WaitNamedPipeW) waitNamedPipe;
        decltype(&::CreateFileW) createFile;
        decltype(&::GetKernelObjectSecurity) getSecurity;
        decltype(&::SetEvent) setEvent;
        decltype(&::WriteFile) writeFile;
        decltype(&::ReleaseMutex) releaseMutex;
        decltype(&::CloseHandle) closeHandle;
    } _m_real{};

    const DWORD _m_thread = ::GetCurrentThreadId();
    std::string _m_steps;
    std::string _m_failing;
    DWORD _m_error = 0;
    std::wstring _m_owner;
    bool _m_pretending = false;
    const void* _m_lastWritten = nullptr;
    std::mutex _m_lock;
    std::map<HANDLE, std::string> _m_open; ///< guarded by _m_lock
    std::vector<std::unique_ptr<PatchedImport>> _m_patches;
};
