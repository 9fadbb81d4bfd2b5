#include "Agent/engine/kx_gpext/gp_pipe.h"

#include "Agent/engine/kx_gpext/gp_utils.h"
#include "Agent/engine/kx_gpext/trusted_owner.h"
#include "Common_CPP/trace/trace.h"

KXT_CLASS("CkxGpPipe");

namespace {

constexpr const wchar_t* kMutexName = L"Global\\KxGpPipeInUseMutex";
constexpr const wchar_t* kEventName = L"Global\\KxGroupPolicyUpdate";
constexpr const wchar_t* kPipeName = L"\\\\.\\pipe\\KxGroupPolicyUpdate";

constexpr DWORD kInstanceTimeoutMs = 10000;

// Asked for before the statement that prints it: a domain controller may have to be found for the name, and
// the statement holds the trace lock.
CString OwnerText(const CkxObjectOwner& object) noexcept
{
    try {
        return CkxGpUtils::SidToText(object.owner);
    } catch (const CAtlException&) {
        return {};
    }
}

// This sender's turn: the mutex from construction to destruction. The wait's result does not matter: one
// abandoned by a sender that died is ours as well, and without a mutex there is nothing to wait for.
class MutexTurn {
  public:
    explicit MutexTurn(HANDLE mutex) : _m_mutex(mutex)
    {
        (void)::WaitForSingleObjectEx(mutex, INFINITE, FALSE);
    }

    ~MutexTurn()
    {
        const CkxLastErrorKeeper keeper;
        ::ReleaseMutex(_m_mutex);
    }

    MutexTurn(const MutexTurn&) = delete;
    MutexTurn& operator=(const MutexTurn&) = delete;

  private:
    HANDLE _m_mutex;
};

} // namespace

CkxGpPipe::CkxGpPipe()
{
    KXT_SCOPE("CkxGpPipe");
    _OpenMutex();
    _OpenEvent();
}

CkxGpPipe::~CkxGpPipe() = default;

void CkxGpPipe::_OpenMutex()
{
    ::SetLastError(ERROR_SUCCESS);
    _m_mutex.Reset(::CreateMutexW(nullptr, FALSE, kMutexName));
    if (!_m_mutex) {
        KXT_OUT(KXT_ERROR, "ERROR: Failed to create/open KxGpPipeInUseMutex. LastError=" << D_LastError);
        return;
    }
    if (::GetLastError() != ERROR_ALREADY_EXISTS)
        return;
    // Somebody else's mutex, held for ever, would stall every logon.
    const CkxObjectOwner owner = CkxObjectOwner::Of(_m_mutex.Get());
    if (owner.trusted)
        return;
    const CString text = OwnerText(owner);
    KXT_OUT(KXT_ERROR, "ERROR: The mutex KxGpPipeInUseMutex belongs to " << text);
    _m_mutex.Reset();
}

void CkxGpPipe::_OpenEvent()
{
    _m_event.Reset(::OpenEventW(EVENT_MODIFY_STATE, FALSE, kEventName));
    if (!_m_event && ::GetLastError() != ERROR_FILE_NOT_FOUND)
        KXT_OUT(KXT_ERROR, "ERROR: Cannot open KxGroupPolicyUpdate event. LastError=" << D_LastError);
}

bool CkxGpPipe::Send(const CComBSTR& document) const
{
    KXT_SCOPE("Send");
    const auto size = kx::PipePayloadSize(document.Length());
    if (!size) {
        KXT_OUT(KXT_ERROR, "ERROR: The document is too long for one message. Length=" << document.Length());
        return false;
    }
    const MutexTurn turn(_m_mutex.Get()); // before the pipe, which closes first
    CkxFileHandle pipe;
    return _WaitForInstance() && _Connect(pipe) && _Announce() && _Write(pipe, &*size, sizeof *size) &&
           _Write(pipe, document.m_str ? document.m_str : L"", *size);
}

// Which error goes with which words is what administrators' guides quote; keep it.
bool CkxGpPipe::_WaitForInstance() const
{
    if (::WaitNamedPipeW(kPipeName, kInstanceTimeoutMs))
        return true;
    if (::GetLastError() == ERROR_FILE_NOT_FOUND)
        KXT_OUT(KXT_ERROR, "ERROR: WaitNamedPipe(10000) failed. Timeout.");
    else
        KXT_OUT(KXT_ERROR, "ERROR: WaitNamedPipe() failed. Pipe doesn't exist");
    return false;
}

bool CkxGpPipe::_Connect(CkxFileHandle& pipe) const
{
    pipe.Reset(::CreateFileW(kPipeName, READ_CONTROL | FILE_WRITE_DATA, 0, nullptr, OPEN_EXISTING,
                             FILE_FLAG_OVERLAPPED, nullptr));
    if (!pipe) {
        KXT_OUT(KXT_ERROR,
                "ERROR: Cannot open pipe. LastError=" << D_LastError << ". Update skipped till next time.");
        return false;
    }
    // A program of some user may have been first with the pipe's name; it must not be handed policies.
    const CkxObjectOwner owner = CkxObjectOwner::Of(pipe.Get());
    if (owner.trusted)
        return true;
    const CString text = OwnerText(owner);
    KXT_OUT(KXT_ERROR, "ERROR: The update pipe belongs to " << text);
    return false;
}

bool CkxGpPipe::_Announce() const
{
    if (::SetEvent(_m_event.Get()))
        return true;
    KXT_OUT(KXT_INFO,
            "INFO: SetEvent failed. LastError=" << D_LastError << ". Update skipped till next time.");
    return false;
}

// The line says "size" for the payload too; administrators' guides quote it so.
bool CkxGpPipe::_Write(const CkxFileHandle& pipe, const void* bytes, kx::PipeLength size) const
{
    DWORD written = 0;
    ::SetLastError(ERROR_SUCCESS);
    if (::WriteFile(pipe.Get(), bytes, size, &written, nullptr) && written == size)
        return true;
    KXT_OUT(KXT_INFO,
            "INFO: WriteFile(size) failed. LastError=" << D_LastError << ". Update skipped till next time.");
    return false;
}
