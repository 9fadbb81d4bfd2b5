#pragma once

#include "Common_CPP/atl/kx_atl.h"

#include <userenv.h>

#include <cstdint>

/// Helpers that the entry points and the document builder share. None of them throws for a registry or
/// account error; failures are traced where the contract does not say "silently".
class CkxGpUtils {
  public:
    CkxGpUtils() = delete;

    /// The agent's management-set identifier, at most 63 characters.
    [[nodiscard]] static bool GetAgentSetId(CString& setId);

    /// True unless the agent's program is known not to stand beside this module: a question that cannot be
    /// answered must not make the engine drop a refresh.
    [[nodiscard]] static bool IsAgentInstalled();

    /// True when documents shall be dumped into the trace folder; silently false on any failure.
    [[nodiscard]] static bool TraceDumpEnabled();

    /// The engine's processing flags by name.
    [[nodiscard]] static CString FlagsToText(DWORD flags);

    /// The account of a token's user; a placeholder with the handle's value where it cannot be read.
    [[nodiscard]] static CString TokenUserToText(const CAccessToken& token);

    /// "domain\account" where the domain is known, else the account, else the S-1-... text.
    [[nodiscard]] static CString SidToText(const CSid& sid);

    /// Traces a status line with the prefix of its level, then hands it to the engine's callback, if any,
    /// without. `format` and its arguments are as for CString::Format. Keeps the last error.
    static void StatusReport(PFNSTATUSMESSAGECALLBACK callback, std::uint32_t level, const wchar_t* format,
                             ...);
    static void StatusReportV(PFNSTATUSMESSAGECALLBACK callback, std::uint32_t level, const wchar_t* format,
                              va_list arguments);
};
