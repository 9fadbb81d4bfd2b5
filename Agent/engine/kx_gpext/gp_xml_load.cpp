#include "Agent/engine/kx_gpext/gp_xml.h"
#include "Agent/engine/kx_gpext/impersonation.h"
#include "Agent/engine/kx_gpext/stable_folder.h"
#include "Common_CPP/trace/trace.h"

KXT_CLASS("CkxGpXml");

namespace {

constexpr int kVersionOfAbsentFile = 5;

// Read in this order, where there is no migration command instead.
constexpr kx::PolicyFile kPolicyFiles[] = {kx::PolicyFile::Policies, kx::PolicyFile::ApplicationGroups,
                                           kx::PolicyFile::Tokens, kx::PolicyFile::RestrictionRules,
                                           kx::PolicyFile::Gui};

bool IsAbsent(DWORD error)
{
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

} // namespace

bool CkxGpXml::_ImpersonateAndLoad(CkxKxGroupPolicyObject& gpo, LoadedFiles& files)
{
    KXT_SCOPE("_ImpersonateAndLoad");
    if (gpo.Folder().IsEmpty()) { // a relative path would be read from wherever the service stands
        KXT_OUT(KXT_ERROR, "ERROR: The GPO has no folder path: " << gpo);
        return false;
    }
    const CString folder = StableFolder(gpo.Folder());
    const CkxImpersonateAndRevert user(*this);
    if (!user.IsReady()) {
        KXT_OUT(KXT_ERROR, "ERROR: The policy files are not read without the user's identity. GPO " << gpo);
        return false;
    }
    return _LoadFiles(gpo, folder, files);
}

bool CkxGpXml::_LoadFiles(CkxKxGroupPolicyObject& gpo, const CString& folder, LoadedFiles& files)
{
    const auto load = [&](kx::PolicyFile file) { return _LoadXmlFile(gpo, folder, file, Slot(files, file)); };
    if (load(kx::PolicyFile::Migration) == S_OK || _m_migrationCommandFound)
        return true;
    for (const kx::PolicyFile file : kPolicyFiles) {
        if (FAILED(load(file))) {
            KXT_OUT(KXT_ERROR, "ERROR: Failed to load the policy files of GPO " << gpo);
            return false;
        }
    }
    if (_m_rsopLog.IsLogging()) // nobody else asks for it
        gpo.SetPoliciesFileTime(Slot(files, kx::PolicyFile::Policies).written);
    gpo.DumpFilePaths();
    return true;
}

HRESULT CkxGpXml::_LoadXmlFile(const CkxKxGroupPolicyObject& gpo, const CString& folder, kx::PolicyFile which,
                               LoadedFile& file) const
{
    const CString shownPath = gpo.FilePath(which);
    CkxXMLDocument document(_m_factory);
    if (which == kx::PolicyFile::Migration)
        document.HoldsSecret();
    DWORD readError = ERROR_SUCCESS;
    FILETIME* const written = which == kx::PolicyFile::Policies ? &file.written : nullptr;
    if (!document.LoadFromFile(gpo.FilePathIn(folder, which), &readError, written)) {
        if (readError == ERROR_OUTOFMEMORY) // no fault of this file: the update must not go out without it
            AtlThrow(E_OUTOFMEMORY);
        if (IsAbsent(readError)) {
            file.version = kVersionOfAbsentFile;
            return S_FALSE;
        }
        KXT_OUT(KXT_ERROR, "ERROR: Failed to load XML from file [" << shownPath << "]");
        KXT_OUT(KXT_ERROR, "ERROR: The file was not accepted: " << document.LoadError().Text());
        return E_FAIL;
    }
    CkxXMLNode root;
    if (!document.GetRootElement(root)) {
        KXT_OUT(KXT_ERROR, "ERROR: Failed to get root element. Path=[" << shownPath << "]");
        return E_FAIL;
    }
    if (!root.GetAttribute(L"version", file.version)) {
        CString name;
        (void)root.GetNodeName(name);
        KXT_OUT(KXT_ERROR, "ERROR: Failed to get version attribute from root element <" << name << ">. Path=["
                                                                                        << shownPath << "]");
        return E_FAIL;
    }
    file.root = root;
    file.document = document;
    return S_OK;
}
