// Agent state, settings and texts, over a real registry.
#include "Agent/engine/kx_gpext/gp_reg_key.h"
#include "Agent/engine/kx_gpext/gp_utils.h"
#include "Agent/engine/kx_gpext/kx_gpext.h"
#include "Tests/support/hook.h"
#include "Tests/trace/trace_fixture.h"

#include <cstring>

// The extension's own module is this program here.
HMODULE KxModule() noexcept
{
    return nullptr;
}

namespace {

constexpr const wchar_t* kAgentKey = L"Software\\Korvex\\Agent";
constexpr const wchar_t* kExtensionKey =
    L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon\\GPExtensions\\"
    L"{5B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54A}";
constexpr const wchar_t* kScratchKey = L"Software\\KxGpUtilsTest";

int g_openKeys = 0;

LSTATUS WINAPI CountOpening(HKEY parent, LPCWSTR path, DWORD options, REGSAM access, PHKEY key)
{
    EXPECT_EQ(access, static_cast<REGSAM>(KEY_QUERY_VALUE));
    const LSTATUS status = ImportHook<&CountOpening>::Original(parent, path, options, access, key);
    g_openKeys += status == ERROR_SUCCESS ? 1 : 0;
    return status;
}

LSTATUS WINAPI CountClosing(HKEY key)
{
    --g_openKeys;
    return ImportHook<&CountClosing>::Original(key);
}

class GpUtils : public TraceFixture {
  protected:
    void SetUp() override
    {
        TraceFixture::SetUp();
        ConfigureQuietly("print@file@@all@off\nprint@class@CkxGpUtils@250@on\nprint@class@CkxGpUtils@99@on\n"
                         "print@class@CkxGpUtils@199@on\nprint@class@CkxGpUtils@299@on\n");
    }

    void TearDown() override
    {
        for (const wchar_t* key : {kAgentKey, kExtensionKey, kScratchKey})
            ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, key);
        TraceFixture::TearDown();
    }
};

TEST_F(GpUtils, TheSetIdIsReadOrItsAbsenceExplained)
{
    constexpr const char* kNoValue = "ERROR: Failed to query SetID value. Error=";

    const struct {
        const char* why;
        bool key;
        DWORD type;
        const wchar_t* data; // null: no value
        DWORD size;
        const wchar_t* setId; // null: fails
        std::string trace;
    } rows[] = {
        {"no key", false, REG_SZ, nullptr, 0, nullptr,
         "ERROR: Failed to open [HKLM\\Software\\Korvex\\Agent]. Error=2\n"},
        {"no value", true, REG_SZ, nullptr, 0, nullptr, kNoValue + std::string("2\n")},
        {"up to the first NUL", true, REG_EXPAND_SZ, L"{a}\0b", 12, L"{a}", ""},
        {"no bytes", true, REG_SZ, L"", 0, L"", ""},
        {"a list", true, REG_MULTI_SZ, L"a\0", 6, nullptr, kNoValue + std::string("13\n")},
    };

    const ImportHook<&CountOpening> opening("RegOpenKeyExW");
    const ImportHook<&CountClosing> closing("RegCloseKey");
    for (const auto& row : rows) {
        ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, kAgentKey);
        CkxRegKey key;
        ASSERT_TRUE(!row.key || key.Create(HKEY_LOCAL_MACHINE, kAgentKey, KEY_ALL_ACCESS) == ERROR_SUCCESS);
        if (row.data)
            ::RegSetValueExW(key.Get(), L"SetID", 0, row.type, reinterpret_cast<const BYTE*>(row.data),
                             row.size);
        g_openKeys = 0;
        CString setId = L"untouched";
        EXPECT_EQ(CkxGpUtils::GetAgentSetId(setId), row.setId != nullptr) << row.why;
        EXPECT_STREQ(setId, row.setId ? row.setId : L"untouched") << row.why;
        EXPECT_EQ(Take(), row.trace) << row.why;
        EXPECT_EQ(g_openKeys, 0) << row.why;
    }
}

