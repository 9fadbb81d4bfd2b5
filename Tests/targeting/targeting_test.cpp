// The targeting stand-in as an extension uses it: found through its registration, called with one entry,
// judged by whether the marker value appeared.

#include "Common_CPP/util/reg_key.h"
#include "Tests/support/temp_folder.h"
#include "Tools/host/extension_module.h"
#include "Tools/targeting/targeting_registration.h"

#include <gmock/gmock.h>

#include <userenv.h>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const wchar_t* kMarkerKey = L"software\\korvex\\agent\\temp";
constexpr const wchar_t* kMarker = L"ILTTest";
constexpr const wchar_t* kGpExtensions =
    L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon\\GPExtensions";

std::string Narrow(const std::wstring& text)
{
    return {text.begin(), text.end()};
}

void SetText(const CkxRegKey& key, const wchar_t* name, DWORD type, const std::wstring& text)
{
    EXPECT_EQ(::RegSetValueExW(key.Get(), name, 0, type, reinterpret_cast<const BYTE*>(text.c_str()),
                               static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))),
              ERROR_SUCCESS);
}

/// One registry item that writes `value` where the marker stands.
std::string Item(const std::string& value, const std::string& filters)
{
    return "<Registry clsid='{9CD4B2F4-923D-47f5-A062-E897DD1DAD50}' name='" + value +
           "' bypassErrors='1'><Properties action='U' displayDecimal='0' default='0' "
           "hive='HKEY_LOCAL_MACHINE' "
           "key='software\\korvex\\agent\\temp' type='REG_SZ' value='ILTTest' name='" +
           value + "'/>" + filters + "</Registry>";
}

std::string Settings(const std::string& items)
{
    return R"(<?xml version="1.0" encoding="utf-8" ?> <RegistrySettings>)" + items + "</RegistrySettings>";
}

std::string Filters(const std::string& filters)
{
    return "<ItemLevelTargeting><Filters>" + filters + "</Filters></ItemLevelTargeting>";
}

/// Deletes a value under the marker's key; true when it was there.
bool Take(const wchar_t* value)
{
    CkxRegKey key;
    return key.Create(HKEY_LOCAL_MACHINE, kMarkerKey, KEY_SET_VALUE) == ERROR_SUCCESS &&
           ::RegDeleteValueW(key.Get(), value) == ERROR_SUCCESS;
}

CString Registered(const wchar_t* value)
{
    CkxRegKey key;
    CString text;
    const CString path = CString(kGpExtensions) + L"\\" + CkxTargetingRegistration::c_extension;
    if (key.Open(HKEY_LOCAL_MACHINE, path, KEY_QUERY_VALUE) != ERROR_SUCCESS ||
        key.QueryString(value, text, CkxRegKey::c_maxStringBytes) != ERROR_SUCCESS)
        return L"(none)";
    return text;
}

class TargetingTest : public testing::Test {
  protected:
    void SetUp() override
    {
        ASSERT_EQ(m_registration.Register(KX_STAGE L"\\kx_targeting.dll"), 0U)
            << Narrow(m_registration.Reason());
        Take(kMarker);
    }

