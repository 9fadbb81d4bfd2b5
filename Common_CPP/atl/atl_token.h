// CAccessToken, with ATL's names and documented behaviour.
#pragma once

#include "Common_CPP/atl/atl_sid.h"

#include <windows.h>

namespace ATL {

/// Owns an access token, or none. Every bool is false on failure, the reason is then the last error, and
/// the arguments and the token held stay as they were.
class CAccessToken {
  public:
    CAccessToken() noexcept = default;
    CAccessToken(const CAccessToken&) = delete; // two owners would close one handle twice
    CAccessToken& operator=(const CAccessToken&) = delete;

    /// Closes the token that is still held; the last error stays as it was.
    virtual ~CAccessToken();

    /// Takes over `token`. REQUIRES: none is held.
    void Attach(HANDLE token) noexcept;

    /// Hands the token to the caller.
    HANDLE Detach() noexcept;

    /// The token held, or null.
    [[nodiscard]] HANDLE GetHandle() const noexcept { return _m_token; }

    /// Holds the token in effect for this thread: the thread's own, else the process's.
    bool GetEffectiveToken(DWORD access) noexcept;

    /// Holds the token of `process`, or of this process for null.
    bool GetProcessToken(DWORD access, HANDLE process = nullptr) noexcept;

    /// Holds the token of `thread`, or of this thread for null; error 1008 where it has none. The access is
    /// checked against the process's own identity, or with `openAsSelf` false against the thread's.
    bool GetThreadToken(DWORD access, HANDLE thread = nullptr, bool openAsSelf = true) noexcept;

    /// The user's identifier. Needs TOKEN_QUERY.
    bool GetUser(CSid* sid) const;

    /// Identifier of the token, type, level and more. Needs TOKEN_QUERY.
    bool GetStatistics(TOKEN_STATISTICS* statistics) const noexcept;

    /// The number that tells this token from every other. Needs TOKEN_QUERY.
    bool GetTokenId(LUID* id) const noexcept;

  private:
    /// Holds `token` and closes what was held; the last error stays as it was.
    void _Replace(HANDLE token) noexcept;

    HANDLE _m_token = nullptr;
};

} // namespace ATL
