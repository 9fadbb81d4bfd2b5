#include "Tests/rsop_store/store_fixture.h"

#include <functional>

namespace {

using ::testing::ElementsAre;

/// One call and what WMI answers to it.
struct Row {
    const char* why;
    unsigned long answer; ///< by the number that the documentation gives it
    std::function<HRESULT()> call;
};

void Check(const std::vector<Row>& rows)
{
    for (const Row& row : rows)
        EXPECT_EQ(Code(row.answer), row.call()) << row.why;
}

class StoreAnswers : public StoreTest {
  protected:
    /// What GetObject answers; the out pointer must be null when it fails.
    HRESULT Find(const wchar_t* path) const
    {
        auto* object = reinterpret_cast<IWbemClassObject*>(1);
        const HRESULT hr = services->GetObject(CComBSTR(path), 0, nullptr, &object, nullptr);
        EXPECT_EQ(FAILED(hr), object == nullptr);
        if (object != nullptr)
            object->Release();
        return hr;
    }
};

TEST_F(StoreAnswers, ToLookUps)
{
    ASSERT_EQ(S_OK, Write(L"Policy", L"a", 1));
    Check({
        {"a class", S_OK, [&] { return Find(L"Policy"); }},
        {"nothing is a new class", S_OK, [&] { return Find(nullptr); }},
        {"no such class", 0x80041002, [&] { return Find(L"Other"); }},
        {"an instance", S_OK, [&] { return Find(L"Policy.id=\"a\",precedence=1"); }},
        {"keys in another order", S_OK, [&] { return Find(L"policy.PRECEDENCE=1,ID='a'"); }},
        {"with server and namespace", S_OK,
         [&] { return Find(L"\\\\fernhill\\root\\rsop\\computer:Policy.id=\"a\",precedence=1"); }},
        {"another key", 0x80041002, [&] { return Find(L"Policy.id=\"a\",precedence=2"); }},
        {"a key is missing", 0x8004103A, [&] { return Find(L"Policy.id=\"a\""); }},
        {"a key of the wrong type", 0x8004103A, [&] { return Find(L"Policy.id=\"a\",precedence=\"1\""); }},
        {"a key beyond its type", 0x8004103A, [&] { return Find(L"Policy.id=\"a\",precedence=-1"); }},
        {"another namespace", 0x8004100E, [&] { return Find(L"\\\\.\\root\\cimv2:Policy"); }},
        {"nowhere to put it", 0x80041008,
         [&] { return services->GetObject(CComBSTR(L"Policy"), 0, nullptr, nullptr, nullptr); }},
        {"an unknown flag", 0x80041008,
         [&] {
             Object object;
             return services->GetObject(CComBSTR(L"Policy"), 0x4000, nullptr, &object, nullptr);
         }},
    });
}

TEST_F(StoreAnswers, ToChangesOfAClass)
{
    const Object registered = Get(L"Policy");
    const Object built = Build(L"Next");
    const Object instance = Spawn(L"Policy");
    const Object empty = Get(nullptr);
    Object derived;
    CComPtr<IWbemQualifierSet> set;
    CComPtr<IWbemQualifierSet> none;
    ASSERT_EQ(S_OK, built->GetPropertyQualifierSet(L"id", &set));
    Check({
        {"derived from an instance", 0x80041016, [&] { return instance->SpawnDerivedClass(0, &derived); }},
        {"derived from one that is being built", 0x80041020,
         [&] { return built->SpawnDerivedClass(0, &derived); }},
        {"a registered class keeps its name", 0x80041023, [&] { return Put(registered, L"__CLASS", L"X"); }},
        {"a name that is none", 0x80041008, [&] { return Put(built, L"__CLASS", L"1st"); }},
        {"a name of WMI's own", 0x80041008, [&] { return Put(built, L"__CLASS", L"__Mine"); }},
        {"an inherited property, restated", S_OK, [&] { return Put(built, L"name", Null(), CIM_STRING); }},
        {"an inherited property, another type", 0x80041005,
         [&] { return Put(built, L"name", Null(), CIM_UINT32); }},
        {"a type that is none", 0x8004102A, [&] { return Put(built, L"odd", Null(), 7); }},
        {"a new property without type and value", 0x80041008, [&] { return Put(built, L"odd", Null()); }},
        {"a new property by its value", S_OK, [&] { return Put(built, L"flag", true); }},
        {"a missing qualifier", 0x80041002, [&] { return set->Get(L"Read", 0, nullptr, nullptr); }},
        {"qualifiers of a system property", 0x80041030,
         [&] { return built->GetPropertyQualifierSet(L"__Path", &none); }},
        {"a 16-bit qualifier", 0x80041029, [&] { return PutQualifier(built, L"id", L"Q", Form(VT_I2)); }},
        {"a null qualifier", 0x80041029, [&] { return PutQualifier(built, L"id", L"Q", Null()); }},
        {"a class is no key", 0x8004101F, [&] { return PutQualifier(built, nullptr, L"Key", true); }},
        {"nor is an instance's property", 0x8004101F,
         [&] { return PutQualifier(instance, L"name", L"key", true); }},
        {"nor is a real number", 0x8004101F,
         [&] {
             EXPECT_EQ(S_OK, Put(built, L"real", Null(), CIM_REAL64));
             return PutQualifier(built, L"real", L"Key", true);
         }},
        {"not derived is success", S_FALSE, [&] { return registered->InheritsFrom(L"Next"); }},
        {"derived from nothing", 0x80041008, [&] { return registered->InheritsFrom(nullptr); }},
        {"deleting what is inherited", 0x8004101C, [&] { return built->Delete(L"GPOID"); }},
        {"deleting what is restated", 0x40002, [&] { return built->Delete(L"name"); }},
        {"deleting a system property", 0x80041030, [&] { return built->Delete(L"__CLASS"); }},
        {"deleting what is its own", S_OK, [&] { return built->Delete(L"flag"); }},
        {"a class without a name is empty", 0x80041020, [&] { return PutClass(empty); }},
    });
}

TEST_F(StoreAnswers, ToClassesAndInstancesBeingPut)
{
    ASSERT_EQ(S_OK, Register(L"Parent"));
    ASSERT_EQ(S_OK, Derive(L"Child", L"Parent"));
    ASSERT_EQ(S_OK, Register(L"Full"));
    ASSERT_EQ(S_OK, Write(L"Full", L"a", 1));
    const Object instance = Spawn(L"Policy");
    ASSERT_EQ(S_OK, Put(instance, L"id", L"b"));
    const Object unregistered = Build(L"Unregistered");
    const Object strict = Build(L"Strict");
    ASSERT_EQ(S_OK, PutQualifier(strict, L"name", L"Not_Null", true));
    ASSERT_EQ(S_OK, PutClass(strict));
    Object spawned;
    CComPtr<IEnumWbemClassObject> found;
    Check({
        {"an instance as a class", 0x80041010, [&] { return PutClass(instance); }},
        {"nothing as a class", 0x80041008, [&] { return PutClass(nullptr); }},
        {"a class with children", 0x80041025, [&] { return PutClass(Build(L"Parent")); }},
        {"a class with instances", 0x80041026, [&] { return PutClass(Build(L"Full")); }},
        {"create only, and it is there", 0x80041019,
         [&] { return PutClass(Build(L"Policy"), WBEM_FLAG_CREATE_ONLY); }},
        {"update only, and it is not", 0x80041002,
         [&] { return PutClass(Build(L"Fresh"), WBEM_FLAG_UPDATE_ONLY); }},
        {"update only, and it is there", S_OK,
         [&] { return PutClass(Build(L"policy"), WBEM_FLAG_UPDATE_ONLY); }},
        {"a class that is its own parent", 0x80041047, [&] { return Derive(L"Policy", L"Policy"); }},
        {"spawned from no registered class", 0x80041020,
         [&] { return unregistered->SpawnInstance(0, &spawned); }},
        {"an unknown property", 0x80041002, [&] { return Put(instance, L"odd", 1); }},
        {"a system property", 0x80041023, [&] { return Put(instance, L"__CLASS", L"X"); }},
        {"a type with a value", 0x80041008, [&] { return Put(instance, L"name", L"x", CIM_STRING); }},
        {"no property of an instance goes", 0x80041016, [&] { return instance->Delete(L"name"); }},
        {"a null key", 0x80041028, [&] { return PutInstance(instance); }},
        {"a null value that may not be", 0x80041028, [&] { return Write(L"Strict", L"a", 1); }},
        {"both keys", S_OK,
         [&] {
             EXPECT_EQ(S_OK, Put(instance, L"precedence", 1));
             return PutInstance(instance);
         }},
        {"create only, and it is there", 0x80041019,
         [&] { return PutInstance(instance, WBEM_FLAG_CREATE_ONLY); }},
        {"update only, and it is not", 0x80041002,
         [&] { return Write(L"Policy", L"c", 1, WBEM_FLAG_UPDATE_ONLY); }},
        {"a class as an instance", 0x8004100F, [&] { return PutInstance(Get(L"Policy")); }},
        {"of an abstract class", 0x80041010, [&] { return Write(L"RSOP_PolicySetting", L"a", 1); }},
        {"instances of an unknown class", 0x80041010,
         [&] { return services->CreateInstanceEnum(CComBSTR(L"Other"), 0, nullptr, &found); }},
        {"deleting what is not there", 0x80041002, [&] { return DeleteClass(L"Other"); }},
        {"deleting WMI's own", 0x80041016, [&] { return DeleteClass(L"__NAMESPACE"); }},
        {"deleting", S_OK, [&] { return DeleteClass(L"POLICY"); }},
        {"an instance whose class has gone", 0x80041010, [&] { return PutInstance(instance); }},
        {"calls that answer later", 0x8004100C,
         [&] { return services->PutInstance(instance, WBEM_FLAG_RETURN_IMMEDIATELY, nullptr, nullptr); }},
        {"asynchronous calls", 0x8004100C,
         [&] { return services->DeleteClassAsync(CComBSTR(L"Full"), 0, nullptr, nullptr); }},
    });
}

/// A value in one form, and what comes back.
struct ValueRow {
    const char* why;
    CIMTYPE type;
    CComVariant value;
    HRESULT answer;
};

CComVariant Of(VARTYPE form, long long value)
{
    CComVariant variant = Form(form);
    variant.llVal = value; // whatever the form, its bytes come first
    return variant;
}

TEST_F(StoreAnswers, ToValuesByTheirType)
{
    constexpr HRESULT kMismatch = Code(0x80041005);
    constexpr HRESULT kOutOfRange = Code(0x8004102B);
    const ValueRow rows[] = {
        {"uint32", CIM_UINT32, Of(VT_I4, -2), S_OK},
        {"uint32 in 16 bits", CIM_UINT32, Of(VT_I2, 2), kMismatch},
        {"uint32 without sign", CIM_UINT32, Of(VT_UI4, 2), kMismatch},
        {"uint16 is 32 bits wide", CIM_UINT16, Of(VT_I4, 65535), S_OK},
        {"uint16 too large", CIM_UINT16, Of(VT_I4, 65536), kOutOfRange},
        {"uint16 negative", CIM_UINT16, Of(VT_I4, -1), kOutOfRange},
        {"char16", CIM_CHAR16, Of(VT_I2, 0xFFFE), S_OK},
        {"sint8", CIM_SINT8, Of(VT_I2, 127), S_OK},
        {"sint8 too large", CIM_SINT8, Of(VT_I2, 128), kOutOfRange},
        {"uint64 at its end", CIM_UINT64, L"18446744073709551615", S_OK},
        {"uint64 beyond", CIM_UINT64, L"18446744073709551616", kMismatch},
        {"sint64 at its end", CIM_SINT64, L"-9223372036854775808", S_OK},
        {"sint64 beyond", CIM_SINT64, L"9223372036854775808", kMismatch},
        {"boolean", CIM_BOOLEAN, true, S_OK},
        {"boolean as a number", CIM_BOOLEAN, 1, kMismatch},
        {"string", CIM_STRING, L"a\\\"b", S_OK},
        {"string as a number", CIM_STRING, 1, kMismatch},
        {"no value at all", CIM_STRING, CComVariant(), kMismatch},
        {"date-time", CIM_DATETIME, L"20260228235959.123456+060", S_OK},
        {"date that does not exist", CIM_DATETIME, L"20260229000000.000000+000", kMismatch},
        {"date-time cut short", CIM_DATETIME, L"20260228000000", kMismatch},
        {"real64", CIM_REAL64, Form(VT_R8), S_OK},
        {"real64 as real32", CIM_REAL64, Form(VT_R4), kMismatch},
    };
    for (const ValueRow& row : rows) {
        const Object built = Get(nullptr);
        ASSERT_EQ(S_OK, Put(built, L"v", Null(), row.type)) << row.why;
        EXPECT_EQ(row.answer, Put(built, L"v", row.value)) << row.why;
        const CComVariant back = Get(built, L"v");
        if (row.answer != S_OK) {
            EXPECT_EQ(VT_NULL, back.vt) << row.why << ": the former value";
            continue;
        }
        ASSERT_EQ(row.value.vt, back.vt) << row.why;
        CComVariant expected = row.value;
        EXPECT_EQ(HRESULT{VARCMP_EQ}, ::VarCmp(&expected, const_cast<CComVariant*>(&back), 0, 0)) << row.why;
    }
}

TEST_F(StoreTest, ShowsWhereAnObjectStands)
{
    ASSERT_EQ(S_OK, Derive(L"Child", L"Policy"));
    const Object child = Get(L"child");
    EXPECT_EQ(L"(vt 1)", Text(Spawn(L"Child"), L"__PATH")) << "no keys yet, so null";
    const Object instance = Spawn(L"Child", L"a\"\\", -1);

    const std::pair<const wchar_t*, const wchar_t*> rows[] = {
        {L"__Class", L"Child"},
        {L"__SUPERCLASS", L"Policy"},
        {L"__DYNASTY", L"RSOP_PolicySetting"},
        {L"__NAMESPACE", L"ROOT\\RSOP\\Computer"},
        {L"__SERVER", L"FERNHILL"},
    };
    for (const auto& [property, text] : rows)
        for (const Object& object : {child, instance})
            EXPECT_EQ(text, Text(object, property));
    const std::wstring keys = L".id=\"a\\\"\\\\\",precedence=4294967295";
    EXPECT_EQ(L"Child", Text(child, L"__RELPATH"));
    EXPECT_EQ(L"Child" + keys, Text(instance, L"__RELPATH"));
    EXPECT_EQ(L"\\\\FERNHILL\\ROOT\\RSOP\\Computer:Child", Text(child, L"__Path"));
    EXPECT_EQ(L"\\\\FERNHILL\\ROOT\\RSOP\\Computer:Child" + keys, Text(instance, L"__Path"));
    EXPECT_EQ(1, Get(child, L"__GENUS").lVal);
    EXPECT_EQ(2, Get(instance, L"__GENUS").lVal);
    EXPECT_EQ(7, Get(child, L"__PROPERTY_COUNT").lVal);
    CComVariant derivation = Get(instance, L"__DERIVATION");
    ASSERT_EQ(VT_ARRAY | VT_BSTR, derivation.vt);
    EXPECT_THAT(Take(std::exchange(derivation.parray, nullptr)),
                ElementsAre(L"Policy", L"RSOP_PolicySetting"));

    ASSERT_EQ(S_OK, PutInstance(instance));
    const CComVariant path = Get(instance, L"__PATH");
    EXPECT_EQ(-1, Get(Get(path.bstrVal), L"precedence").lVal);
    EXPECT_EQ(S_OK, services->DeleteInstance(path.bstrVal, 0, nullptr, nullptr));
    EXPECT_EQ(Code(0x80041002), services->DeleteInstance(path.bstrVal, 0, nullptr, nullptr));
}

TEST_F(StoreTest, KeepsInstancesByKeyInTheirFirstOrder)
{
    ASSERT_EQ(S_OK, Write(L"Policy", L"b", 1));
    ASSERT_EQ(S_OK, Write(L"Policy", L"a", 1));
    ASSERT_EQ(S_OK, Write(L"Policy", L"b", 2));
    const Object again = Spawn(L"Policy", L"b", 1);
    ASSERT_EQ(S_OK, Put(again, L"name", L"second"));
    ASSERT_EQ(S_OK, PutInstance(again));
    ASSERT_EQ(S_OK, Put(again, L"name", L"not stored"));

    const auto instances = store.Instances(L"rsop_policysetting");
    ASSERT_EQ(3u, instances.size());
    EXPECT_EQ(L"Policy.id=\"b\",precedence=1", instances[0].path);
    EXPECT_STREQ(L"second", instances[0].Find(L"NAME")->bstrVal);
    EXPECT_EQ(L"Policy.id=\"a\",precedence=1", instances[1].path);
    EXPECT_EQ(VT_NULL, instances[1].Find(L"name")->vt);
    EXPECT_STREQ(L"", instances[1].Find(L"SOMID")->bstrVal); // which the class says
    EXPECT_EQ(L"Policy.id=\"b\",precedence=2", instances[2].path);
    EXPECT_EQ(nullptr, instances[2].Find(L"odd"));
}

TEST_F(StoreTest, DeletesDerivedClassesAndAllInstances)
{
    ASSERT_EQ(S_OK, Derive(L"Child", L"Policy"));
    ASSERT_EQ(S_OK, Register(L"Other"));
    for (const wchar_t* const name : {L"Policy", L"Child", L"Other"})
        ASSERT_EQ(S_OK, Write(name, name, 1));
    ASSERT_EQ(S_OK, DeleteClass(L"Policy"));
    EXPECT_THAT(store.Classes(), ElementsAre(L"RSOP_PolicySetting", L"Other"));
    ASSERT_EQ(1u, store.Instances().size());
    EXPECT_EQ(L"Other", store.Instances()[0].className);

    ASSERT_EQ(S_OK, Register(L"Policy"));
    EXPECT_TRUE(store.Instances(L"Policy").empty());
}

TEST_F(StoreTest, TakesInstancesSpawnedBeforeTheirClassWasReplaced)
{
    const Object old = Spawn(L"Policy", L"a", 1);
    ASSERT_EQ(S_OK, DeleteClass(L"Policy"));
    const Object wider = Build(L"Policy");
    ASSERT_EQ(S_OK, Put(wider, L"extra", 7));
    ASSERT_EQ(S_OK, wider->Delete(L"policyXml"));
    ASSERT_EQ(S_OK, PutClass(wider));

    EXPECT_EQ(S_OK, PutInstance(old));
    EXPECT_EQ(7, store.Instances()[0].Find(L"extra")->lVal);
    ASSERT_EQ(S_OK, Put(old, L"policyXml", L"<a/>"));
    EXPECT_EQ(Code(0x8004100F), PutInstance(old)); // nowhere to keep that value
}

TEST_F(StoreTest, HoldsChildNamespaces)
{
    CComPtr<IWbemServices> child;
    CComPtr<IWbemServices> grandchild;
    const auto open = [this](const wchar_t* name, CComPtr<IWbemServices>& opened) {
        return services->OpenNamespace(CComBSTR(name), 0, nullptr, &opened, nullptr);
    };
    const auto make = [](IWbemServices* in, const wchar_t* name) {
        Object space;
        Object instance;
        EXPECT_EQ(S_OK, in->GetObject(CComBSTR(L"__NAMESPACE"), 0, nullptr, &space, nullptr));
        EXPECT_EQ(S_OK, space->SpawnInstance(0, &instance));
        EXPECT_EQ(S_OK, Put(instance, L"Name", name));
        return in->PutInstance(instance, 0, nullptr, nullptr);
    };
    EXPECT_EQ(Code(0x8004100E), open(L"User", child));
    EXPECT_EQ(Code(0x80041008), make(services, L"a\\b"));
    ASSERT_EQ(S_OK, make(services, L"User"));
    EXPECT_EQ(L"User", Text(Get(L"__NAMESPACE.Name='user'"), L"Name"));
    ASSERT_EQ(S_OK, open(L"USER", child));
    ASSERT_EQ(S_OK, make(child, L"Deep"));
    ASSERT_EQ(S_OK, open(L"User\\Deep", grandchild));
    Object space;
    ASSERT_EQ(S_OK, grandchild->GetObject(CComBSTR(L"__NAMESPACE"), 0, nullptr, &space, nullptr));
    EXPECT_EQ(L"ROOT\\RSOP\\Computer\\User\\Deep", Text(space, L"__NAMESPACE"));
    EXPECT_EQ(Code(0x8004100D), child->PutClass(Build(L"Mine"), 0, nullptr, nullptr)) << "of no parent here";

    EXPECT_EQ(S_OK, services->DeleteInstance(CComBSTR(L"__NAMESPACE='User'"), 0, nullptr, nullptr));
    child.Release();
    EXPECT_EQ(Code(0x8004100E), open(L"User", child));
    EXPECT_TRUE(store.Instances().empty()) << "namespaces are no instances of the user's";
}

} // namespace
