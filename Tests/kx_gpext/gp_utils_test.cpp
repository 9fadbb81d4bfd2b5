// Settings, texts, status lines and transacted keys, over a real registry.
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

constexpr const wchar_t* kExtensionKey =
    L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon\\GPExtensions\\"
    L"{5B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54A}";
constexpr const wchar_t* kScratchKey = L"Software\\KxGpUtilsTest";

class GpUtils : public testing::Test {
  protected:
    void TearDown() override
    {
        for (const wchar_t* key : {kExtensionKey, kScratchKey})
            ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, key);
    }
};

TEST_F(GpUtils, DumpsAreWrittenOnlyWhereANumberSaysSo)
{
    EXPECT_FALSE(CkxGpUtils::TraceDumpEnabled()) << "no key";
    for (const DWORD value : {0UL, 0x80000000UL}) {
        ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, kExtensionKey, L"KxEnableDump", REG_DWORD, &value,
                          sizeof value);
        EXPECT_EQ(CkxGpUtils::TraceDumpEnabled(), value != 0);
    }
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

class GpUtilsTrace : public TraceFixture {};

TEST_F(GpUtilsTrace, AStatusGoesToTheTraceAndToTheEngine)
{
    const struct {
        std::uint32_t level;
        const char* prefix;
        BOOL verbose;
    } rows[] = {{99, "ERROR: ", TRUE},    {100, "ERROR: ", TRUE},   {199, "ERROR: ", TRUE},
                {200, "WARNING: ", TRUE}, {250, "WARNING: ", TRUE}, {299, "WARNING: ", TRUE},
                {300, "INFO: ", FALSE}};

    ConfigureQuietly("print@class@CkxGpUtils@@on\n");
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

LSTATUS WINAPI CreateTransacted(HKEY parent, LPCWSTR path, DWORD, LPWSTR, DWORD, REGSAM,
                                const LPSECURITY_ATTRIBUTES, PHKEY key, LPDWORD, HANDLE transaction, PVOID)
{
    g_usedTransaction = transaction;
    return ::RegCreateKeyW(parent, path, key);
}

FARPROC WINAPI FindTransacted(HMODULE, LPCSTR name)
{
    const auto function = std::strcmp(name, "RegOpenKeyTransactedW") == 0
                              ? reinterpret_cast<void*>(&OpenTransacted)
                              : reinterpret_cast<void*>(&CreateTransacted);
    return g_hasTransacted ? reinterpret_cast<FARPROC>(function) : nullptr;
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
        }
    }
}

} // namespace
