// Classes: which are taken as they are, which are registered anew, and how.
#include "Tests/kxwbem/kxwbem_fixture.h"

#include <functional>

namespace {

bool Flag(const CkxWbemClassObjectPtr& wmiClass, const wchar_t* property, const wchar_t* qualifier)
{
    CComPtr<IWbemQualifierSet> qualifiers;
    EXPECT_EQ(wmiClass.Get()->GetPropertyQualifierSet(property, &qualifiers), S_OK);
    CComVariant value(7L);
    const HRESULT hr = qualifiers->Get(qualifier, 0, &value, nullptr);
    EXPECT_TRUE(hr == S_OK ? value.vt == VT_BOOL : hr == static_cast<HRESULT>(WBEM_E_NOT_FOUND));
    return hr == S_OK && value.boolVal != VARIANT_FALSE;
}

} // namespace

TEST_F(WbemTest, AClassIsReusedOnlyIfItFits)
{
    const WbemPropertyDesc more[] = {
        c_properties[0], c_properties[1], c_properties[2], {L"more", CIM_STRING, false, true}};
    const WbemPropertyDesc otherKey[] = {
        {L"policyXml", CIM_STRING, true, true}, c_properties[1], c_properties[2]};
    const WbemPropertyDesc otherRest[] = {
        {L"policyXml", CIM_UINT32, false, true}, c_properties[1], c_properties[2]};
    CkxWbemClassObjectPtr ignored;
    const auto existing = [&](std::span<const WbemPropertyDesc> properties) {
        EXPECT_EQ(services.RegisterWmiClass(c_class, c_base, properties, ignored), S_OK);
    };
    const std::string services_ = "CkxWbemServicesPtr._CheckClass: ";
    const std::string object_ = "CkxWbemClassObjectPtr._CheckClassProperty: ";
    const std::string unfit = services_ + "INFO: KxTest properties validation failed.\n";

    const struct {
        const char* name;
        std::function<void()> prepare;
        std::span<const WbemPropertyDesc> wanted;
        bool reused;
        std::string traced;
    } rows[] = {
        {"none there", [] {}, c_properties, false,
         services_ + "ERROR: IWbemServices->GetObject(KxTest) failed. hr=-2147217406\n"},
        {"fits", [&] { existing(c_properties); }, c_properties, true, ""},
        {"has more than wanted", [&] { existing(more); }, c_properties, true, ""},
        {"type and read differ", [&] { existing(otherRest); }, c_properties, true, ""},
        {"lacks a property", [&] { existing(c_properties); }, more, false,
         object_ + "ERROR: Class property 'more' not found. hr=-2147217406\n" + unfit},
        {"its base cannot be told",
         [&] {
             existing(c_properties);
             Fail("InheritsFrom", E_FAIL);
         },
         c_properties, false,
         services_ + "ERROR: IWbemClassObject->InheritsFrom(RSOP_PolicySetting) failed. hr=-2147467259\n" +
             services_ + "INFO: KxTest inheritance validation failed. hr=-2147467259\n"},
        {"its keys cannot be told",
         [&] {
             existing(c_properties);
             Fail("qualifier Get", E_FAIL);
         },
         c_properties, false,
         object_ + "ERROR: Class property 'policyXml': check if key. hr=-2147467259\n" + unfit},
        {"key where none is wanted", [&] { existing(otherKey); }, c_properties, false,
         object_ + "INFO: Class property 'policyXml' is key. \n" + unfit},
        {"no key where one is wanted", [&] { existing(c_properties); }, otherKey, false,
         object_ + "INFO: Class property 'policyXml' is not key. \n" + unfit},
    };

    for (const auto& row : rows) {
        (void)services.DeleteClass(c_class);
        row.prepare();
        (void)Calls("");
        (void)Traced();
        CkxWbemClassObjectPtr wmiClass;
        ASSERT_EQ(services.RegisterWmiClassIfRequired(c_class, c_base, row.wanted, wmiClass), S_OK)
            << row.name;
        EXPECT_EQ(Traced(), row.traced) << row.name;
        EXPECT_EQ(Calls("PutClass"), row.reused ? 0 : 1) << row.name;
        // Whatever it was, it serves now.
        FailNothing();
        EXPECT_FALSE(Spawned(wmiClass).IsNull()) << row.name;
        ASSERT_EQ(services.RegisterWmiClassIfRequired(c_class, c_base, row.wanted, wmiClass), S_OK);
        EXPECT_EQ(Calls("PutClass"), 0) << row.name;
        EXPECT_EQ(Traced(), "") << row.name;
    }
}

