#pragma once

#include "Agent/engine/kx_gpext/appended_update.h"
#include "Tools/host/patched_import.h"

#include <windows.h>

/// Which tokens LocalSystemCaller makes LocalSystem's.
enum class SystemTokens : DWORD {
    None = 0,
    Process = TokenPrimary,     ///< primary ones: a process has such a one
    Thread = TokenImpersonation ///< those that a thread wears
};

/// While it lives, the module that asks who a token's user is hears that it is LocalSystem, for tokens of
/// one kind. One at a time. REQUIRES: the module stays loaded.
class LocalSystemCaller {
  public:
    explicit LocalSystemCaller(HMODULE module, SystemTokens tokens = SystemTokens::Process);

  private:
    PatchedImport _m_patch;
};

/// Calls the loaded extension's ProcessAppendedUpdate. REQUIRES: the module exports it.
[[nodiscard]] DWORD CallAppendedUpdate(HMODULE module, const kx::AppendedUpdate* request);
