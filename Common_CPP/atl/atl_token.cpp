#include "Common_CPP/atl/atl_token.h"

#include <cassert>
#include <utility>

namespace ATL {

CAccessToken::~CAccessToken()
{
    _Replace(nullptr);
}

void CAccessToken::Attach(HANDLE token) noexcept
{
    assert(_m_token == nullptr);
    _m_token = token;
}

HANDLE CAccessToken::Detach() noexcept
{
    return std::exchange(_m_token, nullptr);
}

bool CAccessToken::GetEffectiveToken(DWORD access) noexcept
{
    return GetThreadToken(access) || (::GetLastError() == ERROR_NO_TOKEN && GetProcessToken(access));
}

bool CAccessToken::GetProcessToken(DWORD access, HANDLE process) noexcept
{
    HANDLE token = nullptr;
    if (!::OpenProcessToken(process != nullptr ? process : ::GetCurrentProcess(), access, &token))
        return false;
    _Replace(token);
    return true;
}

bool CAccessToken::GetThreadToken(DWORD access, HANDLE thread, bool openAsSelf) noexcept
{
    HANDLE token = nullptr;
    if (!::OpenThreadToken(thread != nullptr ? thread : ::GetCurrentThread(), access, openAsSelf, &token))
        return false;
    _Replace(token);
    return true;
}

bool CAccessToken::GetUser(CSid* sid) const
{
    union {
        TOKEN_USER user;
        BYTE room[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
    } answer;

    DWORD size = 0;
    if (sid == nullptr || !::GetTokenInformation(_m_token, TokenUser, &answer, sizeof answer, &size))
        return false;
    *sid = CSid(static_cast<const SID*>(answer.user.User.Sid));
    return true;
}

bool CAccessToken::GetStatistics(TOKEN_STATISTICS* statistics) const noexcept
{
    DWORD size = 0;
    return ::GetTokenInformation(_m_token, TokenStatistics, statistics, sizeof *statistics, &size) != FALSE;
}

bool CAccessToken::GetTokenId(LUID* id) const noexcept
{
    TOKEN_STATISTICS statistics;
    if (!GetStatistics(&statistics))
        return false;
    *id = statistics.TokenId;
    return true;
}

void CAccessToken::_Replace(HANDLE token) noexcept
{
    const HANDLE old = std::exchange(_m_token, token);
    if (old == nullptr)
        return;
    const DWORD error = ::GetLastError();
    ::CloseHandle(old);
    ::SetLastError(error);
}

} // namespace ATL
