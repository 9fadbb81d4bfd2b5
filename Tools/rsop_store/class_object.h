// A class: one that is registered, or one that is being built or changed.
#pragma once

#include "Tools/rsop_store/wbem_object.h"

/// A class behind IWbemClassObject. Changes stay in this object until PutClass.
class CkxClassObject final : public CkxWbemObject {
  public:
    /// A class of the namespace.
    CkxClassObject(std::shared_ptr<CkxNamespace> space, kx::ClassPointer registered);

    /// A class that is being built, derived from `parent` or, when that is null, from none.
    [[nodiscard]] static ATL::CComPtr<CkxClassObject> Build(const std::shared_ptr<CkxNamespace>& space,
                                                            const kx::ClassPointer& parent);

    ~CkxClassObject() override;

    /// The namespace holds this definition now.
    void SetRegistered(kx::ClassPointer definition);

    [[nodiscard]] kx::ObjectView View() const override;
    [[nodiscard]] HRESULT ChangeQualifiers(const std::wstring* property,
                                           const QualifierChange& change) override;

    HRESULT STDMETHODCALLTYPE GetQualifierSet(IWbemQualifierSet** set) override;
    HRESULT STDMETHODCALLTYPE Put(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE type) override;
    HRESULT STDMETHODCALLTYPE Delete(LPCWSTR name) override;
    HRESULT STDMETHODCALLTYPE GetPropertyQualifierSet(LPCWSTR property, IWbemQualifierSet** set) override;
    HRESULT STDMETHODCALLTYPE Clone(IWbemClassObject** copy) override;
    HRESULT STDMETHODCALLTYPE SpawnDerivedClass(LONG flags, IWbemClassObject** derived) override;
    HRESULT STDMETHODCALLTYPE SpawnInstance(LONG flags, IWbemClassObject** instance) override;

  private:
    enum class _State { Building, Registered, Changed };

    CkxClassObject(std::shared_ptr<CkxNamespace> space, kx::ClassPointer definition, _State state);

    [[nodiscard]] HRESULT _PutName(const VARIANT* name);
    [[nodiscard]] HRESULT _PutProperty(LPCWSTR name, const VARIANT& value, CIMTYPE type);
    [[nodiscard]] HRESULT _AddProperty(LPCWSTR name, const VARIANT& value, CIMTYPE type);
    [[nodiscard]] HRESULT _DeleteProperty(std::size_t place);
    [[nodiscard]] kx::ClassPointer _Registered() const;

    /// The definition, to be changed. REQUIRES: the lock is held.
    [[nodiscard]] kx::ClassDefinition& _Edit();

    CkxCopyOnWrite<kx::ClassDefinition> _m_definition;
    _State _m_state;
};
