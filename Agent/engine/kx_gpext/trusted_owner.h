#pragma once

#include "Common_CPP/atl/kx_atl.h"

/// Who owns a kernel object that another program may have made first. An owner that cannot be read counts
/// as trusted: `owner` is then invalid.
struct CkxObjectOwner {
    CSid owner;
    bool trusted = true;

    /// REQUIRES: `object` was opened with READ_CONTROL.
    [[nodiscard]] static CkxObjectOwner Of(HANDLE object);
};

/// True for the accounts that the agent and the Group Policy service run as: SYSTEM, Administrators,
/// LocalService, NetworkService, a service's own SID, and the account of this process.
[[nodiscard]] bool IsTrustedOwner(const CSid& owner);
