#include "Agent/engine/kx_gpext/gp_utils.h"

#include "Agent/engine/kx_gpext/gp_flags_text.h"
#include "Agent/engine/kx_gpext/gp_reg_key.h"
#include "Agent/engine/kx_gpext/kx_gpext.h"
#include "Common_CPP/trace/trace.h"
#include "Common_CPP/util/last_error.h"
#include "Common_CPP/util/util.h"

#include <cstdarg>

KXT_CLASS("CkxGpUtils");

namespace {

constexpr const wchar_t* kAgentKey = L"Software\\Korvex\\Agent";
constexpr const wchar_t* kExtensionKey =
    L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon\\GPExtensions\\"
    L"{5B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54A}";

constexpr DWORD kSetIdBytes = 64 * sizeof(wchar_t);

const char* StatusPrefix(std::uint32_t level)
{
    if (level < KXT_WARNING)
        return "ERROR: ";
    return level < KXT_INFO ? "WARNING: " : "INFO: ";
}

} // namespace

bool CkxGpUtils::GetAgentSetId(CString& setId)
{
    KXT_SCOPE("GetAgentSetId");
    CkxGpRegKey key;
    if (const LSTATUS error = key.Open(HKEY_LOCAL_MACHINE, kAgentKey, KEY_QUERY_VALUE);
        error != ERROR_SUCCESS) {
        KXT_OUT(KXT_ERROR, "ERROR: Failed to open [HKLM\\Software\\Korvex\\Agent]. Error=" << error);
        return false;
    }
    if (const LSTATUS error = key.QueryString(L"SetID", setId, kSetIdBytes); error != ERROR_SUCCESS) {
        KXT_OUT(KXT_ERROR, "ERROR: Failed to query SetID value. Error=" << error);
        return false;
    }
    return true;
}

bool CkxGpUtils::IsAgentInstalled()
{
    CString folder;
    if (!CkxUtil::GetModuleDir(folder, KxModule()))
        return true;
    const CString agent = folder + L"\\kx_agent.exe";
    if (CkxUtil::FileExists(agent))
        return true;
    const DWORD error = ::GetLastError();
    return error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND;
}

bool CkxGpUtils::TraceDumpEnabled()
{
    CkxGpRegKey key;
    DWORD enabled = 0;
    return key.Open(HKEY_LOCAL_MACHINE, kExtensionKey, KEY_QUERY_VALUE) == ERROR_SUCCESS &&
           key.QueryDword(L"KxEnableDump", enabled) == ERROR_SUCCESS && enabled != 0;
}

CString CkxGpUtils::FlagsToText(DWORD flags)
{
    return CString(kx::GpFlagsText(flags).c_str());
}

CString CkxGpUtils::TokenUserToText(const CAccessToken& token)
{
    CSid user;
    if (token.GetUser(&user))
        return SidToText(user);
    CString text;
    text.Format(L"<InvalidUserToken=0x%.8X>",
                static_cast<unsigned>(reinterpret_cast<UINT_PTR>(token.GetHandle())));
    return text;
}

CString CkxGpUtils::SidToText(const CSid& sid)
{
    if (!sid.IsValid())
        return L"<InvalidSid>";
    const CString account = sid.AccountName();
    const CString domain = sid.Domain();
    if (!domain.IsEmpty())
        return domain + L"\\" + account;
    return account.IsEmpty() ? CString(sid.Sid()) : account;
}

void CkxGpUtils::StatusReport(PFNSTATUSMESSAGECALLBACK callback, std::uint32_t level, const wchar_t* format,
                              ...)
{
    va_list arguments;
    va_start(arguments, format);
    StatusReportV(callback, level, format, arguments);
    va_end(arguments);
}

void CkxGpUtils::StatusReportV(PFNSTATUSMESSAGECALLBACK callback, std::uint32_t level, const wchar_t* format,
                               va_list arguments)
{
    const CkxLastErrorKeeper keeper;
    CString message;
    message.FormatV(format, arguments);
    KXT_OUT_AT(level, StatusPrefix(level) << message);
    if (callback)
        callback(level < KXT_INFO, message.GetBuffer(message.GetLength()));
}
