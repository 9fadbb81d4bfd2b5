// The record of one Group Policy Object.
#include "Agent/engine/kx_gpext/kx_gpo.h"
#include "Tests/trace/trace_fixture.h"

namespace {

class Gpo : public TraceFixture {
  protected:
    void SetUp() override
    {
        TraceFixture::SetUp();
        ConfigureQuietly("print@file@@all@off\n");
    }

    GROUP_POLICY_OBJECTW _m_entry{};
};

TEST_F(Gpo, IsDumpedInAFixedLayout)
{
    wchar_t display[] = L"Fernhill K\x00E4se";
    wchar_t folder[] = L"\\\\dc\\sysvol\\100%25";
    wchar_t extensions[] = L"[{5B3E7C21}]";
    wchar_t dsPath[] = L"LDAP://CN=Machine";
    wchar_t link[] = L"LDAP://DC=fernhill";
    _m_entry.dwOptions = GPO_FLAG_DISABLE | GPO_FLAG_FORCE;
    _m_entry.lpDSPath = dsPath;
    _m_entry.lpFileSysPath = folder;
    _m_entry.lpDisplayName = display;
    _m_entry.GPOLink = GPLinkOrganizationalUnit;
    _m_entry.lpExtensions = extensions;
    _m_entry.lpLink = link;
    std::fill(std::begin(_m_entry.szGPOName), std::end(_m_entry.szGPOName), L'n'); // no NUL behind it
    CkxKxGroupPolicyObject gpo(&_m_entry);
    gpo.SetPrecedence(4000000000U);
    gpo.Dump();
    EXPECT_EQ(Take(), "INFO:    * Display Name: Fernhill K\xC3\xA4se\n"
                      "INFO:      Unique Name : " +
                          std::string(50, 'n') +
                          "\nINFO:      FileSysPath : \\\\dc\\sysvol\\100%25\n"
                          "INFO:      Extensions  : [{5B3E7C21}]\n"
                          "INFO:      DSPath      : LDAP://CN=Machine\n"
                          "INFO:      Link        : LDAP://DC=fernhill\n"
                          "INFO:      GPOLink     : OrganizationalUnit\n"
                          "INFO:      Enabled     : False\n"
                          "INFO:      Force       : True\n"
                          "INFO:      Precedence  : 4000000000\n"
                          "INFO:      Appended    : False\n");
    EXPECT_EQ(gpo.Name().GetLength(), 50);

    _m_entry = {};
    CkxKxGroupPolicyObject(&_m_entry, true).Dump();
    EXPECT_EQ(Take(), "INFO:    * Display Name: <NULL>\nINFO:      Unique Name : \n"
                      "INFO:      FileSysPath : <NULL>\nINFO:      Extensions  : <NULL>\n"
                      "INFO:      DSPath      : <NULL>\nINFO:      Link        : <NULL>\n"
                      "INFO:      GPOLink     : Unknown\nINFO:      Enabled     : True\n"
                      "INFO:      Force       : False\nINFO:      Precedence  : 0\n"
                      "INFO:      Appended    : True\n");
    const CkxKxGroupPolicyObject none;
    none.Dump();
    EXPECT_EQ(Take(), "INFO:      GPO pointer is NULL\n");
    EXPECT_TRUE(none.Name().IsEmpty() && none.DisplayName().IsEmpty() && none.Folder().IsEmpty());
}

TEST_F(Gpo, NamesTheLinkKinds)
{
    const char* const names[] = {"UnrecognizedValue",  "Unknown",          "Machine", "Site", "Domain",
                                 "OrganizationalUnit", "UnrecognizedValue"};
    for (int link = -1; link <= 5; ++link)
        EXPECT_STREQ(CkxKxGroupPolicyObject::LinkKindName(link), names[link + 1]) << link;
}

TEST_F(Gpo, FindsItsFilesBelowItsFolder)
{
    wchar_t folder[] = L"C:\\P";
    _m_entry.lpFileSysPath = folder;
    CkxKxGroupPolicyObject(&_m_entry, true).DumpFilePaths();
    EXPECT_EQ(Take(), "INFO:      Policies    : C:\\P\\Policies.xml\n"
                      "INFO:      App groups  : C:\\P\\ApplicationGroups.xml\n"
                      "INFO:      Tokens      : C:\\P\\Tokens.xml\n"
                      "INFO:      Restrictions: C:\\P\\RestrictionRules.xml\n"
                      "INFO:      GUI         : C:\\P\\GUI.xml\n"
                      "INFO:      Migration   : C:\\P\\Migration.xml\n");
    EXPECT_STREQ(CkxKxGroupPolicyObject(&_m_entry).FilePath(kx::PolicyFile::Tokens),
                 L"C:\\P\\{5B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54A}\\Tokens.xml");
}

TEST_F(Gpo, KeepsTheFileTimeUntilItGetsAnotherEntry)
{
    const std::wstring path = _m_folder.Write(L"Policies.xml", "<GpoPolicies/>");
    const FILETIME written = {0x89ABCDEF, 0x01D00000};
    CkxFileHandle writer(::CreateFileW(path.c_str(), GENERIC_WRITE | DELETE, FILE_SHARE_READ, nullptr,
                                       OPEN_EXISTING, 0,
                                       nullptr)); // held open, as an administrator's tool may
    ASSERT_TRUE(::SetFileTime(writer.Get(), nullptr, nullptr, &written));
    std::wstring elsewhere = _m_folder / L"none";
    std::wstring folder = _m_folder.Path();
    _m_entry.lpFileSysPath = elsewhere.data();
    CkxKxGroupPolicyObject gpo(&_m_entry, true);
    gpo.SetPrecedence(3);
    gpo.ReadPoliciesFileTime();
    EXPECT_EQ(gpo.PoliciesFileTime().dwHighDateTime, 0U);
    _m_entry.lpFileSysPath = folder.data();
    gpo.ReadPoliciesFileTime();
    EXPECT_EQ(gpo.PoliciesFileTime().dwLowDateTime, written.dwLowDateTime);
    EXPECT_EQ(gpo.PoliciesFileTime().dwHighDateTime, written.dwHighDateTime);
    writer.Reset();
    EXPECT_TRUE(::DeleteFileW(path.c_str())) << "the record left it open";
    gpo.ReadPoliciesFileTime();
    EXPECT_EQ(gpo.PoliciesFileTime().dwHighDateTime, written.dwHighDateTime);
    EXPECT_EQ(gpo.Precedence(), 3U);

    GROUP_POLICY_OBJECTW next{};
    _m_entry.pNext = &next;
    EXPECT_EQ(gpo.Next(), &next);
    gpo.Attach(gpo.Next());
    EXPECT_EQ(gpo.Next(), nullptr);
    EXPECT_EQ(gpo.PoliciesFileTime().dwHighDateTime, 0U);
    EXPECT_EQ(gpo.Precedence(), 0U);
    EXPECT_TRUE(gpo.IsAppended());
    EXPECT_EQ(Take(), "");
}

} // namespace
