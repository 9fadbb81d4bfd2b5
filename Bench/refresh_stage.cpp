#include "Bench/refresh_stage.h"

#include "Tools/host/update_message.h"

#include <objbase.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr DWORD kMessageTimeoutMs = 120000;
constexpr std::size_t kLengthSize = 4;

} // namespace

CkxRefreshStage::CkxRefreshStage()
{
    const std::wstring module = _m_folder / L"kx_gpext.dll";
    Require(::CopyFileW(KX_STAGE L"\\kx_gpext.dll", module.c_str(), TRUE), "the extension's copy");
    Require(_m_extension.Load(module.c_str()) == ERROR_SUCCESS, "loading the extension");
    Require(_m_agent.Start() == ERROR_SUCCESS, "the agent");
    Require(SUCCEEDED(::CoInitializeEx(nullptr, COINIT_MULTITHREADED)), "COM");
    _m_token = MakeUserToken();
    Require(static_cast<bool>(_m_token), "a user's token");
}

CkxRefreshStage::~CkxRefreshStage()
{
    ::CoUninitialize();
}

double CkxRefreshStage::TimeOfExtension(std::span<const CkxListedGpo> gpos, IWbemServices* services)
{
    CkxEngineList changed;
    for (const CkxListedGpo& gpo : gpos)
        changed.Add(gpo);
    return TimeOf([&] {
        BOOL abort = FALSE;
        HRESULT rsopStatus = S_OK;
        return _m_extension.ProcessGroupPolicyEx()(c_flags, Token(), HKEY_LOCAL_MACHINE, nullptr,
                                                   changed.Head(), 0, &abort, nullptr, services,
                                                   &rsopStatus) == ERROR_SUCCESS;
    });
}

// Only its length is looked at, which costs nothing however large it is.
bool CkxRefreshStage::_TakeMessage()
{
    _m_message.clear();
    auto message = _m_agent.WaitForMessage(kMessageTimeoutMs);
    if (!message || message->size() < kLengthSize)
        return false;
    _m_message = std::move(*message);
    std::size_t length = 0;
    for (std::size_t i = kLengthSize; i-- > 0;)
        length = length << 8 | static_cast<std::size_t>(_m_message[i]);
    return _m_message.size() - kLengthSize == length && _m_agent.TakeAnnouncement();
}

std::wstring CkxRefreshStage::LastDocument() const
{
    const auto document = kx::DecodeUpdateMessage(_m_message);
    return document ? std::wstring(document->begin(), document->end()) : std::wstring();
}

bool HasFailed(const std::vector<kx::Samples>& sides)
{
    return std::any_of(sides.begin(), sides.end(), [](const kx::Samples& side) {
        return std::find(side.begin(), side.end(), CkxRefreshStage::c_failed) != side.end();
    });
}

kx::Samples Scaled(kx::Samples samples, double factor)
{
    for (double& sample : samples)
        sample *= factor;
    return samples;
}
