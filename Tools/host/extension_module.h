#pragma once

#include "Common_CPP/util/unique_handle.h"

#include <windows.h>

#include <userenv.h>

/// The extension, loaded from its file as the engine loads it.
class CkxExtensionModule {
  public:
    /// Returns a Windows error.
    [[nodiscard]] DWORD Load(const wchar_t* path);

    [[nodiscard]] HMODULE Get() const { return _m_module.Get(); }

    /// The processing callback. REQUIRES: Load succeeded.
    [[nodiscard]] PFNPROCESSGROUPPOLICYEX ProcessGroupPolicyEx() const { return _m_process; }

    /// The planning callback. REQUIRES: Load succeeded.
    [[nodiscard]] PFNGENERATEGROUPPOLICY GenerateGroupPolicy() const { return _m_generate; }

  private:
    CkxModule _m_module;
    PFNPROCESSGROUPPOLICYEX _m_process = nullptr;
    PFNGENERATEGROUPPOLICY _m_generate = nullptr;
};

/// A token of this process's user that a thread may wear. Empty, with the last error set, on failure.
[[nodiscard]] CkxHandle MakeUserToken();
