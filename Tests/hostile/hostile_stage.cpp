#include "Tests/hostile/hostile_stage.h"

#include <algorithm>
#include <stdexcept>

namespace {

constexpr const wchar_t* kSentinel = L"{00000000-0000-0000-0000-00000000005E}";
constexpr const char* kSentinelText =
    "<GpoPolicies version='5'><Policy name='sentinel-stands' order='1'/></GpoPolicies>";
constexpr const char* kConfiguration = "rotation@1@8388608\n";

std::wstring GpoName(std::size_t index)
{
    return L"{00000000-0000-0000-0000-00000000000" + std::to_wstring(index) + L"}";
}

// Also removes what an earlier case has left.
void Put(const std::wstring& path, const HostileFile& file)
{
    if (file.kind != HostileFile::Kind::Folder)
        ::RemoveDirectoryW(path.c_str());
    if (file.kind != HostileFile::Kind::Text)
        ::DeleteFileW(path.c_str());
    if (file.kind == HostileFile::Kind::Folder)
        ::CreateDirectoryW(path.c_str(), nullptr);
    if (file.kind != HostileFile::Kind::Text)
        return;
    const CkxFileHandle made(::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                           FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD written = 0;
    if (!made ||
        !::WriteFile(made.Get(), file.text.data(), static_cast<DWORD>(file.text.size()), &written, nullptr))
        throw std::runtime_error("a policy file cannot be written");
}

} // namespace

HostileStage::HostileStage() : _m_token(MakeUserToken())
{
    (void)_m_targeting.Watch(); // kept loaded: what loading it costs is not to be seen
    const std::wstring module = _m_folder / L"kx_gpext.dll";
    _m_folder.Write(L"kx_gpext.cfg", kConfiguration);
    if (!::CopyFileW(KX_STAGE L"\\kx_gpext.dll", module.c_str(), TRUE) || !_m_token ||
        _m_extension.Load(module.c_str()) != ERROR_SUCCESS)
        throw std::runtime_error("the extension cannot be loaded");
    if (_m_agent.Start() != ERROR_SUCCESS)
        throw std::runtime_error("another agent is there");
    std::size_t count = 0;
    const OutsideFile* files = OutsideFiles(count);
    for (std::size_t i = 0; i < count; ++i)
        _m_folder.Write(std::wstring(L"outside\\") + files[i].name, files[i].content);
    const std::wstring outside = _m_folder / L"outside";
    for (const wchar_t unit : outside) // the temporary folder's name is ASCII
        _m_places.path += static_cast<char>(unit);
    _m_places.url = "file:///" + _m_places.path;
    std::replace(_m_places.url.begin(), _m_places.url.end(), '\\', '/');
    _m_places.relative = "../../../outside";
    const std::wstring inside = L"\\" + std::wstring(kx::kExtensionGuid) + L"\\";
    _m_folder.Write(L"gpos\\" + std::wstring(kSentinel) + inside + L"Policies.xml", kSentinelText);
    for (std::size_t gpo = 0; gpo < 2; ++gpo)
        _m_folder.Write(L"gpos\\" + GpoName(gpo) + inside + L"Tokens.xml", "");
}

void HostileStage::Write(const HostileCase& made) const
{
    for (std::size_t gpo = 0; gpo < made.gpos.size(); ++gpo)
        for (std::size_t file = 0; file < kx::kPolicyFileCount; ++file)
            Put(kx::PolicyFilePath(_m_folder / (L"gpos\\" + GpoName(gpo)), false,
                                   static_cast<kx::PolicyFile>(file)),
                made.gpos[gpo][file]);
}

CkxEngineList HostileStage::_List(const HostileCase& made) const
{
    CkxEngineList list;
    const auto add = [&](const std::wstring& name) {
        CkxListedGpo gpo;
        gpo.name = name;
        gpo.displayName = L"Set " + name;
        gpo.folder = _m_folder / (L"gpos\\" + name);
        list.Add(gpo);
    };
    if (made.sentinelFirst)
        add(kSentinel);
    for (std::size_t gpo = 0; gpo < made.gpos.size(); ++gpo)
        add(GpoName(gpo));
    if (!made.sentinelFirst)
        add(kSentinel);
    return list;
}

DWORD HostileStage::Plan(const HostileCase& made)
{
    CkxEngineList list = _List(made);
    const auto services = _m_store.Services();
    BOOL abort = FALSE;
    RSOP_TARGET target{};
    target.pGPOList = list.Head();
    target.pWbemServices = services;
    return _m_extension.GenerateGroupPolicy()(0, &abort, nullptr, made.machine ? &target : nullptr,
                                              made.machine ? nullptr : &target);
}

DWORD HostileStage::Refresh(const HostileCase& made)
{
    CkxEngineList list = _List(made);
    const auto services = _m_store.Services();
    BOOL abort = FALSE;
    HRESULT status = S_OK;
    return _m_extension.ProcessGroupPolicyEx()(made.machine ? GPO_INFO_FLAG_MACHINE : 0, _m_token.Get(),
                                               HKEY_LOCAL_MACHINE, nullptr, list.Head(), 0, &abort, nullptr,
                                               made.logs ? services.p : nullptr, &status);
}

std::string HostileStage::WrittenByTheExtension() const
{
    return ReadBytes(_m_folder / L"Trace\\kx_gpext.trace") +
           ReadBytes(_m_folder / L"Trace\\kx_gpext.trace.1") +
           ReadBytes(_m_folder / L"tmp\\Preferences\\Registry\\Registry.xml");
}
