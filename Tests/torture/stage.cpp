#include "Tests/torture/stage.h"

#include "Tests/support/temp_folder.h"
#include "Tools/host/appended_call.h"

#include <fstream>
#include <stdexcept>

namespace {

constexpr DWORD kMessageTimeoutMs = 5000;
constexpr const wchar_t* kEventName = L"Global\\KxGroupPolicyUpdate";
constexpr const wchar_t* kAgentKey = L"Software\\Korvex\\Agent";
constexpr const wchar_t* kExtensionKey =
    L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon\\GPExtensions\\"
    L"{5B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54A}";
constexpr wchar_t kGroupPolicySetId[] = L"{00000000-0000-0000-C000-000000000046}";
constexpr const wchar_t* kPolicyFolder = L"{5B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54A}";

} // namespace

Stage::Stage(const std::wstring& module)
    : _m_folder(std::filesystem::temp_directory_path() / L"kx_torture"), _m_token(MakeUserToken())
{
    std::filesystem::remove_all(_m_folder);
    std::filesystem::create_directories(_m_folder);
    std::filesystem::copy_file(module, _m_folder / c_moduleName);
    if (!_m_token)
        throw std::runtime_error("there is no token to refresh with");
}

Stage::~Stage()
{
    Unload();
    InstallAgent(false);
    if (_m_dumps)
        ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, kExtensionKey);
    std::error_code ignored;
    std::filesystem::remove_all(_m_folder, ignored);
}

void Stage::SetAgent(AgentRole role)
{
    _m_role = role;
    if (role == AgentRole::Listens && _m_listener.Start() != ERROR_SUCCESS)
        throw std::runtime_error("another agent is there");
    if (role == AgentRole::Deaf)
        _m_event.Reset(::CreateEventW(nullptr, FALSE, FALSE, kEventName));
}

void Stage::InstallAgent(bool installed)
{
    const std::filesystem::path program = _m_folder / L"kx_agent.exe";
    if (installed) {
        std::ofstream(program) << "agent";
        ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, kAgentKey, L"SetID", REG_SZ, kGroupPolicySetId,
                          sizeof kGroupPolicySetId);
    } else if (std::filesystem::remove(program)) {
        ::RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kAgentKey, L"SetID");
    }
}

void Stage::EnableDump()
{
    const DWORD enabled = 1;
    ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, kExtensionKey, L"KxEnableDump", REG_DWORD, &enabled,
                      sizeof enabled);
    _m_dumps = true;
}

CkxListedGpo Stage::Write(const std::wstring& gpo, const std::wstring& file, std::string_view text) const
{
    CkxListedGpo listed;
    listed.name = gpo;
    listed.displayName = L"GPO " + gpo.substr(gpo.size() - 2, 1);
    listed.folder = (_m_folder / L"gpos" / gpo).wstring();
    const std::filesystem::path folder = std::filesystem::path(listed.folder) / kPolicyFolder;
    std::filesystem::create_directories(folder);
    std::ofstream(folder / file, std::ios::binary) << text;
    return listed;
}

DWORD Stage::Load()
{
    std::filesystem::remove_all(_m_folder / L"Trace");
    return _m_extension.Load((_m_folder / c_moduleName).c_str());
}

void Stage::Unload()
{
    _m_extension = {};
}

DWORD Stage::Refresh(bool again)
{
    CkxEngineList deletedList;
    CkxEngineList changedList;
    for (const CkxListedGpo& gpo : deleted)
        deletedList.Add(gpo);
    for (const CkxListedGpo& gpo : changed)
        changedList.Add(gpo);
    return _m_extension.ProcessGroupPolicyEx()(flags | (again ? GPO_INFO_FLAG_FORCED_REFRESH : 0),
                                               _m_token.Get(), HKEY_LOCAL_MACHINE, deletedList.Head(),
                                               changedList.Head(), 0, nullptr, nullptr, nullptr, nullptr);
}

DWORD Stage::PushAppended(bool again)
{
    std::vector<std::wstring> folders;
    folders.reserve(changed.size()); // the sets point into the texts
    std::vector<kx::AppendedSet> sets;
    for (const CkxListedGpo& gpo : changed) {
        folders.push_back(gpo.folder + L"\\" + kPolicyFolder);
        sets.push_back({folders.back().c_str(), gpo.name.c_str(), gpo.displayName.c_str()});
    }
    const bool isMachine = (flags & GPO_INFO_FLAG_MACHINE) != 0;
    const kx::AppendedUpdate request = {
        sets.data(), static_cast<std::int32_t>(sets.size()), again, {}, isMachine ? nullptr : _m_token.Get()};
    const LocalSystemCaller caller(_m_extension.Get());
    return CallAppendedUpdate(_m_extension.Get(), &request);
}

std::optional<std::vector<std::byte>> Stage::NextMessage()
{
    return _m_listener.WaitForMessage(kMessageTimeoutMs);
}

std::string Stage::Trace() const
{
    return ReadBytes((_m_folder / L"Trace" / L"kx_gpext.trace").wstring());
}
