// An instance: one that was read from the store, or one that is to be written there.
#pragma once

#include "Tools/rsop_store/wbem_object.h"

/// An instance behind IWbemClassObject. Changes stay in this object until PutInstance.
class CkxInstanceObject final : public CkxWbemObject {
  public:
    /// Shares `values`, those of a stored instance or its class's defaults, until the first change.
    CkxInstanceObject(std::shared_ptr<CkxNamespace> space, kx::ClassPointer definition,
                      kx::ValuesPointer values);

    [[nodiscard]] kx::ObjectView View() const override;

    HRESULT STDMETHODCALLTYPE GetQualifierSet(IWbemQualifierSet** set) override;
    HRESULT STDMETHODCALLTYPE Put(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE type) override;
    HRESULT STDMETHODCALLTYPE Delete(LPCWSTR name) override;
    HRESULT STDMETHODCALLTYPE GetPropertyQualifierSet(LPCWSTR property, IWbemQualifierSet** set) override;
    HRESULT STDMETHODCALLTYPE Clone(IWbemClassObject** copy) override;
    HRESULT STDMETHODCALLTYPE SpawnDerivedClass(LONG flags, IWbemClassObject** derived) override;
    HRESULT STDMETHODCALLTYPE SpawnInstance(LONG flags, IWbemClassObject** instance) override;

  private:
    const kx::ClassPointer _m_definition;
    CkxCopyOnWrite<kx::Values> _m_values; // guarded by the lock
};
