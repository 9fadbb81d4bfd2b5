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

} // namespace
