// Item-level targeting. Its language is not evaluated here: an item that carries it goes through the registry
// extension of Group Policy Preferences, and a marker that the item writes tells whether it matched.

#include "Agent/engine/kx_gpext/gp_reg_key.h"
#include "Agent/engine/kx_gpext/gp_xml.h"
#include "Agent/engine/kx_gpext/kx_gpext.h"
#include "Agent/engine/kx_gpext/targeting_settings.h"
#include "Agent/engine/kx_gpext/targeting_verdict.h"
#include "Agent/engine/kx_gpext/work_folder.h"
#include "Common_CPP/trace/trace.h"
#include "Common_CPP/util/utf8.h"
#include "Common_CPP/util/util.h"
#include "Common_CPP/xml/xml_text.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

KXT_CLASS("CkxGpXml");

namespace {

constexpr const wchar_t* kRegistryCseKey =
    L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon\\GPExtensions\\"
    L"{B087BE9D-ED37-454f-AF9C-04291E351182}";
constexpr const wchar_t* kDllValue = L"DllName";
constexpr const wchar_t* kEntryValue = L"ProcessGroupPolicyEx";
constexpr std::size_t kLongestEntry = 256;

// Marker, settings file and work folder are the same for every evaluation of the process; one whose marker
// another one removes would exclude a policy. Held from the writing of the file to the marker's second
// removal. Nothing of ours that takes a lock runs meanwhile, except tracing.
class EvaluationTurn {
  public:
    EvaluationTurn() noexcept { ::AcquireSRWLockExclusive(&_s_lock); }

    ~EvaluationTurn() { ::ReleaseSRWLockExclusive(&_s_lock); }

    EvaluationTurn(const EvaluationTurn&) = delete;
    EvaluationTurn& operator=(const EvaluationTurn&) = delete;

  private:
    static inline SRWLOCK _s_lock = SRWLOCK_INIT;
};

// ---- the registry extension ---------------------------------------------------------------------------

bool QueryRegistration(const CkxGpRegKey& key, const wchar_t* name, CString& value)
{
    const LSTATUS error = key.QueryString(name, value, CkxRegKey::c_maxStringBytes);
    if (error == ERROR_SUCCESS)
        return true;
    KXT_OUT(KXT_ERROR,
            "ERROR: Failed to query value [" << kRegistryCseKey << "\\" << name << "]. err=" << error);
    if (error == ERROR_OUTOFMEMORY)
        AtlThrow(E_OUTOFMEMORY);
    return false;
}

bool ReadRegistration(CString& dll, CString& entry)
{
    CkxGpRegKey key;
    if (const LSTATUS error = key.Open(HKEY_LOCAL_MACHINE, kRegistryCseKey, KEY_QUERY_VALUE);
        error != ERROR_SUCCESS) {
        KXT_OUT(KXT_ERROR, "ERROR: Failed to open reg key [" << kRegistryCseKey << "]. err=" << error);
        return false;
    }
    return QueryRegistration(key, kDllValue, dll) && QueryRegistration(key, kEntryValue, entry);
}

PFNPROCESSGROUPPOLICYEX FindEntry(HMODULE module, const CString& entry)
{
    char name[kLongestEntry] = {};
    const int size = static_cast<int>(std::size(name));
    if (::WideCharToMultiByte(CP_ACP, 0, entry, -1, name, size, nullptr, nullptr) == 0)
        return nullptr;
    return reinterpret_cast<PFNPROCESSGROUPPOLICYEX>(reinterpret_cast<void*>(::GetProcAddress(module, name)));
}

// The last two lines lack a bracket; administrators' guides quote them so.
bool LoadRegistryCse(CkxModule& module, PFNPROCESSGROUPPOLICYEX& process)
{
    KXT_SCOPE("_LoadRegistryCse");
    CString dll;
    CString entry;
    if (!ReadRegistration(dll, entry))
        return false;
    module.Reset(::LoadLibraryW(dll));
    if (!module) {
        KXT_OUT(KXT_ERROR, "ERROR: Failed to load library [" << dll << ". err=" << D_LastError);
        return false;
    }
    process = FindEntry(module.Get(), entry);
    if (!process)
        KXT_OUT(KXT_ERROR, "ERROR: Failed to GetProcAddress of [" << entry << ". err=" << D_LastError);
    return process != nullptr;
}

// ---- what it is given ---------------------------------------------------------------------------------

CString WorkFolderPath()
{
    CString folder;
    if (!CkxUtil::GetModuleDir(folder, KxModule()))
        AtlThrow(E_OUTOFMEMORY); // a loaded module has a folder: nothing else can be missing
    return folder + L"\\tmp";
}

// False for text that is no XML. Without memory the update must not go out unfiltered.
bool Encode(std::wstring_view text, std::string& utf8)
{
    if (kx::WideToUtf8(text, utf8))
        return true;
    if (kx::FindInvalidXml(text) == std::wstring_view::npos)
        AtlThrow(E_OUTOFMEMORY);
    return false;
}

// Entered once a pass: what is held cannot be exchanged, so it need not be judged again.
DWORD EnterOnce(const CString& workFolder, CkxWorkFolder& folder)
{
    if (folder.IsEntered())
        return ERROR_SUCCESS;
    CkxWorkFolder entered;
    DWORD error = entered.Enter(workFolder);
    if (error == ERROR_SUCCESS)
        error = entered.EnterBelow(L"Preferences");
    if (error == ERROR_SUCCESS)
        error = entered.EnterBelow(L"Registry");
    if (error == ERROR_SUCCESS)
        folder = std::move(entered);
    return error;
}

DWORD SaveSettings(const CString& workFolder, std::string_view settings, CkxWorkFolder& folder)
{
    const DWORD error = EnterOnce(workFolder, folder);
    return error == ERROR_SUCCESS ? folder.Save(L"Registry.xml", settings) : error;
}

bool SaveBasicILTPolicy(const CString& workFolder, std::string_view settings, CkxWorkFolder& folder)
{
    KXT_SCOPE("_SaveBasicILTPolicy");
    const DWORD error = SaveSettings(workFolder, settings, folder);
    if (error == ERROR_SUCCESS)
        return true;
    KXT_OUT(KXT_ERROR, "ERROR: Failed to save basic ILT registry policy to "
                           << workFolder << "\\Preferences\\Registry\\Registry.xml");
    KXT_OUT(KXT_ERROR, "ERROR: The work folder of item-level targeting cannot be used. Error=" << error);
    return false;
}

// ---- its answer ---------------------------------------------------------------------------------------

bool OpenMarkerKey(CkxGpRegKey& key)
{
    const LSTATUS error = key.Create(HKEY_LOCAL_MACHINE, kx::kTargetingMarkerKey, KEY_READ | KEY_WRITE);
    if (error != ERROR_SUCCESS)
        KXT_OUT(KXT_ERROR,
                "ERROR: Failed to create reg key [" << kx::kTargetingMarkerKey << "]. err=" << error);
    return error == ERROR_SUCCESS;
}

kx::TargetingVerdict RemoveMarker(const CkxGpRegKey& key)
{
    const LSTATUS error = ::RegDeleteValueW(key.Get(), kx::kTargetingMarkerName);
    const kx::TargetingVerdict verdict = kx::TargetingVerdictOf(static_cast<std::uint32_t>(error));
    if (verdict == kx::TargetingVerdict::LetThrough)
        KXT_OUT(KXT_ERROR,
                "ERROR: Failed to remove reg value [" << kx::kTargetingMarkerName << "]. err=" << error);
    return verdict;
}

} // namespace

