// An RSoP namespace in memory, behind the interfaces of WMI. Whoever records Resultant Set of Policy without
// the system's WMI writes here, and reads the outcome back by the interfaces or by this class.
#pragma once

#include "Common_CPP/atl/kx_atl.h"

#include <wbemcli.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class CkxNamespace;

/// One call that a program makes into the store, such as {"IWbemServices", "PutInstance"}.
struct CkxStoreCall {
    const char* interfaceName;
    const char* method;
};

/// The store. Thread-safe; what it throws is std::bad_alloc only. The COM objects that it hands out keep its
/// data alive by themselves, so they may outlive it. They are free-threaded and in-process; asynchronous and
/// semisynchronous calls, methods, refreshers, and array or embedded-object properties are refused.
class CkxRsopStore {
  public:
    /// An instance as it is stored.
    struct Instance {
        std::wstring className;
        std::wstring path; // relative: class and keys
        std::vector<std::pair<std::wstring, ATL::CComVariant>> properties;

        /// The value of a property, ignoring case, or null when the class has none of that name.
        [[nodiscard]] const ATL::CComVariant* Find(std::wstring_view property) const;
    };

    /// An empty namespace that knows RSOP_PolicySetting and WMI's own classes. Without a server name it says
    /// that it stands on this machine.
    explicit CkxRsopStore(std::wstring namespacePath = L"ROOT\\RSOP\\Computer", std::wstring server = {});
    ~CkxRsopStore();
    CkxRsopStore(const CkxRsopStore&) = delete;
    CkxRsopStore& operator=(const CkxRsopStore&) = delete;

    /// A services object that is bound to the namespace.
    [[nodiscard]] ATL::CComPtr<IWbemServices> Services();

    /// `observer` is called before every COM call but AddRef, Release and QueryInterface, on the caller's
    /// thread and with no lock held; an answer other than S_OK is returned in place of the call. REQUIRES:
    /// set before the store is used.
    void OnCall(std::function<HRESULT(const CkxStoreCall&)> observer);

    /// COM objects that were handed out and are not released yet.
    [[nodiscard]] std::size_t LiveObjects() const;

    /// Whether two threads ever did schema work at once: called DeleteClass, PutClass, SpawnDerivedClass,
    /// GetObject for a class of the user's, or changed a class, its properties or qualifiers, while the other
    /// one did so or was between spawning a class and putting or releasing it. A caller that holds one lock
    /// around each such sequence is never reported. Reading WMI's own classes does not count.
    [[nodiscard]] bool SchemaWorkOverlapped() const;

    /// The instances of a class and of its derived classes, or of all classes but WMI's own when no name is
    /// given, by order of first writing.
    [[nodiscard]] std::vector<Instance> Instances(std::wstring_view className = {}) const;

    /// Names of the registered classes except WMI's own, a class after its parent.
    [[nodiscard]] std::vector<std::wstring> Classes() const;

    /// Puts classes and instances into `mof` as MOF text.
    void Export(std::wstring& mof) const;

  private:
    std::shared_ptr<CkxNamespace> _m_namespace;
};
