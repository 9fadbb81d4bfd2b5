#include "Tests/torture/strange_agent.h"

#include <sddl.h>

#include <array>
#include <stdexcept>
#include <utility>

namespace {

constexpr const wchar_t* kEventName = L"Global\\KxGroupPolicyUpdate";
constexpr const wchar_t* kPipeName = L"\\\\.\\pipe\\KxGroupPolicyUpdate";

CkxLocalMemory<void> DescriptorOf(const wchar_t* owner)
{
    CkxLocalMemory<void> descriptor;
    if (owner && !::ConvertStringSecurityDescriptorToSecurityDescriptorW(owner, SDDL_REVISION_1,
                                                                         descriptor.Put(), nullptr))
        throw std::runtime_error("no owner goes by that text");
    return descriptor;
}

} // namespace

StrangeAgent::StrangeAgent(const wchar_t* owner, DWORD takes)
    : _m_descriptor(DescriptorOf(owner)),
      _m_takes(takes),
      _m_event(::CreateEventW(nullptr, FALSE, FALSE, kEventName)),
      _m_next(_MakeInstance())
{
    if (!_m_event || !_m_next)
        throw std::runtime_error("another agent is there");
    _m_server = std::thread([this] { _Serve(); });
}

StrangeAgent::~StrangeAgent()
{
    _m_stops = true;
    CkxFileHandle last(::CreateFileW(kPipeName, FILE_WRITE_DATA, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    last.Reset(); // it comes and goes, so that nobody waits for it
    _m_server.join();
}

// Without room: what is written must be read, or it is lost when the pipe closes.
CkxFileHandle StrangeAgent::_MakeInstance()
{
    SECURITY_ATTRIBUTES attributes{sizeof attributes, _m_descriptor.Get(), FALSE};
    return CkxFileHandle(::CreateNamedPipeW(kPipeName, PIPE_ACCESS_INBOUND, PIPE_TYPE_BYTE | PIPE_WAIT,
                                            PIPE_UNLIMITED_INSTANCES, 0, 0, 0, &attributes));
}

void StrangeAgent::_Serve()
{
    while (!_m_stops && _m_next) {
        const CkxFileHandle pipe = std::move(_m_next);
        _m_next = _MakeInstance(); // before this one is taken: the next sender finds an agent too
        (void)::ConnectNamedPipe(pipe.Get(), nullptr);
        std::array<char, 16> taken{};
        DWORD count = 0;
        for (DWORD left = _m_takes; left != 0; left -= count)
            if (!::ReadFile(pipe.Get(), taken.data(), left, &count, nullptr) || count == 0)
                break;
    }
}

CkxHandle MakeMutexOf(const wchar_t* owner, const wchar_t* name)
{
    const CkxLocalMemory<void> descriptor = DescriptorOf(owner);
    SECURITY_ATTRIBUTES attributes{sizeof attributes, descriptor.Get(), FALSE};
    CkxHandle mutex(::CreateMutexW(&attributes, FALSE, name));
    if (!mutex)
        throw std::runtime_error("the mutex cannot be made");
    return mutex;
}
