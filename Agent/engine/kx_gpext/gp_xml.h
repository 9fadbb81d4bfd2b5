#pragma once

#include "Agent/engine/kx_gpext/gpo_index.h"
#include "Agent/engine/kx_gpext/kx_gpo.h"
#include "Agent/engine/kx_gpext/rsop_log.h"
#include "Agent/engine/kx_gpext/work_folder.h"
#include "Common_CPP/atl/kx_atl.h"
#include "Common_CPP/util/secret_text.h"
#include "Common_CPP/xml/xml_document.h"

#include <array>
#include <string>
#include <vector>

namespace kx {
struct AppendedSet;
struct AppendedUpdate;
} // namespace kx

/// Turns one processing pass of the engine into one document for the agent: reads each changed GPO's policy
/// files under the user's identity, leaves out what item-level targeting excludes and merges the rest in one
/// global order. A GPO with a migration command makes that command the document. One object a call.
///
/// As an access token it holds the user's handle, which stays the caller's.
class CkxGpXml : public CAccessToken {
  public:
    /// `services` is where the results are logged; null for no logging. It must outlive the object.
    /// What fails is traced; whether the object can be used is told by IsInitialized().
    CkxGpXml(HANDLE token, DWORD flags, IWbemServices* services, HKEY keyRoot,
             PFNSTATUSMESSAGECALLBACK statusCallback);
    ~CkxGpXml() override;

    /// True when both documents' parts, the token and its user are there.
    [[nodiscard]] bool IsInitialized() const;

    /// The Group Policy pass over the engine's lists. `*abort` is polled before each GPO. Returns 0, 995
    /// after an abort, or 1465 when the object is not initialised or a migration command found cannot be
    /// passed on. `rsopStatus` is the logging's outcome.
    [[nodiscard]] DWORD Process(PGROUP_POLICY_OBJECTW deleted, PGROUP_POLICY_OBJECTW changed,
                                const BOOL* abort, DWORD& rsopStatus);

    /// The pass over sets that a component of the agent pushes, whose policies keep their own orders. Returns
    /// 0; 87 without a request, or without the sets that it announces; 1465 when the object is not
    /// initialised or a set cannot be read, and the document is then not to be sent.
    [[nodiscard]] DWORD ProcessAppendedUpdate(const kx::AppendedUpdate* update);

    /// One changed GPO. False when nothing of it could be used.
    bool OnGPO(CkxKxGroupPolicyObject& gpo);

    /// Writes the document into a file of its own in the trace folder, a password as three dots.
    void Dump() const;

    /// The document's text; false, traced, when it cannot be had whole.
    [[nodiscard]] bool SaveToString(CComBSTR& xml) const;

    /// True when the document's text must be overwritten after use.
    [[nodiscard]] bool HasSecret() const { return !_m_proxyPassword.IsEmpty(); }

  private:
    /// The thread works with the user's identity while this lives. The trace library opens no file
    /// meanwhile: the user's own drive letters must not decide which one a service writes to.
    class CkxImpersonateAndRevert;

    struct LoadedFile {
        CkxXMLNode root; ///< empty when the file is absent
        CkxXMLNode document;
        int version = 0;
        FILETIME written{}; ///< of Policies.xml alone; zero when it could not be told
    };

    using LoadedFiles = std::array<LoadedFile, kx::kPolicyFileCount>;

    static LoadedFile& Slot(LoadedFiles& files, kx::PolicyFile file)
    {
        return files[static_cast<std::size_t>(file)];
    }

    static const LoadedFile& Slot(const LoadedFiles& files, kx::PolicyFile file)
    {
        return files[static_cast<std::size_t>(file)];
    }

    /// Makes the whole object, still without the token: should initialising it throw, the destructor runs
    /// and takes the caller's handle out of the base, which would close it.
    CkxGpXml(DWORD flags, IWbemServices* services, HKEY keyRoot, PFNSTATUSMESSAGECALLBACK statusCallback);

    bool _Initialize();
    [[nodiscard]] bool _AddRoot();
    void _SetRootAttributes();

    [[nodiscard]] bool _IsMachineScope() const { return (_m_flags & GPO_INFO_FLAG_MACHINE) != 0; }

