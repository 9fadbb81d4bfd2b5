#include "Agent/engine/kx_gpext/gp_xml.h"

#include "Agent/engine/kx_gpext/gp_utils.h"
#include "Agent/engine/kx_gpext/gpo_list.h"
#include "Agent/engine/kx_gpext/kx_gpext.h"
#include "Agent/engine/kx_gpext/trace_folder.h"
#include "Common_CPP/trace/trace.h"
#include "Common_CPP/util/util.h"

KXT_CLASS("CkxGpXml");

namespace {

constexpr int kUpdateVersion = 2;

const wchar_t* TrueOrFalse(bool value)
{
    return value ? L"true" : L"false";
}

ULONGLONG SystemTimeNow()
{
    FILETIME now;
    ::GetSystemTimeAsFileTime(&now);
    return (ULONGLONG{now.dwHighDateTime} << 32) | now.dwLowDateTime;
}

} // namespace

CkxGpXml::CkxGpXml(DWORD flags, IWbemServices* services, HKEY keyRoot,
                   PFNSTATUSMESSAGECALLBACK statusCallback)
    : _m_keyRoot(keyRoot),
      _m_services(services),
      _m_flags(flags),
      _m_statusCallback(statusCallback),
      _m_rsopLog(services, _IsMachineScope())
{
}

CkxGpXml::CkxGpXml(HANDLE token, DWORD flags, IWbemServices* services, HKEY keyRoot,
                   PFNSTATUSMESSAGECALLBACK statusCallback)
    : CkxGpXml(flags, services, keyRoot, statusCallback)
{
    KXT_SCOPE("CkxGpXml");
    if (token)
        Attach(token);
    (void)_Initialize();
}

CkxGpXml::~CkxGpXml()
{
    Detach(); // the handle is the caller's
}

bool CkxGpXml::_Initialize()
{
    KXT_SCOPE("_Initialize");
    if (_m_xmldocGPUpdate.IsNull() || _m_xmldocMigration.IsNull()) {
        CkxGpUtils::StatusReport(_m_statusCallback, KXT_ERROR, L"MsXml error. Failed to create DOMDocument.");
        return false;
    }
    if (!_AddRoot()) {
        CkxGpUtils::StatusReport(_m_statusCallback, KXT_ERROR,
                                 L"MsXml error. Failed to add <ChangedGPOs> and <DeletedGPOs> XML elements.");
        return false;
    }
    _SetRootAttributes();
    KXT_OUT(KXT_INFO, "INFO: Flags = " << CkxGpUtils::FlagsToText(_m_flags));
    return true;
}

bool CkxGpXml::_AddRoot()
{
    CkxXMLNode root;
    return _m_xmldocGPUpdate.CreateElement(L"GPUpdate", root) && _m_xmldocGPUpdate.SetRootElement(root) &&
           root.AddChild(L"ChangedGPOs", _m_changedGPOs) && root.AddChild(L"DeletedGPOs", _m_deletedGPOs);
}

// What cannot be set has been traced; the agent's reader copes with what is there.
void CkxGpXml::_SetRootAttributes()
{
    CkxXMLNode root;
    if (!_m_xmldocGPUpdate.GetRootElement(root))
        return;
    (void)root.SetAttribute(L"userScope", TrueOrFalse(!_IsMachineScope()));
    (void)root.SetAttribute(L"forced", TrueOrFalse((_m_flags & GPO_INFO_FLAG_FORCED_REFRESH) != 0));
    (void)root.SetAttribute(L"version", kUpdateVersion);
    if (!GetUser(&_m_userSid))
        CkxGpUtils::StatusReport(_m_statusCallback, KXT_ERROR, L"Failed to get user SID. Error: %d.",
                                 static_cast<int>(::GetLastError()));
    else if (_m_userSid.IsValid())
        (void)root.SetAttribute(L"SID", _m_userSid.Sid());
    else
        CkxGpUtils::StatusReport(_m_statusCallback, KXT_ERROR, L"Invalid user SID.");
    _m_userName =
        _m_userSid.IsValid() ? CkxGpUtils::SidToText(_m_userSid) : CkxGpUtils::TokenUserToText(*this);
    (void)root.SetAttribute(L"user", _m_userName);
    CkxGpUtils::StatusReport(_m_statusCallback, KXT_INFO, L"User: %s", _m_userName.GetString());
}

