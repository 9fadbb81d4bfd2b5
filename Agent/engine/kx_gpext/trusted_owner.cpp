#include "Agent/engine/kx_gpext/trusted_owner.h"

#include <algorithm>
#include <array>

namespace {

constexpr WELL_KNOWN_SID_TYPE kTrusted[] = {WinLocalSystemSid, WinBuiltinAdministratorsSid,
                                            WinLocalServiceSid, WinNetworkServiceSid};

PSID AsPsid(const CSid& sid)
{
    return const_cast<SID*>(sid.GetPSID()); // read-only for the calls below
}

// S-1-5-80-...: the identity that the system gives a service of its own.
bool IsServiceSid(const CSid& sid)
{
    constexpr SID_IDENTIFIER_AUTHORITY ntAuthority = {SECURITY_NT_AUTHORITY};
    const SID_IDENTIFIER_AUTHORITY* authority = ::GetSidIdentifierAuthority(AsPsid(sid));
    return std::equal(std::begin(ntAuthority.Value), std::end(ntAuthority.Value), authority->Value) &&
           *::GetSidSubAuthorityCount(AsPsid(sid)) > 1 &&
           *::GetSidSubAuthority(AsPsid(sid), 0) == SECURITY_SERVICE_ID_BASE_RID;
}

bool IsProcessUser(const CSid& sid)
{
    CAccessToken process;
    CSid user;
    return process.GetProcessToken(TOKEN_QUERY) && process.GetUser(&user) && user == sid;
}

} // namespace

bool IsTrustedOwner(const CSid& owner)
{
    return std::any_of(
               std::begin(kTrusted), std::end(kTrusted),
               [&](WELL_KNOWN_SID_TYPE type) { return ::IsWellKnownSid(AsPsid(owner), type) != FALSE; }) ||
           IsServiceSid(owner) || IsProcessUser(owner);
}

CkxObjectOwner CkxObjectOwner::Of(HANDLE object)
{
    CkxObjectOwner result;
    alignas(SECURITY_DESCRIPTOR) std::array<BYTE, 256> descriptor{};
    DWORD needed = 0;
    PSID owner = nullptr;
    BOOL defaulted = FALSE;
    if (!::GetKernelObjectSecurity(object, OWNER_SECURITY_INFORMATION, descriptor.data(),
                                   static_cast<DWORD>(descriptor.size()), &needed) ||
        !::GetSecurityDescriptorOwner(descriptor.data(), &owner, &defaulted) || !owner)
        return result;
    result.owner = CSid(static_cast<const SID*>(owner));
    result.trusted = !result.owner.IsValid() || IsTrustedOwner(result.owner);
    return result;
}
