// The qualifiers of an object or of one of its properties.
#pragma once

#include "Tools/rsop_store/wbem_object.h"

/// An IWbemQualifierSet: a window on the qualifiers of the object that it came from, which it keeps alive.
class CkxQualifierSet final : public CkxComObject<IWbemQualifierSet> {
  public:
    /// The qualifiers of a property, or of the object itself when there is no name.
    CkxQualifierSet(ATL::CComPtr<CkxWbemObject> owner, std::shared_ptr<CkxNamespace> space,
                    std::optional<std::wstring> property);

    HRESULT STDMETHODCALLTYPE Get(LPCWSTR name, LONG flags, VARIANT* value, LONG* flavor) override;
    HRESULT STDMETHODCALLTYPE Put(LPCWSTR name, VARIANT* value, LONG flavor) override;
    HRESULT STDMETHODCALLTYPE Delete(LPCWSTR name) override;
    HRESULT STDMETHODCALLTYPE GetNames(LONG flags, SAFEARRAY** names) override;
    HRESULT STDMETHODCALLTYPE BeginEnumeration(LONG flags) override;
    HRESULT STDMETHODCALLTYPE Next(LONG flags, BSTR* name, VARIANT* value, LONG* flavor) override;
    HRESULT STDMETHODCALLTYPE EndEnumeration() override;

  private:
    [[nodiscard]] HRESULT _Read(kx::Qualifiers& list) const;
    [[nodiscard]] HRESULT _Names(LONG flags, std::vector<std::wstring>& names) const;
    [[nodiscard]] HRESULT _Get(const std::wstring& name, VARIANT* value, LONG* flavor) const;

    [[nodiscard]] bool _OfClass() const { return _m_owner->View().values == nullptr; }

    const ATL::CComPtr<CkxWbemObject> _m_owner;
    const std::optional<std::wstring> _m_property;

    CkxNameCursor _m_cursor;
};
