// A store with a policy class in it, and short words for the COM calls that tests repeat.
#pragma once

#include "Tools/rsop_store/rsop_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using Object = CComPtr<IWbemClassObject>;
using Names = std::vector<std::wstring>;

/// A failure code by the number that the documentation gives it.
constexpr HRESULT Code(unsigned long number)
{
    return static_cast<HRESULT>(number);
}

inline CComVariant Null()
{
    CComVariant null;
    null.vt = VT_NULL;
    return null;
}

inline CComVariant Form(VARTYPE form)
{
    CComVariant variant;
    variant.vt = form;
    return variant;
}

inline HRESULT Put(IWbemClassObject* object, const wchar_t* name, CComVariant value, CIMTYPE type = 0)
{
    return object->Put(name, 0, &value, type);
}

/// The value of a property, or VT_EMPTY where it cannot be read.
inline CComVariant Get(IWbemClassObject* object, const wchar_t* name)
{
    CComVariant value;
    if (object != nullptr)
        (void)object->Get(name, 0, &value, nullptr, nullptr);
    return value;
}

/// The text of a property, or "(vt N)" where it has none.
inline std::wstring Text(IWbemClassObject* object, const wchar_t* name)
{
    const CComVariant value = Get(object, name);
    return value.vt == VT_BSTR ? std::wstring(value.bstrVal) : L"(vt " + std::to_wstring(value.vt) + L")";
}

inline HRESULT PutQualifier(IWbemClassObject* object, const wchar_t* property, const wchar_t* name,
                            CComVariant value, LONG flavor = 0)
{
    CComPtr<IWbemQualifierSet> set;
    const HRESULT hr =
        property == nullptr ? object->GetQualifierSet(&set) : object->GetPropertyQualifierSet(property, &set);
    return FAILED(hr) ? hr : set->Put(name, &value, flavor);
}

/// The strings of an array, which is destroyed.
inline Names Take(SAFEARRAY* array)
{
    Names names;
    LONG last = -1;
    (void)::SafeArrayGetUBound(array, 1, &last);
    for (LONG i = 0; i <= last; ++i) {
        CComBSTR name;
        (void)::SafeArrayGetElement(array, &i, &name);
        names.emplace_back(name.m_str);
    }
    ::SafeArrayDestroy(array);
    return names;
}

/// A store and the calls that a program makes into it.
class StoreUser {
  public:
    HRESULT Find(const wchar_t* path, Object& object) const
    {
        return services->GetObject(CComBSTR(path), 0, nullptr, &object, nullptr);
    }

    /// A class or an instance that must be there.
    [[nodiscard]] Object Get(const wchar_t* path) const
    {
        Object object;
        EXPECT_EQ(S_OK, Find(path, object)) << ::testing::PrintToString(path);
        return object;
    }

    /// A class below RSOP_PolicySetting as policies have it, not registered yet.
    [[nodiscard]] Object Build(const wchar_t* name) const
    {
        Object built;
        EXPECT_EQ(S_OK, Get(L"RSOP_PolicySetting")->SpawnDerivedClass(0, &built));
        EXPECT_EQ(S_OK, Put(built, L"__CLASS", name));
        EXPECT_EQ(S_OK, Put(built, L"policyXml", Null(), CIM_STRING));
        EXPECT_EQ(S_OK, Put(built, L"id", Null(), CIM_STRING));
        EXPECT_EQ(S_OK, PutQualifier(built, L"id", L"Key", true));
        EXPECT_EQ(S_OK, Put(built, L"precedence", Null(), CIM_UINT32));
        EXPECT_EQ(S_OK, PutQualifier(built, L"precedence", L"Key", true));
        return built;
    }

    HRESULT PutClass(IWbemClassObject* object, LONG flags = 0) const
    {
        return services->PutClass(object, flags, nullptr, nullptr);
    }

    HRESULT Register(const wchar_t* name) const { return PutClass(Build(name)); }

    /// A class derived from `parent`, with its keys.
    HRESULT Derive(const wchar_t* name, const wchar_t* parent) const
    {
        Object derived;
        const HRESULT hr = Get(parent)->SpawnDerivedClass(0, &derived);
        return FAILED(hr) || FAILED(Put(derived, L"__CLASS", name)) ? E_FAIL : PutClass(derived);
    }

    HRESULT DeleteClass(const wchar_t* name) const
    {
        return services->DeleteClass(CComBSTR(name), 0, nullptr, nullptr);
    }

    [[nodiscard]] Object Spawn(const wchar_t* className) const
    {
        Object instance;
        EXPECT_EQ(S_OK, Get(className)->SpawnInstance(0, &instance));
        return instance;
    }

    HRESULT PutInstance(IWbemClassObject* instance, LONG flags = 0) const
    {
        return services->PutInstance(instance, flags, nullptr, nullptr);
    }

    /// An instance with its keys, not stored yet.
    [[nodiscard]] Object Spawn(const wchar_t* className, const wchar_t* id, int precedence) const
    {
        Object instance = Spawn(className);
        EXPECT_EQ(S_OK, Put(instance, L"id", id));
        EXPECT_EQ(S_OK, Put(instance, L"precedence", precedence));
        return instance;
    }

    HRESULT Write(const wchar_t* className, const wchar_t* id, int precedence, LONG flags = 0) const
    {
        return PutInstance(Spawn(className, id, precedence), flags);
    }

    /// `property` of everything that an enumerator still gives.
    [[nodiscard]] static Names Rest(IEnumWbemClassObject* found, const wchar_t* property)
    {
        Names values;
        ULONG got = 0;
        for (Object object; found->Next(0, 1, &object, &got) == S_OK; object.Release())
            values.push_back(Text(object, property));
        return values;
    }

    HRESULT Query(const wchar_t* text, CComPtr<IEnumWbemClassObject>& found, LONG flags = 0) const
    {
        return services->ExecQuery(CComBSTR(L"WQL"), CComBSTR(text), flags, nullptr, &found);
    }

    /// The overloads for objects at hand.
    static CComVariant Get(IWbemClassObject* object, const wchar_t* name) { return ::Get(object, name); }

    CkxRsopStore store{L"ROOT\\RSOP\\Computer", L"FERNHILL"};
    CComPtr<IWbemServices> services = store.Services();
};

/// A store that knows a class "Policy".
class StoreTest : public ::testing::Test, public StoreUser {
  protected:
    void SetUp() override { ASSERT_EQ(S_OK, Register(L"Policy")); }

    /// Nothing that a test got may be left.
    void TearDown() override
    {
        services.Release();
        EXPECT_EQ(0u, store.LiveObjects());
    }
};
