#include "Agent/engine/kx_gpext/impersonation.h"

#include "Common_CPP/trace/trace.h"
#include "Common_CPP/util/unique_handle.h"

KXT_CLASS("CkxGpXml");

CkxGpXml::CkxImpersonateAndRevert::CkxImpersonateAndRevert(const CkxGpXml& owner) : _m_owner(owner)
{
    const HANDLE token = owner.GetHandle();
    if (!token)
        return;
    _m_impersonated = _PutOnThread(token);
    _m_ready = _m_impersonated || _IsOwnIdentity();
}

CkxGpXml::CkxImpersonateAndRevert::~CkxImpersonateAndRevert()
{
    if (!_m_impersonated || ::SetThreadToken(nullptr, nullptr))
        return;
    KXT_OUT(KXT_ERROR, "ERROR: SetThreadToken(NULL) failed. LastError=" << D_LastError);
    (void)::RevertToSelf();
}

bool CkxGpXml::CkxImpersonateAndRevert::_PutOnThread(HANDLE token)
{
    if (::SetThreadToken(nullptr, token))
        return true;
    if (::GetLastError() == ERROR_BAD_TOKEN_TYPE) // a primary token: it takes an impersonation token
        return _PutCopyOnThread(token);
    KXT_OUT(KXT_ERROR, "ERROR: SetThreadToken failed. LastError=" << D_LastError);
    return false;
}

bool CkxGpXml::CkxImpersonateAndRevert::_PutCopyOnThread(HANDLE token)
{
    CkxHandle copy;
    if (!::DuplicateTokenEx(token, TOKEN_IMPERSONATE | TOKEN_QUERY, nullptr, SecurityImpersonation,
                            TokenImpersonation, copy.Put())) {
        KXT_OUT(KXT_ERROR, "ERROR: DuplicateTokenEx failed. LastError=" << D_LastError);
        return false;
    }
    if (::SetThreadToken(nullptr, copy.Get()))
        return true;
    KXT_OUT(KXT_ERROR, "ERROR: SetThreadToken failed for a copy of the token. LastError=" << D_LastError);
    return false;
}

// The process's own token on a thread that holds none: reading without impersonation is the same.
bool CkxGpXml::CkxImpersonateAndRevert::_IsOwnIdentity() const
{
    CAccessToken thread;
    if (thread.GetThreadToken(TOKEN_QUERY) || ::GetLastError() != ERROR_NO_TOKEN)
        return false;
    CAccessToken process;
    TOKEN_STATISTICS ours{};
    TOKEN_STATISTICS theirs{};
    return process.GetProcessToken(TOKEN_QUERY) && process.GetStatistics(&ours) &&
           _m_owner.GetStatistics(&theirs) && ours.TokenId.LowPart == theirs.TokenId.LowPart &&
           ours.TokenId.HighPart == theirs.TokenId.HighPart;
}
