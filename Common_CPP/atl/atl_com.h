// Owners of COM references, strings and variants, with ATL's names and documented behaviour.
#pragma once

#include "Common_CPP/atl/atl_exception.h"

#include <windows.h>

#include <oaidl.h>
#include <objbase.h>
#include <oleauto.h>

#include <cassert>
#include <climits>
#include <concepts>
#include <cwchar>
#include <utility>

namespace ATL {

/// Owns one reference to a COM object, or none.
template <class T>
class CComPtr {
  public:
    CComPtr() noexcept = default;

    /// Shares `object`, adding a reference; null is allowed.
    CComPtr(T* object) noexcept : p(object)
    {
        if (p != nullptr)
            p->AddRef();
    }

    CComPtr(const CComPtr& other) noexcept : CComPtr(other.p) {}

    CComPtr(CComPtr&& other) noexcept : p(other.Detach()) {}

    ~CComPtr() { Release(); }

    CComPtr& operator=(T* object) noexcept
    {
        CComPtr(object)._Swap(*this); // the new reference comes first: `object` may hang on the old one
        return *this;
    }

    CComPtr& operator=(const CComPtr& other) noexcept { return *this = other.p; }

    CComPtr& operator=(CComPtr&& other) noexcept
    {
        CComPtr moved(std::move(other));
        _Swap(moved);
        return *this;
    }

    operator T*() const noexcept { return p; }

    T& operator*() const noexcept
    {
        assert(p != nullptr);
        return *p;
    }

    T* operator->() const noexcept
    {
        assert(p != nullptr);
        return p;
    }

    /// Where a call may put a new reference. REQUIRES: none is held.
    T** operator&() noexcept
    {
        assert(p == nullptr);
        return &p;
    }

    bool operator!() const noexcept { return p == nullptr; }

    bool operator==(T* object) const noexcept { return p == object; }

    bool operator==(const CComPtr& other) const noexcept { return p == other.p; }

    /// Gives the reference back, if there is one.
    void Release() noexcept
    {
        if (T* const old = std::exchange(p, nullptr))
            old->Release();
    }

    /// Releases what is held and takes over the caller's reference.
    void Attach(T* object) noexcept
    {
        Release();
        p = object;
    }

    /// Hands the reference to the caller.
    [[nodiscard]] T* Detach() noexcept { return std::exchange(p, nullptr); }

    /// Puts a new reference, or null, into `*target`. E_POINTER for a null `target`.
    HRESULT CopyTo(T** target) const noexcept
    {
        if (target == nullptr)
            return E_POINTER;
        *target = p;
        if (p != nullptr)
            p->AddRef();
        return S_OK;
    }

    /// Makes an object of the class and holds it. REQUIRES: none is held.
    HRESULT CoCreateInstance(REFCLSID classId, IUnknown* outer = nullptr, DWORD context = CLSCTX_ALL) noexcept
    {
        assert(p == nullptr);
        return ::CoCreateInstance(classId, outer, context, __uuidof(T), reinterpret_cast<void**>(&p));
    }

    /// Asks for another interface. REQUIRES: an object is held, and `*target` holds none.
    template <class Q>
    HRESULT QueryInterface(Q** target) const noexcept
    {
        assert(p != nullptr && target != nullptr && *target == nullptr);
        return p->QueryInterface(__uuidof(Q), reinterpret_cast<void**>(target));
    }

    /// The reference held, by its documented name.
    T* p = nullptr;

  private:
    void _Swap(CComPtr& other) noexcept { std::swap(p, other.p); }
};

/// Owns a BSTR; null counts as empty text. Throws CAtlException(E_OUTOFMEMORY) where it allocates.
class CComBSTR {
  public:
    CComBSTR() noexcept = default;

    /// A copy of a text that ends in NUL; null stays null.
    CComBSTR(const wchar_t* text) : m_str(text == nullptr ? nullptr : _Checked(::SysAllocString(text))) {}

    /// A copy of exactly `length` characters, or room for them where `text` is null.
    CComBSTR(int length, const wchar_t* text)
        : m_str(_Checked(length < 0 ? nullptr : ::SysAllocStringLen(text, static_cast<UINT>(length))))
    {
    }

    CComBSTR(const CComBSTR& other) : m_str(other.Copy())
    {
        if (m_str == nullptr && other.m_str != nullptr)
            AtlThrow(E_OUTOFMEMORY);
    }

    CComBSTR(CComBSTR&& other) noexcept : m_str(other.Detach()) {}

    ~CComBSTR() { ::SysFreeString(m_str); }

    CComBSTR& operator=(const CComBSTR& other) { return *this = CComBSTR(other); }

    CComBSTR& operator=(const wchar_t* text) { return *this = CComBSTR(text); }

    CComBSTR& operator=(CComBSTR&& other) noexcept
    {
        Attach(other.Detach()); // moved onto itself, it just takes its string back
        return *this;
    }

    operator BSTR() const noexcept { return m_str; }

    bool operator!() const noexcept { return m_str == nullptr; }

    /// Where a call may put a new string. REQUIRES: none is held.
    BSTR* operator&() noexcept
    {
        assert(m_str == nullptr);
        return &m_str;
    }

    /// Characters without the final NUL; NUL characters inside count.
    [[nodiscard]] unsigned int Length() const noexcept { return ::SysStringLen(m_str); }

