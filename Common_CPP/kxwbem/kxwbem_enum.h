#pragma once

#include "Common_CPP/kxwbem/kxwbem_class_object.h"

/// The results of a query.
class CkxEnumWbemClassObjectPtr : public CkxWbemPtr<IEnumWbemClassObject> {
  public:
    using CkxWbemPtr::CkxWbemPtr;

    /// The next result: S_OK with it in `object`, WBEM_S_FALSE, untraced, after the last one.
    [[nodiscard]] HRESULT Next(CkxWbemClassObjectPtr& object) const;
};