    /// Loads the registered module, calls it for the work folder and lets go of it.
    DWORD Call(DWORD flags = 0)
    {
        const CkxModule module(
            ::LoadLibraryExW(Registered(L"DllName"), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
        const std::string entry = Narrow(Registered(L"ProcessGroupPolicyEx").GetString());
        const auto process = reinterpret_cast<PFNPROCESSGROUPPOLICYEX>(
            reinterpret_cast<void*>(::GetProcAddress(module.Get(), entry.c_str())));
        if (process == nullptr)
            return ERROR_PROC_NOT_FOUND;
        std::wstring folder = m_work;
        GROUP_POLICY_OBJECTW gpo{};
        gpo.dwVersion = 0x00140014;
        gpo.lpFileSysPath = folder.data();
        gpo.GPOLink = GPLinkMachine;
        HRESULT status = E_FAIL;
        return process(flags, m_token.Get(), HKEY_LOCAL_MACHINE, nullptr, &gpo, 0, &m_abort, nullptr, nullptr,
                       &status);
    }

    DWORD CallWith(const std::string& settings, DWORD flags = 0)
    {
        m_folder.Write(L"tmp\\Preferences\\Registry\\Registry.xml", settings);
        return Call(flags);
    }

    /// Whether an item with these filters is performed; the call must succeed.
    bool Lets(const std::string& filters, DWORD flags = 0)
    {
        EXPECT_EQ(CallWith(Settings(Item("ILTTest", Filters(filters))), flags), 0U) << filters;
        return Take(kMarker);
    }

    std::string Report() const { return ReadBytes(m_work + L"\\targeting-report.txt"); }

    CkxTargetingRegistration m_registration;
    TempFolder m_folder;
    std::wstring m_work = m_folder / L"tmp";
    CkxHandle m_token = MakeUserToken();
    BOOL m_abort = FALSE;
};

} // namespace

TEST_F(TargetingTest, EachFilterAsksTheMachine)
{
    wchar_t computer[64] = {};
    DWORD size = std::size(computer);
    ASSERT_TRUE(::GetComputerNameW(computer, &size));
    CAccessToken token;
    CSid user;
    ASSERT_TRUE(token.GetProcessToken(TOKEN_QUERY) && token.GetUser(&user));
    SYSTEMTIME now{};
    ::GetLocalTime(&now);
    ::SetEnvironmentVariableW(L"KX_TARGETING", L"Set");
    ::SetEnvironmentVariableW(L"KX_WORK", m_folder.Path().c_str());
    m_folder.Write(L"there.txt", "x");
    CkxRegKey key;
    ASSERT_EQ(key.Create(HKEY_CURRENT_USER, L"Software\\KxTargeting", KEY_SET_VALUE), ERROR_SUCCESS);
    SetText(key, L"Text", REG_EXPAND_SZ, L"%Path%");
    const DWORD number = 0x0006041D;
    ASSERT_EQ(
        ::RegSetValueExW(key.Get(), L"", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number),
        ERROR_SUCCESS);

    const std::string version =
        "File type='VERSION' folder='0' gte='1' lte='1' path='%SystemRoot%\\system32\\kernel32.dll' ";
    const std::string ofUser = R"(Registry hive="HKEY_CURRENT_USER" key="Software\KxTargeting" )";
    const std::string locale = "Language language='" + std::to_string(::GetSystemDefaultLCID()) +
                               "' locale='" + std::to_string(::GetSystemDefaultLCID()) + "' ";
    const std::string most = "4294967295";
    const std::pair<bool, std::string> rows[] = {
        {true, "User name='" + Narrow(user.Domain()) + "\\" + Narrow(user.AccountName()) + "'"},
        {true, "User sid='" + Narrow(user.Sid()) + "'"},
        {false, "User name='*\\*' sid='S-1-5-19'"},
        {true, "Computer type='NETBIOS' name='" + Narrow(computer) + "'"},
        {true, "Variable variableName='kx_targeting' value='SET'"},
        {true, "File type='EXISTS' folder='0' path='%KX_WORK%\\there.txt'"},
        {false, "File type='EXISTS' folder='1' path='%KX_WORK%\\there.txt'"},
        {true, "File type='EXISTS' folder='1' path='%KX_WORK%\\tmp'"},
        {true, version + "min='0.0.0.1' max='65535.0.0.0'"},
        {false, version + "min='0.0.0.0' max='0.0.0.1'"},
        {true, "Group userContext='1' sid='S-1-1-0'"},
        {true, R"(Group userContext='1' name='BUILTIN\Users')"},
        {false, "Group userContext='1' sid='S-1-5-32-546'"},
        {true, "Domain userContext='1' name='" + Narrow(user.Domain()) + "'"},
        {false, "Domain userContext='1' name='NO-SUCH'"},
        {false, "Domain userContext='0' name='NO-SUCH'"},
        {true, ofUser + "type='KEYEXISTS'"},
        {false, R"(Registry hive="HKEY_LOCAL_MACHINE" key="Software\KxTargeting" type='KEYEXISTS')"},
        {true, ofUser + "type='MATCHVALUE' subtype='EQUALS' valueType='REG_DWORD' valueData='0006041D'"},
        {true, ofUser + "type='MATCHVALUE' subtype='SUBSTRING' valueName='Text' valueData='Path'"},
        {true, "Date period='MONTHLY' day='" + std::to_string(now.wDay) + "'"},
        {false, "IpRange min='127.0.0.0' max='127.255.255.255'"},
        {false, "MacRange min='00-00-00-00-00-00' max='00-00-00-00-00-00'"},
        {true, locale + "system='1'"},
        {true, locale + "default='1'"},
        {true, locale + "native='1'"},
        {true, "Disk drive='%SystemDrive%' freeSpace='0'"},
        {false, "Disk drive='C:' freeSpace='" + most + "'"},
        {true, "Ram totalMB='64'"},
        {false, "Ram totalMB='" + most + "'"},
        {true, "Cpu speedMHz='1'"},
        {false, "Cpu speedMHz='" + most + "'"},
        {false, "Os class='NT' version='2K' type='NE' edition='NE' sp='NE'"},
    };
    for (const auto& [expected, filter] : rows)
        EXPECT_EQ(Lets("<Filter" + filter + " bool='AND' not='0'/>"), expected) << filter;
    EXPECT_TRUE(Lets("<FilterProcMode backRefr='1'/>", GPO_INFO_FLAG_BACKGROUND));
    EXPECT_FALSE(Lets("<FilterProcMode backRefr='1'/>"));
    EXPECT_THAT(Report(), IsEmpty());
    EXPECT_EQ(::GetModuleHandleW(L"kx_targeting.dll"), nullptr) << "nothing keeps the module loaded";
    ::RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\KxTargeting");
}

TEST_F(TargetingTest, FactsComeBeforeWhatTheMachineSays)
{
    const wchar_t* const facts = L"tmp\\targeting-facts.txt";
    const std::string group = "<FilterGroup userContext='1' name='FERNHILL\\H\xC3\xA4"
                              "lle'/>";
    m_folder.Write(facts, "\xEF\xBB\xBFuser.name = FERNHILL\\Anna\r\nuser.group = FERNHILL\\h\xC3\xA4"
                          "lle\r\n");
    EXPECT_TRUE(Lets(group));
    m_folder.Write(facts, "user.name = FERNHILL\\Anna\nuser.group =\n");
    EXPECT_FALSE(Lets(group));
    EXPECT_THAT(Report(), IsEmpty());

    m_folder.Write(facts, "user.name = FERNHILL\\Anna\nuser.groups = FERNHILL\\H\n");
    EXPECT_TRUE(Lets("<FilterComputer type='NETBIOS' name='no-such'/>"));
    EXPECT_EQ(Report(), "the facts file: line 2: [user.groups] is no fact that is known\r\n"
                        "ILTTest: let through: FilterComputer: the computer's name is not known\r\n");

    ::DeleteFileW((m_folder / facts).c_str());
    ::DeleteFileW((m_work + L"\\targeting-report.txt").c_str());
    ::CreateDirectoryW((m_folder / facts).c_str(), nullptr);
    EXPECT_TRUE(Lets("<FilterComputer type='NETBIOS' name='*'/>"));
    EXPECT_THAT(Report(), StartsWith("the facts file: it cannot be read, error 5\r\n"));
    ::RemoveDirectoryW((m_folder / facts).c_str());
}

TEST_F(TargetingTest, TheUsersVariablesCountInUserScopeOnly)
{
    CkxRegKey key;
    ASSERT_EQ(key.Create(HKEY_CURRENT_USER, L"Environment", KEY_SET_VALUE), ERROR_SUCCESS);
    SetText(key, L"KX_OF_USER", REG_SZ, L"theirs");
    const std::string filter = "<FilterVariable variableName='KX_OF_USER' value='theirs'/>";
    EXPECT_TRUE(Lets(filter));
    EXPECT_FALSE(Lets(filter, GPO_INFO_FLAG_MACHINE));
    ::RegDeleteValueW(key.Get(), L"KX_OF_USER");
}

TEST_F(TargetingTest, TheTreeIsReadFromEveryPlace)
{
    const std::string yes = "<FilterVariable not='1' variableName='KX_NONE' value='x'/>";
    const std::string no = "<FilterVariable variableName='KX_NONE' value='x'/>";
    const std::string inner = "<FilterCollection bool='AND'>" + no + "</FilterCollection>";
    const std::string outer =
        "<FilterCollection bool='OR' not='1'><!-- not (yes and no) -->" + yes + inner + "</FilterCollection>";
    const std::pair<std::string, bool> rows[] = {
        {"", true},
        {Filters(""), true},
        {Filters(no + outer), true},
        {Filters(no + outer + no), false},
        {"<Filters>" + no + "</Filters>", false},
        {"<ItemLevelTargeting>" + no + "</ItemLevelTargeting>", false},
    };
    for (const auto& [filters, performed] : rows) {
        EXPECT_EQ(CallWith(Settings(Item("ILTTest", filters))), 0U) << filters;
        EXPECT_EQ(Take(kMarker), performed) << filters;
    }
    EXPECT_THAT(Report(), IsEmpty());
    EXPECT_EQ(CallWith(Settings(Item("ILTTest", Filters(no) + "<Filters>" + no + "</Filters>"))), 0U);
    EXPECT_TRUE(Take(kMarker));
    EXPECT_THAT(Report(), HasSubstr("ILTTest: let through: filters stand in more than one place\r\n"));
}

TEST_F(TargetingTest, WhatIsNotKnownIsLetThroughAndNamed)
{
    EXPECT_TRUE(Lets("<FilterVariable variableName='KX_NONE' value='x'/>"
                     "<FilterCollection bool='AND'><Filter\xC3\x84 user='1'/></FilterCollection>"
                     "<FilterUser name='a\\b' two='2'/>"));
    EXPECT_EQ(Report(), "ILTTest: let through: Filter\xC3\x84: a filter that is not known\r\n"
                        "ILTTest: let through: FilterUser: an attribute that is not known: two\r\n");
}

TEST_F(TargetingTest, DepthIsRefusedNotSuffered)
{
    const auto nested = [](int depth) {
        std::string text = R"(<FilterVariable variableName="KX_NONE" value="x"/>)";
        for (int i = 0; i < depth; ++i)
            text = "<FilterCollection>" + text + "</FilterCollection>";
        return text;
    };
    EXPECT_FALSE(Lets(nested(200)));
    EXPECT_EQ(CallWith(Settings(Item("ILTTest", Filters(nested(3000))))), DWORD{ERROR_XML_PARSE_ERROR});
    EXPECT_FALSE(Take(kMarker));
    EXPECT_THAT(Report(), StartsWith("the settings file: "));
}

TEST_F(TargetingTest, WhatIsBrokenIsNotPerformedAndSaidSo)
{
    const std::string other =
        R"(<Registry name="i"><Properties action="D" default="0" hive="HKEY_LOCAL_MACHINE")"
        R"( key="k" name="n" type="REG_SZ" value=""/></Registry>)";

    const struct {
        const char* why;
        std::string settings;
        DWORD result;
        const char* report;
    } rows[] = {
        {"no XML", "", ERROR_XML_PARSE_ERROR, "the settings file: "},
        {"another document", "<Files/>", ERROR_XML_PARSE_ERROR,
         "its outermost element is not RegistrySettings"},
        {"another action", Settings(other), ERROR_INVALID_DATA,
         "i: not performed: only action=\"U\" is known"},
        {"no properties", Settings("<Registry name='i'/>"), ERROR_INVALID_DATA,
         "it has no Properties element"},
        {"another item", Settings("<Collection/>"), ERROR_INVALID_DATA, "Collection: not performed: "},
    };

    for (const auto& row : rows) {
        ::DeleteFileW((m_work + L"\\targeting-report.txt").c_str());
        EXPECT_EQ(CallWith(row.settings), row.result) << row.why;
        EXPECT_THAT(Report(), HasSubstr(row.report)) << row.why;
    }
    EXPECT_EQ(CallWith(Settings(other + Item("ILTTest", ""))), DWORD{ERROR_INVALID_DATA});
    EXPECT_TRUE(Take(kMarker)) << "each item is on its own";

    m_abort = TRUE;
    EXPECT_EQ(CallWith(Settings(Item("ILTTest", ""))), DWORD{ERROR_OPERATION_ABORTED});
    EXPECT_FALSE(Take(kMarker));
    m_abort = FALSE;
    m_work = m_folder / L"none";
    EXPECT_EQ(Call(), DWORD{ERROR_PATH_NOT_FOUND});
    m_work = L"";
    EXPECT_EQ(Call(), DWORD{ERROR_INVALID_PARAMETER});
}

TEST(TargetingRegistration, LeavesTheMachineAsItWas)
{
    const std::wstring ours = KX_STAGE L"\\kx_targeting.dll";
    const CString path = CString(kGpExtensions) + L"\\" + CkxTargetingRegistration::c_extension;
    CkxRegKey key;
    const LSTATUS before = key.Open(HKEY_LOCAL_MACHINE, kGpExtensions, KEY_QUERY_VALUE);
    {
        CkxTargetingRegistration first;
        ASSERT_EQ(first.Register(ours), 0U);
        EXPECT_EQ(CkxTargetingRegistration().Register(ours), 0U) << "the stand-in itself may be there";
        EXPECT_STREQ(Registered(L"DllName"), ours.c_str()) << "the first one's";
    }
    EXPECT_EQ(key.Open(HKEY_LOCAL_MACHINE, path, KEY_QUERY_VALUE), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(key.Open(HKEY_LOCAL_MACHINE, kGpExtensions, KEY_QUERY_VALUE), before);

    ASSERT_EQ(key.Create(HKEY_LOCAL_MACHINE, path, KEY_SET_VALUE), ERROR_SUCCESS);
    SetText(key, L"DllName", REG_EXPAND_SZ, L"%SystemRoot%\\System32\\other.dll");
    CkxTargetingRegistration refused;
    EXPECT_EQ(refused.Register(ours), DWORD{ERROR_ALREADY_REGISTERED});
    EXPECT_THAT(Narrow(refused.Reason()), HasSubstr("%SystemRoot%\\System32\\other.dll"));
    EXPECT_STREQ(Registered(L"DllName"), L"%SystemRoot%\\System32\\other.dll");
    EXPECT_STREQ(Registered(L"ProcessGroupPolicyEx"), L"(none)");

    ::RegDeleteValueW(key.Get(), L"DllName");
    EXPECT_EQ(refused.Register(L"C:\\none\\kx_targeting.dll"), DWORD{ERROR_BAD_PATHNAME});
    EXPECT_EQ(refused.Register(L"C:\\windows\\regedit.exe"), DWORD{ERROR_BAD_PATHNAME});
    EXPECT_EQ(CkxTargetingRegistration().Register(ours), 0U);
    EXPECT_STREQ(Registered(L"DllName"), L"(none)");
    EXPECT_EQ(key.Open(HKEY_LOCAL_MACHINE, path, KEY_QUERY_VALUE), ERROR_SUCCESS) << "not ours to remove";
    key = CkxRegKey();
    ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, path);
    if (before == ERROR_FILE_NOT_FOUND)
        ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, kGpExtensions);
}
