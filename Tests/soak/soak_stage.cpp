#include "Tests/soak/soak_stage.h"

#include "Agent/engine/kx_gpext/policy_files.h"
#include "Tests/soak/trace_check.h"
#include "Tools/host/update_message.h"

#include <stdexcept>

namespace {

constexpr DWORD kMessageTimeoutMs = 60000;
constexpr const char* kRotateAt = "2097152";

} // namespace

SoakStage::SoakStage() : _m_token(MakeUserToken())
{
    if (!::CopyFileW(KX_STAGE L"\\kx_gpext.dll", (_m_folder / L"kx_gpext.dll").c_str(), TRUE) || !_m_token)
        throw std::runtime_error("the module cannot be copied");
    if (_m_agent.Start() != ERROR_SUCCESS)
        throw std::runtime_error("another agent is there");
    if (!Configure('A'))
        throw std::runtime_error("the trace cannot be configured");
    _m_gpos[0] = _WriteGpo(L"{00000000-0000-0000-0000-00000000000A}");
    _m_gpos[1] = _WriteGpo(L"{00000000-0000-0000-0000-00000000000B}");
}

CkxListedGpo SoakStage::_WriteGpo(const std::wstring& name) const
{
    const std::wstring inside = L"gpos\\" + name + L"\\" + std::wstring(kx::kExtensionGuid) + L"\\";
    _m_folder.Write(
        inside + L"Policies.xml",
        "<GpoPolicies version='5'><Policy name='first' order='1'><Targets><ApplicationGroup id='1'/>"
        "</Targets></Policy><Policy name='second'/></GpoPolicies>");
    _m_folder.Write(inside + L"ApplicationGroups.xml",
                    "<ApplicationGroups version='5'><ApplicationGroup id='1' name='K\xC3\xA4se'/>"
                    "</ApplicationGroups>");
    _m_folder.Write(inside + L"GUI.xml", "<GUI version='5'><Text id='1'>Ask the helpdesk</Text></GUI>");
    CkxListedGpo gpo;
    gpo.name = name;
    gpo.displayName = L"Set " + name.substr(name.size() - 2, 1);
    gpo.folder = _m_folder / (L"gpos\\" + name);
    return gpo;
}

void SoakStage::Load()
{
    if (_m_extension.Load((_m_folder / L"kx_gpext.dll").c_str()) != ERROR_SUCCESS)
        throw std::runtime_error("the module cannot be loaded");
}

DWORD SoakStage::Refresh(bool machine) const
{
    CkxEngineList list;
    for (const CkxListedGpo& gpo : _m_gpos)
        list.Add(gpo);
    BOOL abort = FALSE;
    return _m_extension.ProcessGroupPolicyEx()(machine ? GPO_INFO_FLAG_MACHINE : 0, _m_token.Get(), nullptr,
                                               nullptr, list.Head(), 0, &abort, nullptr, nullptr, nullptr);
}

std::optional<std::u16string> SoakStage::Document()
{
    const auto message = _m_agent.WaitForMessage(kMessageTimeoutMs);
    return message ? kx::DecodeUpdateMessage(*message) : std::nullopt;
}

bool SoakStage::Configure(char letter) const
{
    const std::string text = "refresh@0\nprint@file@@400-100000@off\nprefix@file@@all@" +
                             TracePrefix(letter) + "\nrotation@" + std::to_string(c_rotatedFiles) + "@" +
                             kRotateAt + "\n";
    return ::MoveFileExW(_m_folder.Write(L"next.cfg", text).c_str(), (_m_folder / L"kx_gpext.cfg").c_str(),
                         MOVEFILE_REPLACE_EXISTING) != FALSE;
}

std::string SoakStage::Trace(int rotated) const
{
    const std::wstring number = rotated > 0 ? L"." + std::to_wstring(rotated) : L"";
    return ReadBytes(_m_folder / (L"Trace\\kx_gpext.trace" + number));
}
