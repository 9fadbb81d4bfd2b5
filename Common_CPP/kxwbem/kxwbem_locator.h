#pragma once

#include "Common_CPP/kxwbem/kxwbem_services.h"

/// The way from nothing to a namespace.
class CkxWbemLocatorPtr : public CkxWbemPtr<IWbemLocator> {
  public:
    using CkxWbemPtr::CkxWbemPtr;

    /// Creates the locator in process. REQUIRES: COM on this thread.
    [[nodiscard]] HRESULT CreateInstance();

    /// Connects to a namespace, such as L"root\\rsop\\computer", as the calling user. E_POINTER, traced, when
    /// the call succeeds without services.
    [[nodiscard]] HRESULT ConnectServer(const wchar_t* namespacePath, CkxWbemServicesPtr& services) const;
};