TEST_F(GpUtils, DumpsAreWrittenOnlyWhereANumberSaysSo)
{
    const struct {
        const char* why;
        DWORD type;
        std::uint64_t data;
        DWORD size;
        bool on;
    } rows[] = {
        {"zero", REG_DWORD, 0, 4, false},
        {"any other number", REG_DWORD, 0x80000000, 4, true},
        {"a text", REG_SZ, L'1', 4, false},
        {"64 bits", REG_QWORD, 1, 8, false},
        {"four other bytes", REG_BINARY, 1, 4, false},
        {"a number cut short", REG_DWORD, 1, 2, false},
    };

    EXPECT_FALSE(CkxGpUtils::TraceDumpEnabled()) << "no key";
    for (const auto& row : rows) {
        ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, kExtensionKey, L"KxEnableDump", row.type, &row.data, row.size);
        EXPECT_EQ(CkxGpUtils::TraceDumpEnabled(), row.on) << row.why;
    }
    EXPECT_EQ(Take(), "");
}

const wchar_t* g_domain = nullptr;
const wchar_t* g_account = nullptr; // null: not found

BOOL WINAPI PretendAccount(LPCWSTR, PSID, LPWSTR account, LPDWORD, LPWSTR domain, LPDWORD, PSID_NAME_USE)
{
    if (!g_account)
        return FALSE;
    std::wcscpy(account, g_account);
    std::wcscpy(domain, g_domain);
    return TRUE;
}

TEST_F(GpUtils, ASidIsShownByItsAccountWhereThereIsOne)
{
    const struct {
        const wchar_t* domain;
        const wchar_t* account;
        const wchar_t* text;
    } rows[] = {{L"FERNHILL", L"mona", L"FERNHILL\\mona"},
                {L"", L"Everyone", L"Everyone"},
                {L"FERNHILL", L"", L"FERNHILL\\"},
                {L"", L"", L"S-1-1-0"},
                {nullptr, nullptr, L"S-1-1-0"}};

    const ImportHook<&PretendAccount> lookUp("LookupAccountSidW");
    for (const auto& row : rows) {
        g_domain = row.domain;
        g_account = row.account;
        EXPECT_STREQ(CkxGpUtils::SidToText(Sids::World()), row.text);
    }
    EXPECT_STREQ(CkxGpUtils::SidToText(CSid()), L"<InvalidSid>");
}

TEST_F(GpUtils, ATokenIsShownByItsUser)
{
    CAccessToken token;
    CSid user;
    ASSERT_TRUE(token.GetProcessToken(TOKEN_QUERY) && token.GetUser(&user));
    EXPECT_STREQ(CkxGpUtils::TokenUserToText(token), CkxGpUtils::SidToText(user));
    CAccessToken wrong;
    EXPECT_STREQ(CkxGpUtils::TokenUserToText(wrong), L"<InvalidUserToken=0x00000000>");
    wrong.Attach(reinterpret_cast<HANDLE>(UINT_PTR{0xAB00}));
    EXPECT_STREQ(CkxGpUtils::TokenUserToText(wrong), L"<InvalidUserToken=0x0000AB00>");
    (void)wrong.Detach();
}

BOOL g_verbose = FALSE;
std::wstring g_status;

DWORD CALLBACK TakeStatus(BOOL verbose, LPWSTR message)
{
    g_verbose = verbose;
    g_status = message;
    ::SetLastError(5);
    return 0;
}

