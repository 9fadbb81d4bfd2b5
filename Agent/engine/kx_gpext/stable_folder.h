#pragma once

#include "Common_CPP/atl/kx_atl.h"

/// The folder by a name that does not depend on drive letters: while a thread impersonates, these are the
/// user's own, and a user can point them anywhere. Call it with the service's identity. The folder as given
/// where it does not begin with a drive letter, or the system knows no such name for it.
[[nodiscard]] CString StableFolder(const CString& folder);