    void _ProcessDeleted(PGROUP_POLICY_OBJECTW first, const BOOL* abort);
    void _ProcessChanged(PGROUP_POLICY_OBJECTW first, const BOOL* abort);
    /// False when the whole update has to fail; a set with a missing text is left out.
    [[nodiscard]] bool _OnAppendedSet(const kx::AppendedSet& set);
    bool _OnDeletedGPO(const CkxKxGroupPolicyObject& gpo);
    [[nodiscard]] bool _FindChangedGPOElement(const CkxKxGroupPolicyObject& gpo, CkxXMLNode& element) const;
    [[nodiscard]] bool _AddGPOElement(const CkxKxGroupPolicyObject& gpo, const CkxXMLNode& parent,
                                      CkxXMLNode& element);
    [[nodiscard]] const CkxXMLDocument* _ChosenDocument() const;

    [[nodiscard]] bool _ImpersonateAndLoad(CkxKxGroupPolicyObject& gpo, LoadedFiles& files);
    [[nodiscard]] bool _LoadFiles(CkxKxGroupPolicyObject& gpo, const CString& folder, LoadedFiles& files);
    [[nodiscard]] HRESULT _LoadXmlFile(const CkxKxGroupPolicyObject& gpo, const CString& folder,
                                       kx::PolicyFile which, LoadedFile& file) const;

    /// For elements that are about to move into the update: a parser may keep what they refer to, such as
    /// the namespace of a name, with the document that they were read from.
    void _KeepDocuments(const LoadedFiles& files);
    [[nodiscard]] bool _ProcessGPOPolicies(const CkxKxGroupPolicyObject& gpo, LoadedFiles& files,
                                           const CkxXMLNode& gpoElement);
    [[nodiscard]] bool _MergePolicies(const CkxKxGroupPolicyObject& gpo, const LoadedFiles& files,
                                      const CkxXMLNode& policies);
    [[nodiscard]] bool _SetGpoPolicyOrder(const CkxKxGroupPolicyObject& gpo, const CkxXMLNode& policy) const;

    [[nodiscard]] bool _ProcessMigrationXml(const CkxKxGroupPolicyObject& gpo, LoadedFiles& files);
    [[nodiscard]] bool _CreateMigrationXmlDoc();
    [[nodiscard]] bool _FillMigrationDoc(const CkxXMLDocument& document, CkxSecretText& password) const;

    /// The targeting filter: false only where the targeting on `node` clearly does not match.
    [[nodiscard]] bool _IsAllowedByILT(const CkxXMLNode& node);
    [[nodiscard]] bool _IsPolicyAllowed(const CkxKxGroupPolicyObject& gpo, const CkxXMLNode& policy);
    [[nodiscard]] bool _EvaluateILT(const CkxXMLNode& targeting);
    [[nodiscard]] bool _ComposeILTPolicy(const CkxXMLNode& targeting, std::string& settings) const;
    void _CallRegistryCse(PFNPROCESSGROUPPOLICYEX process, const CString& workFolder) const;

    CSid _m_userSid;
    HKEY _m_keyRoot;
    IWbemServices* _m_services; ///< the engine's
    CString _m_userName;
    DWORD _m_flags;
    bool _m_appended = false;
    PFNSTATUSMESSAGECALLBACK _m_statusCallback;
    int _m_changedCount = 0;
    CkxRsopLog _m_rsopLog;
    CkxWorkFolder _m_workFolder;        ///< of the targeting filter, once it was needed
    CkxXMLDocumentFactory _m_factory;   ///< obtained with the service's own identity
    std::vector<CkxXMLNode> _m_sources; ///< whose elements the update may hold; they outlive it
    CkxXMLDocument _m_xmldocGPUpdate{_m_factory};
    CkxXMLNode _m_changedGPOs;
    CkxXMLNode _m_deletedGPOs;
    kx::GpoIndex<CkxXMLNode> _m_gpoElements; ///< the elements under ChangedGPOs, by GUID name
    CkxXMLDocument _m_xmldocMigration{_m_factory};
    bool _m_migrationCommandFound = false;
    CString _m_setId;
    CString _m_dispatcherUrl;
    CString _m_proxyUser;
    CkxSecretText _m_proxyPassword;
};
