#include "Agent/engine/kx_gpext/gp_xml.h"
#include "Common_CPP/trace/trace.h"

#include <utility>

KXT_CLASS("CkxGpXml");

namespace {

constexpr const wchar_t* kRootName = L"AgentParameters";

// An attribute that a command cannot do without.
bool ReadRequired(const CkxXMLNode& root, const wchar_t* name, CString& value,
                  const CkxKxGroupPolicyObject& gpo)
{
    if (root.GetAttribute(name, value) && !value.IsEmpty())
        return true;
    KXT_OUT(KXT_ERROR, "ERROR: '" << name << "' attribute is missing or empty in <" << kRootName
                                  << "> element in Migration.xml. GPO " << gpo);
    return false;
}

// An attribute that a command may lack; but one that is there must not be lost on the way.
template <class Value>
bool ReadOptional(const CkxXMLNode& root, const wchar_t* name, Value& value,
                  const CkxKxGroupPolicyObject& gpo)
{
    if (root.GetAttribute(name, value) || root.LacksAttribute(name))
        return true;
    KXT_OUT(KXT_ERROR, "ERROR: '" << name << "' attribute cannot be read from <" << kRootName
                                  << "> element in Migration.xml. GPO " << gpo);
    return false;
}

bool SetShown(const CkxXMLNode& root, const wchar_t* name, const CString& value)
{
    if (root.SetAttribute(name, value))
        return true;
    KXT_OUT(KXT_ERROR, "ERROR: Failed to set '" << name << "' attribute of the <" << kRootName
                                                << "> element to " << value);
    return false;
}

// The value is left out of the trace.
bool SetSecret(const CkxXMLNode& root, const wchar_t* name, CkxSecretText& value)
{
    if (root.SetAttribute(name, value))
        return true;
    KXT_OUT(KXT_ERROR,
            "ERROR: Failed to set '" << name << "' attribute of the <" << kRootName << "> element.");
    return false;
}

} // namespace

bool CkxGpXml::_ProcessMigrationXml(const CkxKxGroupPolicyObject& gpo, LoadedFiles& files)
{
    const CkxXMLNode& root = Slot(files, kx::PolicyFile::Migration).root;
    if (root.IsNull())
        return true;
    KXT_SCOPE("_ProcessMigrationXml");
    CString name;
    (void)root.GetNodeName(name);
    if (name != kRootName) {
        KXT_OUT(KXT_ERROR, "ERROR: Unexpected root element name <" << name << ">.");
        return false;
    }
    CString setId;
    CString dispatcherUrl;
    if (!ReadRequired(root, L"setId", setId, gpo) ||
        !ReadRequired(root, L"dispatcherUrl", dispatcherUrl, gpo))
        return false;
    CString proxyUser;
    CkxSecretText proxyPassword;
    if (!ReadOptional(root, L"proxyUser", proxyUser, gpo) ||
        !ReadOptional(root, L"proxyPassword", proxyPassword, gpo))
        return false;

    KXT_OUT(KXT_INFO, "INFO: Migration command " << (_m_migrationCommandFound ? "updated" : "found")
                                                 << ". SetId=" << setId << ", DispatcherURL=["
                                                 << dispatcherUrl << "]. GPO " << gpo);
    _m_migrationCommandFound = true;
    _m_setId = std::move(setId);
    _m_dispatcherUrl = std::move(dispatcherUrl);
    _m_proxyUser = std::move(proxyUser);
    _m_proxyPassword = std::move(proxyPassword);
    return true;
}

bool CkxGpXml::_CreateMigrationXmlDoc()
{
    KXT_SCOPE("_CreateMigrationXmlDoc");
    if (!_m_xmldocMigration.IsEmpty()) {
        KXT_OUT(KXT_ERROR, "ERROR: Called while _m_xmldocMigration is not empty.");
        return false;
    }
    if (!_m_migrationCommandFound) {
        KXT_OUT(KXT_ERROR, "ERROR: Called while _m_migrationCommandFound is false.");
        return false;
    }
    if (_m_setId.IsEmpty() || _m_dispatcherUrl.IsEmpty()) {
        KXT_OUT(KXT_ERROR, "ERROR: Called while SetId and/or DispatcherUrl is empty.");
        return false;
    }
    return _FillMigrationDoc(_m_xmldocMigration, _m_proxyPassword);
}

// The document that the agent reads, or, with another password, the one that people may see.
bool CkxGpXml::_FillMigrationDoc(const CkxXMLDocument& document, CkxSecretText& password) const
{
    CkxXMLNode root;
    if (!document.CreateElement(kRootName, root) || !document.SetRootElement(root)) {
        KXT_OUT(KXT_ERROR, "ERROR: Failed to create <" << kRootName << "> root element");
        return false;
    }
    return SetShown(root, L"setId", _m_setId) && SetShown(root, L"dispatcherUrl", _m_dispatcherUrl) &&
           (_m_proxyUser.IsEmpty() || SetShown(root, L"proxyUser", _m_proxyUser)) &&
           (password.IsEmpty() || SetSecret(root, L"proxyPassword", password));
}