    /// Bytes without the final NUL.
    [[nodiscard]] unsigned int ByteLength() const noexcept { return ::SysStringByteLen(m_str); }

    /// Frees the string, which becomes null.
    void Empty() noexcept { Attach(nullptr); }

    /// Frees what is held and takes over the caller's string.
    void Attach(BSTR text) noexcept
    {
        if (text != m_str)
            ::SysFreeString(std::exchange(m_str, text));
    }

    /// Hands the string to the caller.
    [[nodiscard]] BSTR Detach() noexcept { return std::exchange(m_str, nullptr); }

    /// A new copy, the caller's to free; null for a null string or without memory.
    [[nodiscard]] BSTR Copy() const noexcept
    {
        return m_str == nullptr ? nullptr
                                : ::SysAllocStringByteLen(reinterpret_cast<const char*>(m_str), ByteLength());
    }

    /// The string held, by its documented name.
    BSTR m_str = nullptr;

  private:
    static BSTR _Checked(BSTR text)
    {
        if (text == nullptr)
            AtlThrow(E_OUTOFMEMORY);
        return text;
    }
};

/// A VARIANT that clears itself. Constructors and assignments throw CAtlException with the failed call's
/// code; the named operations return it.
class CComVariant : public VARIANT {
  public:
    /// VT_EMPTY.
    CComVariant() noexcept { ::VariantInit(this); }

    /// VT_BSTR, a copy of a text that ends in NUL; a null pointer gives a null BSTR.
    CComVariant(const wchar_t* text) : CComVariant()
    {
        bstrVal = CComBSTR(text).Detach();
        vt = VT_BSTR;
    }

    /// VT_BOOL. Only from bool itself, which every pointer would convert to.
    CComVariant(std::same_as<bool> auto value) noexcept : CComVariant()
    {
        vt = VT_BOOL;
        boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
    }

    /// A 32-bit number, VT_I4 or the type given: VT_INT or VT_ERROR.
    CComVariant(long value, VARTYPE type = VT_I4) noexcept : CComVariant()
    {
        assert(type == VT_I4 || type == VT_INT || type == VT_ERROR);
        vt = type;
        lVal = value;
    }

    CComVariant(int value, VARTYPE type = VT_I4) noexcept : CComVariant(static_cast<long>(value), type) {}

    /// VT_UNKNOWN, sharing `object`.
    CComVariant(IUnknown* object) noexcept : CComVariant()
    {
        vt = VT_UNKNOWN;
        punkVal = CComPtr<IUnknown>(object).Detach();
    }

    /// VT_DISPATCH, sharing `object`.
    CComVariant(IDispatch* object) noexcept : CComVariant()
    {
        vt = VT_DISPATCH;
        pdispVal = CComPtr<IDispatch>(object).Detach();
    }

    /// A copy of `source`.
    CComVariant(const VARIANT& source) : CComVariant() { _Require(Copy(&source)); }

    CComVariant(const CComVariant& other) : CComVariant(static_cast<const VARIANT&>(other)) {}

    CComVariant(CComVariant&& other) noexcept : CComVariant() { _Swap(other); }

    ~CComVariant() { ::VariantClear(this); }

    CComVariant& operator=(const CComVariant& other) { return *this = CComVariant(other); }

    CComVariant& operator=(const VARIANT& source) { return *this = CComVariant(source); }

    CComVariant& operator=(const wchar_t* text) { return *this = CComVariant(text); }

    CComVariant& operator=(CComVariant&& other) noexcept
    {
        CComVariant moved(std::move(other));
        _Swap(moved);
        return *this;
    }

    /// Frees the value; VT_EMPTY remains.
    HRESULT Clear() noexcept { return ::VariantClear(this); }

    /// Becomes a copy of `*source`.
    HRESULT Copy(const VARIANT* source) noexcept { return ::VariantCopy(this, _Source(source)); }

    /// Clears this variant and takes over `*source`, which becomes VT_EMPTY.
    HRESULT Attach(VARIANT* source) noexcept
    {
        if (source == nullptr)
            return E_INVALIDARG;
        const HRESULT hr = source == this ? S_OK : Clear();
        if (SUCCEEDED(hr))
            std::swap(static_cast<VARIANT&>(*this), *source);
        return hr;
    }

    /// Clears `*target`, which must be initialised, and moves the value there.
    HRESULT Detach(VARIANT* target) noexcept
    {
        if (target == nullptr)
            return E_POINTER;
        const HRESULT hr = ::VariantClear(target);
        if (SUCCEEDED(hr))
            std::swap(static_cast<VARIANT&>(*this), *target);
        return hr;
    }

    /// Converts `*source`, or this variant itself, to `type`; on failure this variant keeps its value.
    HRESULT ChangeType(VARTYPE type, const VARIANT* source = nullptr) noexcept
    {
        return ::VariantChangeType(this, _Source(source != nullptr ? source : this), 0, type);
    }

  private:
    /// Some headers declare the sources of the system's calls without const; they are only read.
    static VARIANT* _Source(const VARIANT* source) noexcept { return const_cast<VARIANT*>(source); }

    static void _Require(HRESULT hr)
    {
        if (FAILED(hr))
            AtlThrow(hr);
    }

    void _Swap(CComVariant& other) noexcept
    {
        std::swap(static_cast<VARIANT&>(*this), static_cast<VARIANT&>(other));
    }
};

} // namespace ATL