bool CkxGpXml::IsInitialized() const
{
    return !_m_xmldocGPUpdate.IsNull() && !_m_xmldocMigration.IsNull() && !_m_changedGPOs.IsNull() &&
           !_m_deletedGPOs.IsNull() && GetHandle() && _m_userSid.IsValid();
}

DWORD CkxGpXml::Process(PGROUP_POLICY_OBJECTW deleted, PGROUP_POLICY_OBJECTW changed, const BOOL* abort,
                        DWORD& rsopStatus)
{
    KXT_SCOPE("Process");
    _m_appended = false;
    if (!IsInitialized()) {
        KXT_OUT(KXT_ERROR, "ERROR: Instance has not been initialized.");
        return ERROR_XML_PARSE_ERROR;
    }
    _ProcessDeleted(deleted, abort);
    _ProcessChanged(changed, abort);
    if (*abort) {
        KXT_OUT(KXT_INFO, "INFO: Aborted.");
        return ERROR_OPERATION_ABORTED;
    }
    if (_m_migrationCommandFound) {
        if (_CreateMigrationXmlDoc())
            return ERROR_SUCCESS;
        KXT_OUT(KXT_ERROR, "ERROR: Failed to create migration XML document.");
        return ERROR_XML_PARSE_ERROR;
    }
    if (_IsMachineScope())
        _m_rsopLog.ProcessConfigMap();
    rsopStatus = static_cast<DWORD>(_m_rsopLog.SchemaResult());
    return ERROR_SUCCESS;
}

void CkxGpXml::_ProcessDeleted(PGROUP_POLICY_OBJECTW first, const BOOL* abort)
{
    KXT_OUT(KXT_INFO, (first ? "INFO:    DeletedGPOList:" : "INFO:    DeletedGPOList is empty"));
    for (const PGROUP_POLICY_OBJECTW entry : CollectGpos(first)) {
        if (*abort)
            return;
        const CkxKxGroupPolicyObject gpo(entry);
        gpo.Dump();
        _OnDeletedGPO(gpo);
    }
}

void CkxGpXml::_ProcessChanged(PGROUP_POLICY_OBJECTW first, const BOOL* abort)
{
    KXT_OUT(KXT_INFO, (first ? "INFO:    ChangedGPOList:" : "INFO:    ChangedGPOList is empty"));
    const auto entries = CollectGpos(first);
    _m_changedCount = static_cast<int>(entries.size());
    DWORD precedence = 0;
    for (const PGROUP_POLICY_OBJECTW entry : entries) {
        if (*abort || _m_migrationCommandFound)
            break;
        CkxKxGroupPolicyObject gpo(entry);
        gpo.SetPrecedence(++precedence);
        gpo.Dump();
        OnGPO(gpo); // a failing GPO never stops the pass
    }
    _m_changedCount = 0;
}

bool CkxGpXml::_OnDeletedGPO(const CkxKxGroupPolicyObject& gpo)
{
    CkxXMLNode element;
    return _AddGPOElement(gpo, _m_deletedGPOs, element);
}

bool CkxGpXml::OnGPO(CkxKxGroupPolicyObject& gpo)
{
    KXT_SCOPE("OnGPO");
    CkxXMLNode element;
    const bool found = _FindChangedGPOElement(gpo, element);
    if (!found) {
        if (!_AddGPOElement(gpo, _m_changedGPOs, element))
            return false;
        _m_gpoElements.Add(kx::View(gpo.Name()), element);
    }
    LoadedFiles files;
    if (!_ImpersonateAndLoad(gpo, files))
        return false;
    if (!_IsAllowedByILT(Slot(files, kx::PolicyFile::Policies).root)) {
        KXT_OUT(KXT_INFO, "INFO: GPO not allowed by ILT: " << gpo);
        return true;
    }
    if (!_ProcessMigrationXml(gpo, files))
        KXT_OUT(KXT_ERROR, "ERROR: Failed to process migration command for GPO " << gpo);
    if (_m_migrationCommandFound || found)
        return true;
    if (!_ProcessGPOPolicies(gpo, files, element))
        KXT_OUT(KXT_ERROR, "ERROR: Failed to process polcies for GPO " << gpo);
    return true;
}

