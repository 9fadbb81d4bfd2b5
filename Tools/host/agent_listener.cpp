#include "Tools/host/agent_listener.h"

#include <chrono>
#include <utility>

namespace {

constexpr const wchar_t* kEventName = L"Global\\KxGroupPolicyUpdate";
constexpr const wchar_t* kPipeName = L"\\\\.\\pipe\\KxGroupPolicyUpdate";

constexpr DWORD kBufferSize = 64 * 1024;
constexpr std::size_t kReadSize =
    std::size_t{1024} * 1024; // the read's size decides how fast a large message comes

// `first`: fail unless nobody else has the name, as a real agent should, so that no program of some user
// can be there before it.
CkxFileHandle CreateInstance(bool first)
{
    const DWORD firstOnly = first ? FILE_FLAG_FIRST_PIPE_INSTANCE : 0;
    return CkxFileHandle(::CreateNamedPipeW(kPipeName, PIPE_ACCESS_INBOUND | FILE_FLAG_OVERLAPPED | firstOnly,
                                            PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT,
                                            PIPE_UNLIMITED_INSTANCES, 0, kBufferSize, 0, nullptr));
}

// One overlapped call's state and its event.
class Overlapped {
  public:
    Overlapped() : _m_event(::CreateEventW(nullptr, TRUE, FALSE, nullptr))
    {
        _m_state.hEvent = _m_event.Get();
    }

    OVERLAPPED* Get() { return &_m_state; }

    [[nodiscard]] HANDLE Event() const { return _m_event.Get(); }

  private:
    CkxHandle _m_event;
    OVERLAPPED _m_state{};
};

} // namespace

CkxAgentListener::~CkxAgentListener()
{
    Stop();
}

DWORD CkxAgentListener::Start()
{
    _m_announced.Reset(::CreateEventW(nullptr, FALSE, FALSE, kEventName));
    if (!_m_announced)
        return ::GetLastError();
    if (::GetLastError() == ERROR_ALREADY_EXISTS) {
        _m_announced.Reset();
        return ERROR_ALREADY_EXISTS;
    }
    _m_stop.Reset(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    _m_next = CreateInstance(true);
    if (!_m_stop || !_m_next) {
        const DWORD error = ::GetLastError();
        _m_announced.Reset();
        return error;
    }
    _m_server = std::thread([this] { _Serve(); });
    return ERROR_SUCCESS;
}

void CkxAgentListener::Stop()
{
    if (!_m_server.joinable())
        return;
    ::SetEvent(_m_stop.Get());
    _m_server.join();
    _m_next.Reset();
    _m_announced.Reset();
}

std::optional<std::vector<std::byte>> CkxAgentListener::WaitForMessage(DWORD milliseconds)
{
    std::unique_lock<std::mutex> turn(_m_lock);
    if (!_m_arrived.wait_for(turn, std::chrono::milliseconds(milliseconds),
                             [&] { return !_m_messages.empty(); }))
        return std::nullopt;
    std::vector<std::byte> message = std::move(_m_messages.front());
    _m_messages.pop_front();
    return message;
}

bool CkxAgentListener::TakeAnnouncement()
{
    return ::WaitForSingleObject(_m_announced.Get(), 0) == WAIT_OBJECT_0;
}

void CkxAgentListener::_Serve()
{
    while (_m_next) {
        const CkxFileHandle pipe = std::move(_m_next);
        // Before this one is taken: a sender that finds no free instance may take the agent for absent.
        _m_next = CreateInstance(false);
        if (!_WaitForClient(pipe.Get()))
            return;
        std::vector<std::byte> message = _ReadToEnd(pipe.Get());
        const std::lock_guard<std::mutex> turn(_m_lock);
        _m_messages.push_back(std::move(message));
        _m_arrived.notify_all();
    }
}

// False when the listener is to stop.
bool CkxAgentListener::_WaitForClient(HANDLE pipe) const
{
    Overlapped connect;
    const DWORD error = ::ConnectNamedPipe(pipe, connect.Get()) ? ERROR_PIPE_CONNECTED : ::GetLastError();
    if (error == ERROR_PIPE_CONNECTED || error == ERROR_NO_DATA) // there already, perhaps even gone again
        return true;
    if (error != ERROR_IO_PENDING)
        return false;
    const HANDLE events[] = {connect.Event(), _m_stop.Get()};
    const bool stopped = ::WaitForMultipleObjects(2, events, FALSE, INFINITE) != WAIT_OBJECT_0;
    DWORD ignored = 0;
    if (stopped)
        ::CancelIo(pipe);
    return ::GetOverlappedResult(pipe, connect.Get(), &ignored, TRUE) && !stopped;
}

std::vector<std::byte> CkxAgentListener::_ReadToEnd(HANDLE pipe) const
{
    std::vector<std::byte> message;
    for (;;) {
        const std::size_t used = message.size();
        message.resize(used + kReadSize);
        Overlapped read;
        DWORD count = 0;
        const bool done =
            ::ReadFile(pipe, message.data() + used, static_cast<DWORD>(kReadSize), nullptr, read.Get()) ||
            ::GetLastError() == ERROR_IO_PENDING;
        if (!done || !::GetOverlappedResult(pipe, read.Get(), &count, TRUE))
            count = 0;
        message.resize(used + count);
        if (count == 0)
            return message;
    }
}