TEST_F(GpUtils, AStatusGoesToTheTraceAndToTheEngine)
{
    const struct {
        std::uint32_t level;
        const char* prefix;
        BOOL verbose;
    } rows[] = {{99, "ERROR: ", TRUE},    {100, "ERROR: ", TRUE},   {199, "ERROR: ", TRUE},
                {200, "WARNING: ", TRUE}, {250, "WARNING: ", TRUE}, {299, "WARNING: ", TRUE},
                {300, "INFO: ", FALSE}};

    for (const auto& row : rows) {
        for (const bool engine : {true, false}) {
            g_verbose = -1;
            g_status.clear();
            ::SetLastError(0x12345678);
            CkxGpUtils::StatusReport(engine ? &TakeStatus : nullptr, row.level, L"%s has %d %%", L"K\x00E4se",
                                     -7);
            EXPECT_EQ(::GetLastError(), 0x12345678U);
            EXPECT_EQ(Take(), row.prefix + std::string("K\xC3\xA4se has -7 %\n")) << row.level;
            EXPECT_EQ(g_status, engine ? L"K\x00E4se has -7 %" : L"") << row.level;
            EXPECT_EQ(g_verbose, engine ? row.verbose : -1) << row.level;
        }
    }
}

// The system's look-up of functions, as a system sees it that has the transacted ones, or has not.
bool g_hasTransacted = false;
HANDLE g_usedTransaction = nullptr;

LSTATUS WINAPI OpenTransacted(HKEY parent, LPCWSTR path, DWORD options, REGSAM access, PHKEY key,
                              HANDLE transaction, PVOID)
{
    g_usedTransaction = transaction;
    return ::RegOpenKeyExW(parent, path, options, access, key);
}

LSTATUS WINAPI CreateTransacted(HKEY parent, LPCWSTR path, DWORD reserved, LPWSTR keyClass, DWORD options,
                                REGSAM access, const LPSECURITY_ATTRIBUTES security, PHKEY key,
                                LPDWORD disposition, HANDLE transaction, PVOID)
{
    g_usedTransaction = transaction;
    return ::RegCreateKeyExW(parent, path, reserved, keyClass, options, access, security, key, disposition);
}

FARPROC WINAPI FindTransacted(HMODULE module, LPCSTR name)
{
    const auto ifAny = [](auto function) {
        return g_hasTransacted ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(function)) : nullptr;
    };
    if (std::strcmp(name, "RegOpenKeyTransactedW") == 0)
        return ifAny(&OpenTransacted);
    if (std::strcmp(name, "RegCreateKeyTransactedW") == 0)
        return ifAny(&CreateTransacted);
    return ImportHook<&FindTransacted>::Original(module, name);
}

TEST_F(GpUtils, AKeyIsNeverOpenedOutsideOfItsTransaction)
{
    const HANDLE transaction = reinterpret_cast<HANDLE>(UINT_PTR{0x70});

    const struct {
        const char* why;
        HANDLE transaction;
        bool mayGoWithout, hasTransacted;
        LSTATUS result;
    } rows[] = {
        {"none, and none needed", nullptr, true, true, ERROR_SUCCESS},
        {"none, but one needed", nullptr, false, true, ERROR_INVALID_FUNCTION},
        {"a transaction", transaction, false, true, ERROR_SUCCESS},
        {"a system without transactions", transaction, true, false, ERROR_INVALID_FUNCTION},
    };

    const ImportHook<&FindTransacted> find("GetProcAddress");
    for (const auto& row : rows) {
        ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, kScratchKey);
        g_hasTransacted = row.hasTransacted;
        for (const bool create : {true, false}) {
            g_usedTransaction = nullptr;
            CkxGpRegKey key(row.transaction, row.mayGoWithout);
            EXPECT_EQ(create ? key.Create(HKEY_LOCAL_MACHINE, kScratchKey, 0x2001F)
                             : key.Open(HKEY_LOCAL_MACHINE, kScratchKey, KEY_QUERY_VALUE),
                      row.result)
                << row.why;
            EXPECT_EQ(key.Get() != nullptr, row.result == ERROR_SUCCESS) << row.why;
            EXPECT_EQ(g_usedTransaction, row.result == ERROR_SUCCESS ? row.transaction : nullptr) << row.why;
            const HKEY held = key.Get();
            EXPECT_NE(key.Open(HKEY_LOCAL_MACHINE, L"Software\\KxNoSuchKey", KEY_READ), ERROR_SUCCESS);
            EXPECT_EQ(key.Get(), held) << row.why;
        }
    }
}

} // namespace
