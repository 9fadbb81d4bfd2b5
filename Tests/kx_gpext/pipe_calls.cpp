#include "Tests/kx_gpext/pipe_calls.h"

#include "Common_CPP/util/last_error.h"
#include "Common_CPP/util/unique_handle.h"

#include <sddl.h>

#include <algorithm>
#include <cstdio>
#include <cwchar>

namespace {

constexpr DWORD kShortWaitMs = 50; // for the client's 10 seconds: only what it makes of the end matters

// What cleaning up leaves as the last error, so that a caller shows who does not keep the one before.
constexpr DWORD kCleanUpError = 0x12345678;

template <class... Numbers>
std::string StepText(const char* format, Numbers... numbers)
{
    char text[64];
    std::snprintf(text, sizeof text, format, numbers...);
    return text;
}

bool IsPipeName(const wchar_t* name)
{
    return std::wcsncmp(name, L"\\\\.\\pipe\\", 9) == 0;
}

} // namespace

PipeCalls::PipeCalls()
{
    s_self = this;
    _Watch("CreateMutexW", &_CreateMutex, _m_real.createMutex);
    _Watch("OpenEventW", &_OpenEvent, _m_real.openEvent);
    _Watch("WaitForSingleObjectEx", &_Wait, _m_real.wait);
    _Watch("WaitNamedPipeW", &_WaitNamedPipe, _m_real.waitNamedPipe);
    _Watch("GetKernelObjectSecurity", &_GetSecurity, _m_real.getSecurity);
    _Watch("SetEvent", &_SetEvent, _m_real.setEvent);
    _Watch("WriteFile", &_WriteFile, _m_real.writeFile);
    _Watch("ReleaseMutex", &_ReleaseMutex, _m_real.releaseMutex);
    _Watch("CreateFileW", &_CreateFile, _m_real.createFile);
    _Watch("CloseHandle", &_CloseHandle, _m_real.closeHandle);
}

std::size_t PipeCalls::OpenHandles()
{
    const std::lock_guard<std::mutex> turn(_m_lock);
    return _m_open.size();
}

bool PipeCalls::_Step(const std::string& step)
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

HANDLE PipeCalls::_Opened(HANDLE object, const char* name)
{
    const CkxLastErrorKeeper keeper;
    const std::lock_guard<std::mutex> turn(_m_lock);
    if (object != nullptr && object != INVALID_HANDLE_VALUE)
        _m_open[object] = name;
    return object;
}

bool PipeCalls::_Names(HANDLE object, const char* name)
{
    const std::lock_guard<std::mutex> turn(_m_lock);
    const auto found = _m_open.find(object);
    return found != _m_open.end() && found->second == name;
}

HANDLE WINAPI PipeCalls::_CreateMutex(LPSECURITY_ATTRIBUTES security, BOOL owned, LPCWSTR name)
{
    if (!s_self->_Step(StepText("mutex(%d,%d)", security != nullptr, owned)))
        return nullptr;
    return s_self->_Opened(s_self->_m_real.createMutex(security, owned, name), "mutex");
}

HANDLE WINAPI PipeCalls::_OpenEvent(DWORD access, BOOL inherit, LPCWSTR name)
{
    if (!s_self->_Step(StepText("event(%lx,%d)", access, inherit)))
        return nullptr;
    return s_self->_Opened(s_self->_m_real.openEvent(access, inherit, name), "event");
}

DWORD WINAPI PipeCalls::_Wait(HANDLE object, DWORD milliseconds, BOOL alertable)
{
    if (object == nullptr || s_self->_Names(object, "mutex"))
        (void)s_self->_Step(StepText("%s(%lx,%d)", object ? "turn" : "no-turn", milliseconds, alertable));
    return s_self->_m_real.wait(object, milliseconds, alertable);
}

BOOL WINAPI PipeCalls::_WaitNamedPipe(LPCWSTR name, DWORD milliseconds)
{
    return s_self->_Step(StepText("instance(%lu)", milliseconds)) &&
           s_self->_m_real.waitNamedPipe(name, std::min(milliseconds, kShortWaitMs));
}

HANDLE WINAPI PipeCalls::_CreateFile(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                                     DWORD disposition, DWORD flags, HANDLE model)
{
    const bool pipe = IsPipeName(name);
    if (pipe && !s_self->_Step(StepText("open(%lx,%lx,%d,%lx,%lx,%d)", access, share, security != nullptr,
                                        disposition, flags, model != nullptr)))
        return INVALID_HANDLE_VALUE;
    return s_self->_Opened(
        s_self->_m_real.createFile(name, access, share, security, disposition, flags, model),
        pipe ? "pipe" : "");
}

BOOL WINAPI PipeCalls::_GetSecurity(HANDLE object, SECURITY_INFORMATION what, PSECURITY_DESCRIPTOR descriptor,
                                    DWORD size, LPDWORD needed)
{
    if (!s_self->_Step("owner"))
        return FALSE;
    if (!s_self->_m_pretending)
        return s_self->_m_real.getSecurity(object, what, descriptor, size, needed);
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

BOOL WINAPI PipeCalls::_SetEvent(HANDLE event)
{
    if (!s_self->_Names(event, "event")) // of some other part of the program
        return s_self->_m_real.setEvent(event);
    return s_self->_Step("announce") && s_self->_m_real.setEvent(event);
}

BOOL WINAPI PipeCalls::_WriteFile(HANDLE file, LPCVOID bytes, DWORD size, LPDWORD written, LPOVERLAPPED state)
{
    if (!s_self->_Names(file, "pipe"))
        return s_self->_m_real.writeFile(file, bytes, size, written, state);
    s_self->_m_lastWritten = bytes;
    if (s_self->_Step(StepText(state ? "write(%lu,overlapped)" : "write(%lu)", size)))
        return s_self->_m_real.writeFile(file, bytes, size, written, state);
    if (s_self->_m_error != 0)
        return FALSE;
    *written = size / 2;
    return TRUE;
}

BOOL WINAPI PipeCalls::_ReleaseMutex(HANDLE mutex)
{
    (void)s_self->_Step("release");
    const BOOL released = s_self->_m_real.releaseMutex(mutex);
    ::SetLastError(kCleanUpError);
    return released;
}

BOOL WINAPI PipeCalls::_CloseHandle(HANDLE object)
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
    const BOOL closed = s_self->_m_real.closeHandle(object);
    ::SetLastError(kCleanUpError);
    return closed;
}
