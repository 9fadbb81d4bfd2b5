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
        {"no such class", 0x80041002, [&] { return Find(L"Other"); }},
        {"an instance", S_OK, [&] { return Find(L"Policy.id=\"a\",precedence=1"); }},
        {"keys in another order", S_OK, [&] { return Find(L"policy.PRECEDENCE=1,ID='a'"); }},
        {"with server and namespace", S_OK,
         [&] { return Find(L"\\\\fernhill\\root\\rsop\\computer:Policy.id=\"a\",precedence=1"); }},
        {"a key is missing", 0x8004103A, [&] { return Find(L"Policy.id=\"a\""); }},
        {"a key of the wrong type", 0x8004103A, [&] { return Find(L"Policy.id=\"a\",precedence=\"1\""); }},
        {"another namespace", 0x8004100E, [&] { return Find(L"\\\\.\\root\\cimv2:Policy"); }},
    });
}

TEST_F(StoreAnswers, ToChangesOfAClass)
{
    const Object built = Build(L"Next");
    CComPtr<IWbemQualifierSet> set;
    ASSERT_EQ(S_OK, built->GetPropertyQualifierSet(L"id", &set));
    Check({
        {"a name of WMI's own", 0x80041008, [&] { return Put(built, L"__CLASS", L"__Mine"); }},
        {"an inherited property, another type", 0x80041005,
         [&] { return Put(built, L"name", Null(), CIM_UINT32); }},
        {"a new property without type and value", 0x80041008, [&] { return Put(built, L"odd", Null()); }},
        {"a missing qualifier", 0x80041002, [&] { return set->Get(L"Read", 0, nullptr, nullptr); }},
        {"a 16-bit qualifier", 0x80041029, [&] { return PutQualifier(built, L"id", L"Q", Form(VT_I2)); }},
        {"deleting what is inherited", 0x8004101C, [&] { return built->Delete(L"GPOID"); }},
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
    const Object strict = Build(L"Strict");
    ASSERT_EQ(S_OK, PutQualifier(strict, L"name", L"Not_Null", true));
    ASSERT_EQ(S_OK, PutClass(strict));
    CComPtr<IEnumWbemClassObject> found;
    Check({
        {"a class with children", 0x80041025, [&] { return PutClass(Build(L"Parent")); }},
        {"a class with instances", 0x80041026, [&] { return PutClass(Build(L"Full")); }},
        {"create only, and it is there", 0x80041019,
         [&] { return PutClass(Build(L"Policy"), WBEM_FLAG_CREATE_ONLY); }},
        {"update only, and it is not", 0x80041002,
         [&] { return PutClass(Build(L"Fresh"), WBEM_FLAG_UPDATE_ONLY); }},
        {"an unknown property", 0x80041002, [&] { return Put(instance, L"odd", 1); }},
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
        {"instances of an unknown class", 0x80041010,
         [&] { return services->CreateInstanceEnum(CComBSTR(L"Other"), 0, nullptr, &found); }},
        {"deleting", S_OK, [&] { return DeleteClass(L"POLICY"); }},
        {"calls that answer later", 0x8004100C,
         [&] { return services->PutInstance(instance, WBEM_FLAG_RETURN_IMMEDIATELY, nullptr, nullptr); }},
        {"asynchronous calls", 0x8004100C,
         [&] { return services->DeleteClassAsync(CComBSTR(L"Full"), 0, nullptr, nullptr); }},
    });
}

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

    const struct {
        const char* why;
        CIMTYPE type;
        CComVariant value;
        HRESULT answer;
    } rows[] = {
        {"uint32", CIM_UINT32, Of(VT_I4, -2), S_OK},
        {"uint32 in 16 bits", CIM_UINT32, Of(VT_I2, 2), kMismatch},
        {"uint16 too large", CIM_UINT16, Of(VT_I4, 65536), kOutOfRange},
        {"uint64 at its end", CIM_UINT64, L"18446744073709551615", S_OK},
        {"uint64 beyond", CIM_UINT64, L"18446744073709551616", kMismatch},
        {"sint64 at its end", CIM_SINT64, L"-9223372036854775808", S_OK},
        {"sint64 beyond", CIM_SINT64, L"9223372036854775808", kMismatch},
        {"string as a number", CIM_STRING, 1, kMismatch},
        {"no value at all", CIM_STRING, CComVariant(), kMismatch},
        {"date-time", CIM_DATETIME, L"20260228235959.123456+060", S_OK},
        {"date that does not exist", CIM_DATETIME, L"20260229000000.000000+000", kMismatch},
    };

    for (const auto& row : rows) {
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
    const std::tuple<const wchar_t*, std::wstring, std::wstring> rows[] = {
        {L"__Class", L"Child", L"Child"},
        {L"__SUPERCLASS", L"Policy", L"Policy"},
        {L"__DYNASTY", L"RSOP_PolicySetting", L"RSOP_PolicySetting"},
        {L"__NAMESPACE", L"ROOT\\RSOP\\Computer", L"ROOT\\RSOP\\Computer"},
        {L"__RELPATH", L"Child", L"Child.id=\"a\\\"\\\\\",precedence=4294967295"},
        {L"__Path", L"\\\\FERNHILL\\ROOT\\RSOP\\Computer:Child",
         L"\\\\FERNHILL\\ROOT\\RSOP\\Computer:Child.id=\"a\\\"\\\\\",precedence=4294967295"},
    };
    for (const auto& [property, ofClass, ofInstance] : rows) {
        EXPECT_EQ(ofClass, Text(child, property));
        EXPECT_EQ(ofInstance, Text(instance, property));
    }
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
    const Object again = Spawn(L"Policy", L"b", 1);
    ASSERT_EQ(S_OK, Put(again, L"name", L"second"));
    ASSERT_EQ(S_OK, PutInstance(again));

    const auto instances = store.Instances(L"rsop_policysetting");
    ASSERT_EQ(2u, instances.size());
    EXPECT_EQ(L"Policy.id=\"b\",precedence=1", instances[0].path);
    EXPECT_STREQ(L"second", instances[0].Find(L"NAME")->bstrVal);
    EXPECT_EQ(L"Policy.id=\"a\",precedence=1", instances[1].path);
    EXPECT_EQ(VT_NULL, instances[1].Find(L"name")->vt);
    EXPECT_STREQ(L"", instances[1].Find(L"SOMID")->bstrVal); // which the class says
    EXPECT_EQ(nullptr, instances[1].Find(L"odd"));
}

TEST_F(StoreTest, DeletesDerivedClassesAndAllInstances)
{
    ASSERT_EQ(S_OK, Derive(L"Child", L"Policy"));
    ASSERT_EQ(S_OK, Register(L"Other"));
    for (const wchar_t* const name : {L"Policy", L"Child", L"Other"})
        ASSERT_EQ(S_OK, Write(name, name, 1));
    ASSERT_EQ(S_OK, DeleteClass(L"Policy"));
    EXPECT_THAT(store.Classes(), ElementsAre(L"RSOP_PolicySetting", L"Other"));
    EXPECT_EQ(1u, store.Instances().size());
    ASSERT_EQ(S_OK, Register(L"Policy"));
    EXPECT_TRUE(store.Instances(L"Policy").empty());
}

TEST_F(StoreTest, HoldsChildNamespaces)
{
    CComPtr<IWbemServices> child;
    const auto open = [&] { return services->OpenNamespace(CComBSTR(L"USER"), 0, nullptr, &child, nullptr); };
    const auto make = [this](const wchar_t* name) {
        const Object instance = Spawn(L"__NAMESPACE");
        EXPECT_EQ(S_OK, Put(instance, L"Name", name));
        return PutInstance(instance);
    };
    EXPECT_EQ(Code(0x8004100E), open());
    EXPECT_EQ(Code(0x80041008), make(L"a\\b"));
    ASSERT_EQ(S_OK, make(L"User"));
    ASSERT_EQ(S_OK, open());
    EXPECT_EQ(Code(0x8004100D), child->PutClass(Build(L"Mine"), 0, nullptr, nullptr)) << "of no parent here";
    EXPECT_TRUE(store.Instances().empty()) << "namespaces are no instances of the user's";

    EXPECT_EQ(S_OK, services->DeleteInstance(CComBSTR(L"__NAMESPACE='User'"), 0, nullptr, nullptr));
    child.Release();
    EXPECT_EQ(Code(0x8004100E), open());
}

} // namespace
