#pragma once

#include "Common_CPP/kxwbem/kxwbem_services.h"

/// The names of the extension's classes in the RSoP namespace, and of the class that both derive from.
inline constexpr const wchar_t* kRsopBaseClass = L"RSOP_PolicySetting";
inline constexpr const wchar_t* kRsopPolicyClass = L"RSOP_KxTesmorPolicySetting";
inline constexpr const wchar_t* kRsopConfigClass = L"RSOP_KxTesmorConfig";

/// The definition of the extension's two RSoP classes. Whatever changes or checks a definition, for
/// whichever services, is done by one thread of the process at a time.
class CkxRsopSchema {
  public:
    CkxRsopSchema() = delete;

    /// Registers, or finds as it should be, the policy class where `policyClass` is given and then the
    /// configuration class where `configClass` is. Returns the last registration's outcome; the first failure
    /// ends it.
    [[nodiscard]] static HRESULT RegisterExtension(const CkxWbemServicesPtr& services,
                                                   CkxWbemClassObjectPtr* policyClass,
                                                   CkxWbemClassObjectPtr* configClass);

    /// Deletes both classes with all their instances. E_FAIL when either could not be deleted, which is so
    /// where it was not there.
    static HRESULT UnregisterExtension(const CkxWbemServicesPtr& services);
};
