// The door into a namespace.
#pragma once

#include "Tools/rsop_store/property_list.h"
#include "Tools/rsop_store/services_refusals.h"

/// An IWbemServices that is bound to a namespace; calls are synchronous. Thread-safe.
class CkxServicesObject final : public CkxServicesRefusals {
  public:
    explicit CkxServicesObject(std::shared_ptr<CkxNamespace> space);

    HRESULT STDMETHODCALLTYPE OpenNamespace(const BSTR name, LONG flags, IWbemContext* context,
                                            IWbemServices** opened, IWbemCallResult** result) override;
    HRESULT STDMETHODCALLTYPE GetObject(const BSTR path, LONG flags, IWbemContext* context,
                                        IWbemClassObject** object, IWbemCallResult** result) override;
    HRESULT STDMETHODCALLTYPE PutClass(IWbemClassObject* object, LONG flags, IWbemContext* context,
                                       IWbemCallResult** result) override;
    HRESULT STDMETHODCALLTYPE DeleteClass(const BSTR name, LONG flags, IWbemContext* context,
                                          IWbemCallResult** result) override;
    HRESULT STDMETHODCALLTYPE CreateClassEnum(const BSTR superclass, LONG flags, IWbemContext* context,
                                              IEnumWbemClassObject** found) override;
    HRESULT STDMETHODCALLTYPE PutInstance(IWbemClassObject* object, LONG flags, IWbemContext* context,
                                          IWbemCallResult** result) override;
    HRESULT STDMETHODCALLTYPE DeleteInstance(const BSTR path, LONG flags, IWbemContext* context,
                                             IWbemCallResult** result) override;
    HRESULT STDMETHODCALLTYPE CreateInstanceEnum(const BSTR className, LONG flags, IWbemContext* context,
                                                 IEnumWbemClassObject** found) override;
    HRESULT STDMETHODCALLTYPE ExecQuery(const BSTR language, const BSTR query, LONG flags,
                                        IWbemContext* context, IEnumWbemClassObject** found) override;

  private:
    [[nodiscard]] HRESULT _Resolve(const kx::ObjectPath& path, std::shared_ptr<CkxNamespace>& space) const;
    [[nodiscard]] HRESULT _GetObject(const kx::ObjectPath& path, IWbemClassObject** object) const;
    [[nodiscard]] HRESULT _Enumerate(std::vector<kx::ObjectView> items, LONG flags,
                                     IEnumWbemClassObject** found) const;
};
