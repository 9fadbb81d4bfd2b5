#include "Agent/engine/kx_gpext/kx_gpo.h"

#include "Common_CPP/trace/trace.h"
#include "Common_CPP/util/unique_handle.h"
#include "Common_CPP/util/util.h"

#include <cwchar>
#include <iterator>

KXT_CLASS("CkxKxGroupPolicyObject");

namespace {

const char* YesNo(bool value)
{
    return value ? "True" : "False";
}

// The engine's inline name, which need not be terminated.
std::wstring_view InlineName(const GROUP_POLICY_OBJECTW& gpo)
{
    return {gpo.szGPOName, ::wcsnlen(gpo.szGPOName, std::size(gpo.szGPOName))};
}

struct FileLabel {
    kx::PolicyFile file;
    const char* label;
};

constexpr FileLabel kFileLabels[] = {
    {kx::PolicyFile::Policies, "Policies    : "}, {kx::PolicyFile::ApplicationGroups, "App groups  : "},
    {kx::PolicyFile::Tokens, "Tokens      : "},   {kx::PolicyFile::RestrictionRules, "Restrictions: "},
    {kx::PolicyFile::Gui, "GUI         : "},      {kx::PolicyFile::Migration, "Migration   : "}};

} // namespace

void CkxKxGroupPolicyObject::Attach(PGROUP_POLICY_OBJECTW gpo)
{
    _m_gpo = gpo;
    _m_policiesFileTime = {};
    _m_precedence = 0;
}

CString CkxKxGroupPolicyObject::Name() const
{
    if (!_m_gpo)
        return {};
    const std::wstring_view name = InlineName(*_m_gpo);
    return CString(name.data(), static_cast<int>(name.size()));
}

CString CkxKxGroupPolicyObject::DisplayName() const
{
    return _m_gpo ? CString(_m_gpo->lpDisplayName) : CString();
}

CString CkxKxGroupPolicyObject::Folder() const
{
    return _m_gpo ? CString(_m_gpo->lpFileSysPath) : CString();
}

CString CkxKxGroupPolicyObject::DirectoryPath() const
{
    return _m_gpo ? CString(_m_gpo->lpDSPath) : CString();
}

CString CkxKxGroupPolicyObject::Link() const
{
    return _m_gpo ? CString(_m_gpo->lpLink) : CString();
}

CString CkxKxGroupPolicyObject::FilePathIn(const CString& folder, kx::PolicyFile file) const
{
    return CString(kx::PolicyFilePath(kx::View(folder), _m_appended, file).c_str());
}

void CkxKxGroupPolicyObject::ReadPoliciesFileTime()
{
    const CString path = FilePath(kx::PolicyFile::Policies);
    const CkxFileHandle file(::CreateFileW(path, GENERIC_READ,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                           OPEN_EXISTING, 0, nullptr));
    FILETIME written{};
    if (file && ::GetFileTime(file.Get(), nullptr, nullptr, &written))
        _m_policiesFileTime = written;
}

const char* CkxKxGroupPolicyObject::LinkKindName(int link)
{
    constexpr const char* names[] = {"Unknown", "Machine", "Site", "Domain", "OrganizationalUnit"};
    return link >= 0 && link < static_cast<int>(std::size(names)) ? names[link] : "UnrecognizedValue";
}

void CkxKxGroupPolicyObject::Dump() const
{
    if (!_m_gpo) {
        KXT_OUT(KXT_INFO, "INFO:      GPO pointer is NULL");
        return;
    }
    KXT_OUT(KXT_INFO, "INFO:    * Display Name: " << _m_gpo->lpDisplayName);
    KXT_OUT(KXT_INFO, "INFO:      Unique Name : " << InlineName(*_m_gpo));
    KXT_OUT(KXT_INFO, "INFO:      FileSysPath : " << _m_gpo->lpFileSysPath);
    KXT_OUT(KXT_INFO, "INFO:      Extensions  : " << _m_gpo->lpExtensions);
    KXT_OUT(KXT_INFO, "INFO:      DSPath      : " << _m_gpo->lpDSPath);
    KXT_OUT(KXT_INFO, "INFO:      Link        : " << _m_gpo->lpLink);
    KXT_OUT(KXT_INFO, "INFO:      GPOLink     : " << LinkKindName(_m_gpo->GPOLink));
    KXT_OUT(KXT_INFO, "INFO:      Enabled     : " << YesNo((_m_gpo->dwOptions & GPO_FLAG_DISABLE) == 0));
    KXT_OUT(KXT_INFO, "INFO:      Force       : " << YesNo((_m_gpo->dwOptions & GPO_FLAG_FORCE) != 0));
    KXT_OUT(KXT_INFO, "INFO:      Precedence  : " << _m_precedence);
    KXT_OUT(KXT_INFO, "INFO:      Appended    : " << YesNo(_m_appended));
}

void CkxKxGroupPolicyObject::DumpFilePaths() const
{
    for (const FileLabel& entry : kFileLabels)
        KXT_OUT(KXT_INFO, "INFO:      " << entry.label << FilePath(entry.file));
}

D_Line_c& operator<<(D_Line_c& line, const CkxKxGroupPolicyObject& gpo)
{
    return line << gpo.DisplayName() << " - " << gpo.Name();
}
