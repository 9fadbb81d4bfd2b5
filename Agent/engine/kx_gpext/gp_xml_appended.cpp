#include "Agent/engine/kx_gpext/appended_update.h"
#include "Agent/engine/kx_gpext/gp_xml.h"
#include "Common_CPP/trace/trace.h"

#include <algorithm>
#include <iterator>
#include <span>

KXT_CLASS("CkxGpXml");

namespace {

std::span<const kx::AppendedSet> SetsOf(const kx::AppendedUpdate& update)
{
    return {update.sets, static_cast<std::size_t>((std::max)(update.count, 0))};
}

bool IsNullOrEmpty(const wchar_t* text)
{
    return !text || *text == L'\0';
}

// The set in the engine's form, over the set's own texts. The engine's type has no const; records only read.
GROUP_POLICY_OBJECTW EngineEntry(const kx::AppendedSet& set)
{
    GROUP_POLICY_OBJECTW entry{};
    entry.lpFileSysPath = const_cast<wchar_t*>(set.folder);
    entry.lpDisplayName = const_cast<wchar_t*>(set.displayName);
    std::copy_n(set.name, ::wcsnlen(set.name, std::size(entry.szGPOName) - 1), entry.szGPOName);
    return entry;
}

bool SetTrue(const CkxXMLNode& root, const wchar_t* attribute)
{
    if (root.SetAttribute(attribute, true))
        return true;
    KXT_OUT(KXT_ERROR, "ERROR: Failed to set '" << attribute << "' attribute.");
    return false;
}

// Tells the agent that these sets are beside Group Policy's.
bool MarkAppended(const CkxXMLDocument& document, bool deleteAll)
{
    CkxXMLNode root; // setting anything on an empty one fails
    (void)document.GetRootElement(root);
    return SetTrue(root, L"appended") && (!deleteAll || SetTrue(root, L"deleteAllAppended"));
}

} // namespace

DWORD CkxGpXml::ProcessAppendedUpdate(const kx::AppendedUpdate* update)
{
    KXT_SCOPE("ProcessAppendedUpdate");
    _m_appended = true;
    if (!update || (update->count > 0 && !update->sets)) {
        KXT_OUT(KXT_ERROR, "ERROR: NULL pointer.");
        return ERROR_INVALID_PARAMETER;
    }
    if (!IsInitialized()) {
        KXT_OUT(KXT_ERROR, "ERROR: Instance has not been initialized.");
        return ERROR_XML_PARSE_ERROR;
    }
    if (!MarkAppended(_m_xmldocGPUpdate, update->deleteAll != 0))
        return ERROR_XML_PARSE_ERROR;
    for (const kx::AppendedSet& set : SetsOf(*update))
        if (!_OnAppendedSet(set))
            return ERROR_XML_PARSE_ERROR;
    return ERROR_SUCCESS;
}

bool CkxGpXml::_OnAppendedSet(const kx::AppendedSet& set)
{
    if (IsNullOrEmpty(set.folder) || IsNullOrEmpty(set.name) || IsNullOrEmpty(set.displayName)) {
        KXT_OUT(KXT_ERROR, "ERROR: One of the GPO parameters is NULL or empty. ["
                               << set.folder << "] [" << set.name << "] [" << set.displayName << "]");
        return true;
    }
    GROUP_POLICY_OBJECTW entry = EngineEntry(set);
    CkxKxGroupPolicyObject gpo(&entry, true);
    gpo.Dump();
    CkxXMLNode element;
    LoadedFiles files;
    if (!_AddGPOElement(gpo, _m_changedGPOs, element) || !_ImpersonateAndLoad(gpo, files))
        return false;
    if (!_ProcessGPOPolicies(gpo, files, element))
        KXT_OUT(KXT_ERROR, "ERROR: Failed to process polcies for appended GPO " << gpo);
    return true;
}
