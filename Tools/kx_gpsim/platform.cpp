#include "Tools/kx_gpsim/platform.h"

#include "Common_CPP/kxwbem/kxwbem_datetime.h"
#include "Common_CPP/util/util.h"
#include "Tools/kx_gpsim/wide_text.h"

namespace {

bool HasDateTimes()
{
    CComBSTR text;
    return SUCCEEDED(CkxSWbemDateTimePtr::FileTime2WmiDateTime(FILETIME{0, 1}, false, text));
}

} // namespace

CkxPlatform::CkxPlatform(const CkxRunFolder& folder, bool planOnly)
{
    for (const wchar_t* name : {L"DLIB_SHUT_UP", L"DLIB_SILENCE", L"DLIB_NO_KX_DEFAULTS"})
        ::SetEnvironmentVariableW(name, nullptr);
    // Our own configuration needs no confirmation, which would go to this program's standard error.
    if (folder.HasOwnConfiguration())
        ::SetEnvironmentVariableW(L"DLIB_SILENCE", L"1");
    if (!HasDateTimes())
        _m_dateTimes.emplace();
    if (!planOnly)
        _ProvideTargeting(folder);
}

// The platform's own evaluation stays where there is one.
void CkxPlatform::_ProvideTargeting(const CkxRunFolder& folder)
{
    const bool isThere = CkxUtil::FileExists(folder.StandIn().c_str());
    const DWORD error =
        isThere ? _m_targeting.Register(folder.StandIn()) : static_cast<DWORD>(ERROR_ALREADY_REGISTERED);
    _m_hasStandIn = error == ERROR_SUCCESS;
    if (error != ERROR_SUCCESS && error != ERROR_ALREADY_REGISTERED)
        _m_note = "the stand-in for item-level targeting cannot be registered: " +
                  kx::Narrow(_m_targeting.Reason());
}

bool IsLocalSystem()
{
    CAccessToken process;
    CSid user;
    return process.GetProcessToken(TOKEN_QUERY) && process.GetUser(&user) && user.IsValid() &&
           ::IsWellKnownSid(const_cast<SID*>(user.GetPSID()), WinLocalSystemSid) != FALSE; // only reads
}
