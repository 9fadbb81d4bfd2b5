#pragma once

#include "Agent/engine/kx_gpext/policy_files.h"
#include "Common_CPP/atl/kx_atl.h"
#include "Common_CPP/trace/line.h"

#include <userenv.h>

/// One Group Policy Object of the engine's lists, or of an appended update: the engine's entry, not owned,
/// and what the extension knows of it besides. The entry must outlive the record.
class CkxKxGroupPolicyObject {
  public:
    explicit CkxKxGroupPolicyObject(PGROUP_POLICY_OBJECTW gpo = nullptr, bool appended = false)
        : _m_gpo(gpo), _m_appended(appended)
    {
    }

    CkxKxGroupPolicyObject(const CkxKxGroupPolicyObject&) = default;
    CkxKxGroupPolicyObject& operator=(const CkxKxGroupPolicyObject&) = default;
    virtual ~CkxKxGroupPolicyObject() = default;

    /// Takes another entry; file time and precedence start again at zero, the appended flag stays.
    void Attach(PGROUP_POLICY_OBJECTW gpo);

    [[nodiscard]] bool IsNull() const { return !_m_gpo; }

    /// The engine's entry.
    [[nodiscard]] const GROUP_POLICY_OBJECTW* Entry() const { return _m_gpo; }

    [[nodiscard]] PGROUP_POLICY_OBJECTW Next() const { return _m_gpo ? _m_gpo->pNext : nullptr; }

    [[nodiscard]] bool IsAppended() const { return _m_appended; }

    /// 1-based place in the changed list; 0 for deleted and appended GPOs.
    [[nodiscard]] DWORD Precedence() const { return _m_precedence; }

    void SetPrecedence(DWORD precedence) { _m_precedence = precedence; }

    /// The entry's texts; empty where the entry, or the text, is null.
    [[nodiscard]] CString Name() const;
    [[nodiscard]] CString DisplayName() const;
    [[nodiscard]] CString Folder() const;
    [[nodiscard]] CString DirectoryPath() const; ///< of the GPO in the directory service
    [[nodiscard]] CString Link() const;          ///< the directory's path of what the GPO is linked to

    /// The path of a policy file, in the entry's folder.
    [[nodiscard]] CString FilePath(kx::PolicyFile file) const { return FilePathIn(Folder(), file); }

    /// The same in a folder that leads to the same place by another name.
    [[nodiscard]] CString FilePathIn(const CString& folder, kx::PolicyFile file) const;

    /// Reads when Policies.xml was last written; unchanged where it cannot be opened.
    void ReadPoliciesFileTime();

    /// The same where whoever has loaded the file knows the time.
    void SetPoliciesFileTime(FILETIME written) { _m_policiesFileTime = written; }

    [[nodiscard]] FILETIME PoliciesFileTime() const { return _m_policiesFileTime; }

    /// "Unknown", "Machine", ... for the engine's link kinds.
    [[nodiscard]] static const char* LinkKindName(int link);

    /// Writes the record into the trace, a line a field.
    void Dump() const;
    /// Writes the paths of the six files into the trace.
    void DumpFilePaths() const;

  private:
    PGROUP_POLICY_OBJECTW _m_gpo;
    FILETIME _m_policiesFileTime{};
    DWORD _m_precedence = 0;
    bool _m_appended;
};

/// A GPO in a trace line: display name, " - ", GUID name.
D_Line_c& operator<<(D_Line_c& line, const CkxKxGroupPolicyObject& gpo);
