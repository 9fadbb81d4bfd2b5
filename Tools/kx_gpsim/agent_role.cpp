#include "Tools/kx_gpsim/agent_role.h"

#include "Tools/host/update_message.h"
#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/text_file.h"

namespace {

constexpr const wchar_t* kEventName = L"Global\\KxGroupPolicyUpdate";

bool IsAgentThere()
{
    const CkxHandle event(::OpenEventW(SYNCHRONIZE, FALSE, kEventName));
    return event || ::GetLastError() != ERROR_FILE_NOT_FOUND;
}

} // namespace

CkxAgentRole::CkxAgentRole(bool deliver) : _m_delivers(deliver)
{
    if (deliver) {
        if (!IsAgentThere())
            throw kx::EnvironmentError("no agent runs on this machine that an update could be delivered to");
        return;
    }
    const bool there = IsAgentThere();
    const DWORD error = there ? static_cast<DWORD>(ERROR_ALREADY_EXISTS) : _m_listener.Start();
    if (error == ERROR_ALREADY_EXISTS)
        throw kx::EnvironmentError(
            "an agent is there already (the event Global\\KxGroupPolicyUpdate exists); it "
            "is not played beside it, and --deliver says that it is meant");
    if (error != ERROR_SUCCESS)
        throw kx::EnvironmentError("the agent cannot be played: " + kx::SystemText(error));
}

std::optional<std::wstring> CkxAgentRole::Receive(DWORD milliseconds, std::size_t& broken)
{
    if (_m_delivers)
        return std::nullopt;
    const auto message = _m_listener.WaitForMessage(milliseconds);
    if (!message)
        return std::nullopt;
    const auto document = kx::DecodeUpdateMessage(*message);
    if (!document) {
        broken = message->size();
        return std::nullopt;
    }
    return std::wstring(document->begin(), document->end());
}