bool CkxGpXml::_FindChangedGPOElement(const CkxKxGroupPolicyObject& gpo, CkxXMLNode& element) const
{
    const CkxXMLNode* found = _m_gpoElements.Find(kx::View(gpo.Name()));
    if (found)
        element = *found;
    return found != nullptr;
}

bool CkxGpXml::_AddGPOElement(const CkxKxGroupPolicyObject& gpo, const CkxXMLNode& parent,
                              CkxXMLNode& element)
{
    KXT_SCOPE("_AddGPOElement");
    if (gpo.Name().IsEmpty()) {
        KXT_OUT(KXT_ERROR, "ERROR: The engine's list has an entry without a GUID name, skipped: " << gpo);
        return false;
    }
    if (!parent.AddChild(L"GPO", element)) {
        KXT_OUT(KXT_ERROR, "ERROR: Failed to add <GPO> element for GPO " << gpo);
        return false;
    }
    if (!element.SetAttribute(L"name", gpo.Name())) {
        KXT_OUT(KXT_ERROR, "ERROR: SetAttribute(name) failed for <GPO> " << gpo);
        return false;
    }
    if (!element.SetAttribute(L"displayName", gpo.DisplayName())) {
        KXT_OUT(KXT_ERROR, "ERROR: SetAttribute(displayName) failed for <GPO> " << gpo);
        return false;
    }
    if (!element.SetAttribute(L"precedence", static_cast<int>(gpo.Precedence()))) {
        KXT_OUT(KXT_ERROR, "ERROR: SetAttribute(Precedence) failed for <GPO> " << gpo);
        return false;
    }
    return true;
}

void CkxGpXml::Dump() const
{
    KXT_SCOPE("Dump");
    const CkxXMLDocument* const document = _ChosenDocument();
    if (!document)
        return;
    CString folder;
    if (!CkxUtil::GetModuleDir(folder, KxModule()))
        return;
    folder += L"\\Trace";
    CString user = _m_userName;
    user.Replace(L'\\', L'_');
    CString path = folder;
    path.AppendFormat(L"\\GP %I64d %s.xml", static_cast<LONGLONG>(SystemTimeNow()), user.GetString());
    if (const DWORD error = ReserveTraceFile(folder, path); error != ERROR_SUCCESS) {
        KXT_OUT(KXT_ERROR, "ERROR: The document is not dumped to [" << path << "]. Error=" << error);
        return;
    }
    // Failures from here on have been traced, and change nothing for the agent.
    if (!HasSecret()) {
        (void)document->SaveToFile(path);
        return;
    }
    const CkxXMLDocument shown(_m_factory);
    CkxSecretText dots(L"...");
    if (_FillMigrationDoc(shown, dots))
        (void)shown.SaveToFile(path);
}

bool CkxGpXml::SaveToString(CComBSTR& xml) const
{
    KXT_SCOPE("SaveToString");
    const CkxXMLDocument* const document = _ChosenDocument();
    return document && document->SaveToString(xml);
}

// What the pass is to send; null, traced, where it is missing.
const CkxXMLDocument* CkxGpXml::_ChosenDocument() const
{
    const CkxXMLDocument& chosen = _m_migrationCommandFound ? _m_xmldocMigration : _m_xmldocGPUpdate;
    if (!chosen.IsNull())
        return &chosen;
    const char* const name = _m_migrationCommandFound ? "_m_xmldocMigration" : "_m_xmldocGPUpdate";
    KXT_OUT(KXT_ERROR, "ERROR: " << name << " is NULL.");
    return nullptr;
}