// WMI gives a class no other base; whoever wants that deletes the class first.
TEST_F(WbemTest, AClassOfAnotherBaseIsNotTakenForOurs)
{
    CkxWbemClassObjectPtr wmiClass;
    ASSERT_EQ(services.RegisterWmiClass(c_class, c_properties, wmiClass), S_OK);
    CkxWbemClassObjectPtr none;
    EXPECT_TRUE(FAILED(services.RegisterWmiClassIfRequired(c_class, c_base, c_properties, none)));
    EXPECT_TRUE(none.IsNull());
    EXPECT_TRUE(Traced().starts_with(
        "CkxWbemServicesPtr._CheckClass: INFO: KxTest inheritance validation failed. hr=1\n"
        "CkxWbemServicesPtr._RegisterWmiClass: ERROR: IWbemServices->PutClass(KxTest) failed, hr="));
}

TEST_F(WbemTest, ARegisteredClassCarriesTheTablesQualifiers)
{
    const CkxWbemClassObjectPtr wmiClass = Registered();
    for (const WbemPropertyDesc& property : c_properties) {
        EXPECT_EQ(Flag(wmiClass, property.name, L"Key"), property.key) << property.name;
        EXPECT_EQ(Flag(wmiClass, property.name, L"Read"), property.read) << property.name;
    }
    EXPECT_EQ(wmiClass.Get()->InheritsFrom(c_base), S_OK);

    // The other ways to register.
    CkxWbemClassObjectPtr empty;
    CkxWbemClassObjectPtr top;
    ASSERT_EQ(services.RegisterWmiClass(L"KxTop", c_properties, top), S_OK);
    ASSERT_EQ(services.Get()->GetObject(nullptr, 0, nullptr, empty.Put(), nullptr), S_OK);
    ASSERT_EQ(services.RegisterWmiClass(L"KxOther", empty, c_properties), S_OK);
    EXPECT_TRUE(Flag(top, L"id", L"Key"));
    const std::vector<std::wstring> classes = m_store.Classes();
    for (const wchar_t* name : {c_class, L"KxTop", L"KxOther"})
        EXPECT_EQ(std::count(classes.begin(), classes.end(), name), 1) << name;
    EXPECT_EQ(services.DeleteClass(L"KxTop"), S_OK);
    EXPECT_EQ(services.Get()->GetObject(CComBSTR(L"KxTop"), 0, nullptr, empty.Put(), nullptr),
              static_cast<HRESULT>(WBEM_E_NOT_FOUND));
}

TEST_F(WbemTest, RegistrationEndsWithTheFirstFailure)
{
    const std::string hr = "hr=-2147467259\n";
    const std::string register_ = "CkxWbemServicesPtr._RegisterWmiClass: ";
    const std::string inner = "CkxWbemClassObjectPtr._RegisterClassProperty: ERROR: ";
    const std::string outer =
        "CkxWbemServicesPtr.RegisterWmiClass: ERROR: _RegisterWmiClass(KxTest) failed. " + hr;
    const auto property = [&](const std::string& line, const std::string& name) {
        return inner + line + hr +
               "CkxWbemClassObjectPtr._RegisterClassProperties: ERROR: Failed to register property " + name +
               "\n" + register_ + "ERROR: Failed to register [KxTest] class properites, " + hr + outer;
    };

    const struct {
        const char* method; ///< the store's, which fails after `spared` calls
        int spared;
        int put; ///< times that the class is stored
        std::string traced;
    } rows[] = {
        {"GetObject", 0, 0,
         "CkxWbemServicesPtr.RegisterWmiClass: ERROR: IWbemServices->GetObject(RSOP_PolicySetting) failed. " +
             hr},
        {"SpawnDerivedClass", 0, 0,
         "CkxWbemServicesPtr.RegisterWmiClass: ERROR: baseClass->SpawnDerivedClass() failed. " + hr},
        {"Put", 0, 0,
         "CkxWbemClassObjectPtr.Put_BSTR: ERROR: IWbemClassObject->Put(__CLASS, vt=8) failed. " + hr + outer},
        {"Put", 1, 0, property("wbemClassObject->Put(policyXml) failed. ", "policyXml")},
        {"GetPropertyQualifierSet", 1, 0,
         property("wbemClassObject->GetPropertyQualifierSet(id) failed. ", "id")},
        {"qualifier Put", 0, 0,
         property("Failed to put 'Read' qualifier for property 'policyXml'. ", "policyXml")},
        {"qualifier Put", 1, 0, property("Failed to put 'Key' qualifier for property 'id'. ", "id")},
        {"GetObject", 1, 1,
         "CkxWbemServicesPtr.RegisterWmiClass: ERROR: IWbemServices->GetObject(KxTest) failed. " + hr},
        {"PutClass", 0, 1, register_ + "ERROR: IWbemServices->PutClass(KxTest) failed, " + hr + outer},
    };

    for (const auto& row : rows) {
        Fail(row.method, E_FAIL, row.spared);
        (void)Calls("");
        CkxWbemClassObjectPtr none;
        EXPECT_EQ(services.RegisterWmiClass(c_class, c_base, c_properties, none), E_FAIL);
        EXPECT_TRUE(none.IsNull());
        EXPECT_EQ(Traced(), row.traced) << row.method << row.spared;
        EXPECT_EQ(Calls("PutClass"), row.put) << row.method;
    }
}