bool CkxGpXml::_IsAllowedByILT(const CkxXMLNode& node)
{
    CkxXMLNode targeting;
    return node.IsNull() || !node.GetFirstChild(L"ItemLevelTargeting", targeting) || _EvaluateILT(targeting);
}

bool CkxGpXml::_IsPolicyAllowed(const CkxKxGroupPolicyObject& gpo, const CkxXMLNode& policy)
{
    if (_IsAllowedByILT(policy))
        return true;
    CString name;
    if (policy.GetAttribute(L"name", name))
        KXT_OUT(KXT_INFO, "INFO: policy [" << name << "] not allowed by ILT: " << gpo);
    return false;
}

bool CkxGpXml::_EvaluateILT(const CkxXMLNode& targeting)
{
    KXT_SCOPE("_IsAllowedByILT");
    CkxModule cse;
    PFNPROCESSGROUPPOLICYEX process = nullptr;
    std::string settings;
    if (!LoadRegistryCse(cse, process) || !_ComposeILTPolicy(targeting, settings))
        return true;
    const CString workFolder = WorkFolderPath();

    const EvaluationTurn turn;
    CkxGpRegKey key;
    if (!SaveBasicILTPolicy(workFolder, settings, _m_workFolder) || !OpenMarkerKey(key) ||
        RemoveMarker(key) == kx::TargetingVerdict::LetThrough)
        return true;
    _CallRegistryCse(process, workFolder);
    return RemoveMarker(key) != kx::TargetingVerdict::Excluded;
}

// The settings file's bytes.
bool CkxGpXml::_ComposeILTPolicy(const CkxXMLNode& targeting, std::string& settings) const
{
    CString xml;
    if (!targeting.GetXml(xml)) {
        KXT_OUT(KXT_ERROR, "ERROR: Failed to get text of ItemLevelTargeting node");
        return false;
    }
    // Parsed once here: a file that the other extension cannot read would exclude the policy.
    const std::wstring text = kx::TargetingSettings(kx::View(xml));
    const CString parsed(text.c_str(), static_cast<int>(text.size()));
    CkxXMLDocument document(_m_factory);
    if (document.Load(parsed) && Encode(text, settings))
        return true;
    KXT_OUT(KXT_ERROR, "ERROR: Failed to load ILT registry policy");
    return false;
}

// The call that the engine would make for a GPO whose only content is that item. What it returns does not
// matter, the marker does.
void CkxGpXml::_CallRegistryCse(PFNPROCESSGROUPPOLICYEX process, const CString& workFolder) const
{
    constexpr std::wstring_view name = L"{ED3F3DD0-FB76-4DCF-B072-20F32BC3054D}";
    wchar_t displayName[] = L"ILTTest";
    wchar_t directoryPath[] = L"LocalGPO";
    wchar_t link[] = L"Local";
    wchar_t extensions[] = L"[{B087BE9D-ED37-454F-AF9C-04291E351182}{BEE07A6A-EC9F-4659-B8C9-0B1937907C83}]";
    CString folder = workFolder;

    GROUP_POLICY_OBJECTW gpo{};
    gpo.dwVersion = 0x00140014;
    gpo.lpDSPath = directoryPath;
    gpo.lpFileSysPath = folder.GetBuffer();
    gpo.lpDisplayName = displayName;
    std::copy(name.begin(), name.end(), gpo.szGPOName);
    gpo.GPOLink = GPLinkMachine;
    gpo.lpExtensions = extensions;
    gpo.lpLink = link;

    BOOL abort = FALSE;
    HRESULT status = S_OK;
    (void)process(_m_flags, GetHandle(), _m_keyRoot, nullptr, &gpo, 0, &abort, nullptr, _m_services, &status);
    (void)::SetThreadToken(nullptr, nullptr); // should it have left the user's identity on the thread
}
