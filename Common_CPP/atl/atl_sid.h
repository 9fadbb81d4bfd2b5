// CSid and the well-known Sids, with ATL's names and documented behaviour.
#pragma once

#include "Common_CPP/atl/atl_string.h"

#include <windows.h>

namespace ATL {

/// A copy of a security identifier, with its texts looked up when first asked for. One object is for one
/// thread at a time, for that reason.
class CSid {
  public:
    /// Invalid.
    CSid() noexcept = default;

    /// A copy of `*sid`; null or an ill-formed one gives an invalid object.
    explicit CSid(const SID* sid) noexcept { _Copy(sid); }

    /// A copy of `sid`; an ill-formed one gives an invalid object.
    explicit CSid(const SID& sid) noexcept : CSid(&sid) {}

    /// Whether an identifier is held.
    [[nodiscard]] bool IsValid() const noexcept { return _m_valid; }

    /// The identifier held; meaningful only while IsValid.
    [[nodiscard]] const SID* GetPSID() const noexcept { return reinterpret_cast<const SID*>(_m_bytes); }

    operator const SID*() const noexcept { return GetPSID(); }

    /// Bytes of the identifier; meaningful only while IsValid.
    [[nodiscard]] UINT GetLength() const noexcept;

    /// The S-1-... text; empty while invalid. Valid until the object changes. Throws CAtlException.
    [[nodiscard]] LPCWSTR Sid() const;

    /// The account's name; empty where none can be found. The system may ask a domain controller, once.
    [[nodiscard]] LPCWSTR AccountName() const;

    /// The account's domain; empty where none can be found. The system may ask a domain controller, once.
    [[nodiscard]] LPCWSTR Domain() const;

    /// Equal identifiers; an invalid one equals only another invalid one.
    friend bool operator==(const CSid& a, const CSid& b) noexcept;

    friend bool operator!=(const CSid& a, const CSid& b) noexcept { return !(a == b); }

  private:
    void _Copy(const SID* sid) noexcept;
    void _LookUpAccount() const;

    alignas(SID) BYTE _m_bytes[SECURITY_MAX_SID_SIZE] = {};
    bool _m_valid = false;
    mutable bool _m_lookedUp = false;
    mutable CString _m_text;
    mutable CString _m_account;
    mutable CString _m_domain;
};

namespace Sids {

/// Everyone, S-1-1-0.
CSid World();

/// BUILTIN\Administrators, S-1-5-32-544.
CSid Admins();

/// The local system, S-1-5-18.
CSid System();

} // namespace Sids
} // namespace ATL
