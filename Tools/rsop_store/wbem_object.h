// What class objects and instance objects have in common: reading.
#pragma once

#include "Tools/rsop_store/com_object.h"
#include "Tools/rsop_store/name_cursor.h"
#include "Tools/rsop_store/property_list.h"

/// An IWbemClassObject, a class or an instance. Derived classes add what writes. Thread-safe.
class CkxWbemObject : public CkxComObject<IWbemClassObject> {
  public:
    /// What the object is at this moment.
    [[nodiscard]] virtual kx::ObjectView View() const = 0;

    /// Changes a list of qualifiers, which belongs to a property or, when that is null, to the object itself.
    /// `inherited` is what the parent class passes on to the list.
    using QualifierChange = std::function<HRESULT(
        kx::Qualifiers& list, const kx::PropertyDefinition* property, const kx::Qualifiers& inherited)>;

    /// Applies a change to the qualifiers of a property, or of the object itself when `property` is null, and
    /// returns its answer. Refused for instances, whose qualifiers are those of their class.
    [[nodiscard]] virtual HRESULT ChangeQualifiers(const std::wstring* property,
                                                   const QualifierChange& change);

    /// The store's own object behind an interface, or null for a stranger's; borrowed from `object`.
    [[nodiscard]] static CkxWbemObject* From(IUnknown* object);

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) noexcept override;
    HRESULT STDMETHODCALLTYPE Get(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE* type,
                                  LONG* flavor) override;
    HRESULT STDMETHODCALLTYPE GetNames(LPCWSTR qualifier, LONG flags, VARIANT* qualifierValue,
                                       SAFEARRAY** names) override;
    HRESULT STDMETHODCALLTYPE BeginEnumeration(LONG flags) override;
    HRESULT STDMETHODCALLTYPE Next(LONG flags, BSTR* name, VARIANT* value, CIMTYPE* type,
                                   LONG* flavor) override;
    HRESULT STDMETHODCALLTYPE EndEnumeration() override;
    HRESULT STDMETHODCALLTYPE GetObjectText(LONG flags, BSTR* text) override;
    HRESULT STDMETHODCALLTYPE CompareTo(LONG flags, IWbemClassObject* other) override;
    HRESULT STDMETHODCALLTYPE GetPropertyOrigin(LPCWSTR name, BSTR* className) override;
    HRESULT STDMETHODCALLTYPE InheritsFrom(LPCWSTR ancestor) override;

    // No class of the store has methods.
    HRESULT STDMETHODCALLTYPE GetMethod(LPCWSTR, LONG, IWbemClassObject**, IWbemClassObject**) override;
    HRESULT STDMETHODCALLTYPE PutMethod(LPCWSTR, LONG, IWbemClassObject*, IWbemClassObject*) override;
    HRESULT STDMETHODCALLTYPE DeleteMethod(LPCWSTR) override;
    HRESULT STDMETHODCALLTYPE BeginMethodEnumeration(LONG) override;
    HRESULT STDMETHODCALLTYPE NextMethod(LONG, BSTR*, IWbemClassObject**, IWbemClassObject**) override;
    HRESULT STDMETHODCALLTYPE EndMethodEnumeration() override;
    HRESULT STDMETHODCALLTYPE GetMethodQualifierSet(LPCWSTR, IWbemQualifierSet**) override;
    HRESULT STDMETHODCALLTYPE GetMethodOrigin(LPCWSTR, BSTR*) override;

  protected:
    using CkxComObject::CkxComObject;

    /// Guards what the derived class holds, and the enumeration.
    mutable std::mutex _m_lock;

  private:
    [[nodiscard]] HRESULT _Get(LPCWSTR name, VARIANT* value, CIMTYPE* type, LONG* flavor) const;

    CkxNameCursor _m_cursor;
};
