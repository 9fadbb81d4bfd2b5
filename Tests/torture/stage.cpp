#include "Tests/torture/stage.h"

#include "Tests/support/temp_folder.h"
#include "Tests/torture/com_faults.h"
#include "Tests/torture/resource_watch.h"
#include "Tools/host/appended_call.h"

#include <chrono>
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
constexpr const wchar_t* kSomeUser = L"O:S-1-5-21-1-2-3-1001D:(A;;GA;;;WD)";
constexpr DWORD kLengthBytes = 4;
constexpr DWORD kWholeRoom = 16;
constexpr const wchar_t* kPolicyFolder = L"{5B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54A}";

// Names in the module's folder that are the scenario's own.
bool IsOfSetUp(const std::filesystem::path& path)
{
    return path == L"gpos" || path == Stage::c_moduleName;
}

void WriteText(const std::filesystem::path& path, std::string_view text)
{
    std::ofstream(path, std::ios::binary) << text;
}

bool Holds(std::string_view bytes, const std::wstring& secret)
{
    const std::string narrow(secret.begin(), secret.end());
    const std::string_view wide(reinterpret_cast<const char*>(secret.data()),
                                secret.size() * sizeof(wchar_t));
    return bytes.find(narrow) != std::string_view::npos || bytes.find(wide) != std::string_view::npos;
}

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
    watch::SetSecret(L"");
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
    if (role == AgentRole::Foreign)
        _m_strangeAgent.emplace(kSomeUser, kWholeRoom);
    if (role == AgentRole::Dies)
        _m_strangeAgent.emplace(nullptr, kLengthBytes);
}

void Stage::KeepForeignMutex()
{
    _m_mutex = MakeMutexOf(kSomeUser, c_mutexName);
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

void Stage::RecordRsop()
{
    _m_dateTimes.emplace();
    _m_services = _m_store.emplace().Services();
    com::Meet(_m_services.p, *com::FindInterface(__uuidof(IWbemServices)));
}

void Stage::SetSecret(std::wstring_view secret)
{
    _m_secret = secret;
    watch::SetSecret(secret);
}

CkxListedGpo Stage::Write(const std::wstring& gpo, const std::wstring& file, std::string_view text) const
{
    CkxListedGpo listed;
    listed.name = gpo;
    listed.displayName = L"GPO " + gpo.substr(gpo.size() - 2, 1);
    listed.folder = (_m_folder / L"gpos" / gpo).wstring();
    const std::filesystem::path folder = std::filesystem::path(listed.folder) / kPolicyFolder;
    std::filesystem::create_directories(folder);
    WriteText(folder / file, text);
    return listed;
}

DWORD Stage::Load()
{
    std::filesystem::remove_all(_m_folder / L"Trace");
    if (!_m_configuration.empty())
        WriteText(_m_folder / c_configurationName, _m_configuration);
    return _m_extension.Load((_m_folder / c_moduleName).c_str());
}

void Stage::Unload()
{
    _m_extension = {};
}

DWORD Stage::_Refresh(DWORD callFlags) const
{
    CkxEngineList deletedList;
    CkxEngineList changedList;
    for (const CkxListedGpo& gpo : deleted)
        deletedList.Add(gpo);
    for (const CkxListedGpo& gpo : changed)
        changedList.Add(gpo);
    HRESULT status = S_OK;
    return _m_extension.ProcessGroupPolicyEx()(callFlags, _m_token.Get(), HKEY_LOCAL_MACHINE,
                                               deletedList.Head(), changedList.Head(), 0, nullptr, nullptr,
                                               _m_services, &status);
}

DWORD Stage::Refresh(bool again)
{
    return _Refresh(flags | (again ? GPO_INFO_FLAG_FORCED_REFRESH : 0));
}

DWORD Stage::RefreshOther()
{
    return _Refresh(flags ^ GPO_INFO_FLAG_MACHINE);
}

DWORD Stage::Plan()
{
    CkxEngineList list;
    for (const CkxListedGpo& gpo : changed)
        list.Add(gpo);
    RSOP_TARGET target{};
    target.pGPOList = list.Head();
    target.pWbemServices = _m_services;
    return _m_extension.GenerateGroupPolicy()(0, nullptr, nullptr, plansComputer ? &target : nullptr,
                                              plansUser ? &target : nullptr);
}

// Two seconds from the time before, which a file system with coarse times can tell as well.
void Stage::ChangeConfiguration(std::string_view text) const
{
    const std::filesystem::path path = _m_folder / c_configurationName;
    const auto before = std::filesystem::last_write_time(path);
    WriteText(path, text);
    std::filesystem::last_write_time(path, before + std::chrono::seconds(2));
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

// What was rotated away counts too.
std::string Stage::Trace() const
{
    std::string text;
    std::error_code none;
    for (const auto& file : std::filesystem::directory_iterator(_m_folder / L"Trace", none))
        if (file.path().extension() != L".xml")
            text += ReadBytes(file.path().wstring());
    return text;
}

std::string Stage::Recorded() const
{
    std::wstring mof;
    if (_m_store)
        _m_store->Export(mof);
    return {mof.begin(), mof.end()}; // the scenarios' policies are ASCII
}

std::size_t Stage::LiveRecordObjects() const
{
    return _m_store ? _m_store->LiveObjects() - 1 + static_cast<std::size_t>(CkxDateTimeClass::LiveObjects())
                    : 0;
}

std::string Stage::SecretPlaces() const
{
    std::string places;
    if (_m_secret.empty())
        return places;
    for (std::filesystem::recursive_directory_iterator at(_m_folder), end; at != end; ++at) {
        if (IsOfSetUp(at->path().filename()))
            at.disable_recursion_pending();
        else if (at->is_regular_file() && Holds(ReadBytes(at->path().wstring()), _m_secret))
            places += at->path().filename().string() + ' ';
    }
    return places + (Holds(Recorded(), _m_secret) ? "store" : "");
}
