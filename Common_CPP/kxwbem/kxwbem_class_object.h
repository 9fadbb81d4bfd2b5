#pragma once

#include "Common_CPP/kxwbem/kxwbem_ptr.h"

#include <span>

/// One property of a class that a program registers.
struct WbemPropertyDesc {
    const wchar_t* name;
    CIMTYPE type; ///< a CIMTYPE_ENUMERATION value
    bool key;     ///< carries the qualifier "Key"
    bool read;    ///< the value of the qualifier "Read"
};

/// A WMI class or instance: typed reading and writing of properties, instances of a class, and the schema of
/// a class under construction.
class CkxWbemClassObjectPtr : public CkxWbemPtr<IWbemClassObject> {
  public:
    using CkxWbemPtr::CkxWbemPtr;

    /// A property's value as WMI hands it out. `value` is replaced.
    [[nodiscard]] HRESULT Get(const wchar_t* name, CComVariant& value) const;
    /// A text; WBEM_E_TYPE_MISMATCH, traced with the type, when the value is no VT_BSTR. Here and below.
    [[nodiscard]] HRESULT Get_BSTR(const wchar_t* name, CComBSTR& value) const;
    [[nodiscard]] HRESULT Get_CString(const wchar_t* name, CString& value) const;
    /// A VT_I4, as which WMI exchanges uint32.
    [[nodiscard]] HRESULT Get_DWORD(const wchar_t* name, DWORD& value) const;
    using CkxWbemPtr::Get; // the interface itself

    /// Writes a property. `value` is only read.
    [[nodiscard]] HRESULT Put(const wchar_t* name, const VARIANT& value) const;
    /// Writes a text; null is an empty one. NUL characters inside are passed on; WMI itself may end there.
    [[nodiscard]] HRESULT Put_BSTR(const wchar_t* name, BSTR value) const;
    [[nodiscard]] HRESULT Put_CString(const wchar_t* name, const CString& value) const;
    /// As VT_I4; uint32 values above 2^31-1 pass as negative ones.
    [[nodiscard]] HRESULT Put_long(const wchar_t* name, long value) const;
    /// As decimal text, which is how WMI takes 64-bit numbers.
    [[nodiscard]] HRESULT Put_int64(const wchar_t* name, long long value) const;
    [[nodiscard]] HRESULT Put_int64(const wchar_t* name, unsigned long long value) const;
    /// As a WMI date-time in UTC.
    [[nodiscard]] HRESULT Put_FILETIME(const wchar_t* name, const FILETIME& value) const;
    [[nodiscard]] HRESULT PutNullValue(const wchar_t* name) const;
    using CkxWbemPtr::Put; // where a call puts a new reference

    /// A new instance of this class.
    [[nodiscard]] HRESULT SpawnInstance(CkxWbemClassObjectPtr& instance) const;

  private:
    friend class CkxWbemServicesPtr; // registers and checks classes through the steps below

    [[nodiscard]] HRESULT _Put(const char* method, const wchar_t* name, const VARIANT& value) const;
    [[nodiscard]] HRESULT _PutText(const char* method, const wchar_t* name, BSTR value) const;
    /// Registers every property, in the table's order, on a class under construction; ends at the first
    /// failure, which it traces.
    [[nodiscard]] HRESULT _RegisterClassProperties(std::span<const WbemPropertyDesc> properties) const;
    /// Whether every property exists and carries "Key" as the table says: WBEM_E_NOT_FOUND where not.
    [[nodiscard]] HRESULT _CheckClassProperties(std::span<const WbemPropertyDesc> properties) const;
    [[nodiscard]] HRESULT _RegisterClassProperty(const WbemPropertyDesc& property) const;
    [[nodiscard]] HRESULT _CheckClassProperty(const WbemPropertyDesc& property) const;
};
