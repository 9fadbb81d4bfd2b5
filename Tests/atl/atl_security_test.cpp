#include "Common_CPP/atl/kx_atl.h"

#include <gtest/gtest.h>

namespace {

/// An identifier with the most parts that one can have.
struct LongestSid {
    SID head = {SID_REVISION, SID_MAX_SUB_AUTHORITIES, SECURITY_NT_AUTHORITY, {21}};
    DWORD tail[SID_MAX_SUB_AUTHORITIES - 1] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 0xFFFFFFFF};
};

/// Whether the handle is open. Counting handles would say more, but GetProcessHandleCount answers 0 here.
bool IsOpen(HANDLE handle)
{
    DWORD flags = 0;
    return ::GetHandleInformation(handle, &flags) != FALSE;
}

/// Gives the thread an impersonation token of the process's user for a scope.
class ImpersonatedSelf {
  public:
    ImpersonatedSelf() { EXPECT_TRUE(::ImpersonateSelf(SecurityImpersonation)); }

    ~ImpersonatedSelf() { EXPECT_TRUE(::RevertToSelf()); }
};

TOKEN_TYPE TypeOf(const CAccessToken& token)
{
    TOKEN_STATISTICS statistics = {};
    EXPECT_TRUE(token.GetStatistics(&statistics));
    return statistics.TokenType;
}

} // namespace

TEST(CSidTest, WellKnownOnesHaveTextAndNames)
{
    EXPECT_STREQ(Sids::World().Sid(), L"S-1-1-0");
    CSid sid = Sids::Admins();
    EXPECT_STREQ(sid.Sid(), L"S-1-5-32-544");
    sid = Sids::System();
    EXPECT_STREQ(sid.Sid(), L"S-1-5-18") << "the text follows";
    EXPECT_STRNE(sid.AccountName(), L"");
    EXPECT_STRNE(sid.Domain(), L"");
    EXPECT_STREQ(CSid(sid).AccountName(), sid.AccountName());
    sid = CSid();
    EXPECT_STREQ(sid.Sid(), L"");
}

TEST(CSidTest, HoldsTheLongestAndRefusesTheIllFormed)
{
    LongestSid longest;
    const CSid sid(&longest.head);
    EXPECT_TRUE(sid.IsValid());
    EXPECT_EQ(sid.GetLength(), static_cast<UINT>(SECURITY_MAX_SID_SIZE));
    EXPECT_STREQ(sid.Sid(), L"S-1-5-21-1-2-3-4-5-6-7-8-9-10-11-12-13-4294967295");
    EXPECT_STREQ(sid.AccountName(), L"");
    EXPECT_STREQ(sid.Domain(), L"");

    LongestSid other = longest;
    other.tail[13] = 0;
    EXPECT_TRUE(sid == CSid(longest.head) && sid != CSid(other.head) && sid != CSid());

    other.head.Revision = SID_REVISION + 1;
    LongestSid tooLong;
    tooLong.head.SubAuthorityCount = SID_MAX_SUB_AUTHORITIES + 1;
    for (const CSid& invalid : {CSid(), CSid(nullptr), CSid(other.head), CSid(tooLong.head)}) {
        EXPECT_FALSE(invalid.IsValid());
        EXPECT_STREQ(invalid.Sid(), L"");
        EXPECT_STREQ(invalid.AccountName(), L"");
        EXPECT_TRUE(invalid == CSid());
    }
}

TEST(CAccessTokenTest, FindsTheTokenInEffect)
{
    CAccessToken token;
    EXPECT_FALSE(token.GetThreadToken(TOKEN_QUERY));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_NO_TOKEN));
    ASSERT_TRUE(token.GetEffectiveToken(TOKEN_QUERY));
    EXPECT_EQ(TypeOf(token), TokenPrimary);
    CSid user;
    ASSERT_TRUE(token.GetUser(&user));
    EXPECT_TRUE(user.IsValid());
    EXPECT_STRNE(user.AccountName(), L"");

    const ImpersonatedSelf impersonated;
    ASSERT_TRUE(token.GetEffectiveToken(TOKEN_QUERY));
    EXPECT_EQ(TypeOf(token), TokenImpersonation);
    CSid again;
    ASSERT_TRUE(token.GetUser(&again));
    EXPECT_TRUE(user == again);
    LUID id = {};
    LUID other = {};
    CAccessToken process;
    ASSERT_TRUE(process.GetProcessToken(TOKEN_QUERY) && process.GetTokenId(&id) && token.GetTokenId(&other));
    EXPECT_NE(id.LowPart, other.LowPart);
}

TEST(CAccessTokenTest, FailuresChangeNothing)
{
    CAccessToken token;
    ASSERT_TRUE(token.GetProcessToken(TOKEN_IMPERSONATE)); // without the right to ask
    const HANDLE held = token.GetHandle();
    CSid user = Sids::World();
    EXPECT_FALSE(token.GetUser(&user));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_TRUE(user == Sids::World());
    LUID id = {7, 7};
    EXPECT_FALSE(token.GetTokenId(&id));
    EXPECT_EQ(id.LowPart, 7u);
    EXPECT_FALSE(token.GetThreadToken(TOKEN_QUERY));
    EXPECT_EQ(token.GetHandle(), held);
    EXPECT_FALSE(CAccessToken().GetUser(&user));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

TEST(CAccessTokenTest, ClosesWhatItOwns)
{
    CAccessToken outer;
    ASSERT_TRUE(outer.GetProcessToken(TOKEN_QUERY));
    HANDLE first = nullptr;
    HANDLE second = nullptr;
    {
        CAccessToken token;
        ASSERT_TRUE(token.GetProcessToken(TOKEN_QUERY));
        first = token.GetHandle();
        ASSERT_TRUE(token.GetProcessToken(TOKEN_QUERY));
        second = token.GetHandle();
        EXPECT_TRUE(!IsOpen(first) && IsOpen(second)) << "a new token must close the one before";
        CAccessToken borrower;
        borrower.Attach(outer.GetHandle());
        EXPECT_EQ(borrower.Detach(), outer.GetHandle());
        borrower.Attach(first); // closed already, so closing it fails and sets another error
        ::SetLastError(0x12345678);
    }
    const DWORD error = ::GetLastError();
    EXPECT_FALSE(IsOpen(second)); // asked before anything else can open a handle
    EXPECT_EQ(error, 0x12345678u);
    EXPECT_TRUE(IsOpen(outer.GetHandle())) << "the borrower closed what it had given back";
}
