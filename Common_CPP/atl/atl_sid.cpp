#include "Common_CPP/atl/atl_sid.h"

#include <windows.h>

#include <sddl.h>

#include <memory>

namespace ATL {
namespace {

/// The system's pointer type has no const, though the calls here only read.
PSID Readable(const CSid& sid) noexcept
{
    return const_cast<SID*>(sid.GetPSID());
}

struct LocalFreer {
    void operator()(wchar_t* memory) const noexcept { ::LocalFree(memory); }
};

CSid WellKnown(WELL_KNOWN_SID_TYPE type)
{
    alignas(SID) BYTE bytes[SECURITY_MAX_SID_SIZE];
    DWORD size = sizeof bytes;
    if (!::CreateWellKnownSid(type, nullptr, bytes, &size))
        AtlThrow(HRESULT_FROM_WIN32(::GetLastError()));
    return CSid(reinterpret_cast<const SID*>(bytes));
}

} // namespace

UINT CSid::GetLength() const noexcept
{
    return _m_valid ? ::GetLengthSid(Readable(*this)) : 0;
}

LPCWSTR CSid::Sid() const
{
    if (_m_valid && _m_text.IsEmpty()) {
        wchar_t* text = nullptr;
        if (!::ConvertSidToStringSidW(Readable(*this), &text))
            AtlThrow(HRESULT_FROM_WIN32(::GetLastError()));
        const std::unique_ptr<wchar_t, LocalFreer> owner(text);
        _m_text = text;
    }
    return _m_text;
}

LPCWSTR CSid::AccountName() const
{
    _LookUpAccount();
    return _m_account;
}

LPCWSTR CSid::Domain() const
{
    _LookUpAccount();
    return _m_domain;
}

bool operator==(const CSid& a, const CSid& b) noexcept
{
    if (!a.IsValid() || !b.IsValid())
        return a.IsValid() == b.IsValid();
    return ::EqualSid(Readable(a), Readable(b)) != FALSE;
}

void CSid::_Copy(const SID* sid) noexcept
{
    const PSID source = const_cast<SID*>(sid);
    _m_valid = sid != nullptr && ::IsValidSid(source) != FALSE &&
               ::CopySid(sizeof _m_bytes, _m_bytes, source) != FALSE;
}

void CSid::_LookUpAccount() const
{
    if (!_m_valid || _m_lookedUp)
        return;
    // Account and domain names have at most 256 characters; the system's calls know no longer ones.
    constexpr DWORD c_capacity = 257;
    wchar_t account[c_capacity] = {};
    wchar_t domain[c_capacity] = {};
    DWORD accountSize = c_capacity;
    DWORD domainSize = c_capacity;
    SID_NAME_USE use = SidTypeUnknown;
    if (::LookupAccountSidW(nullptr, Readable(*this), account, &accountSize, domain, &domainSize, &use)) {
        _m_account = account;
        _m_domain = domain;
    }
    _m_lookedUp = true;
}

CSid Sids::World()
{
    return WellKnown(WinWorldSid);
}

CSid Sids::Admins()
{
    return WellKnown(WinBuiltinAdministratorsSid);
}

CSid Sids::System()
{
    return WellKnown(WinLocalSystemSid);
}

} // namespace ATL
