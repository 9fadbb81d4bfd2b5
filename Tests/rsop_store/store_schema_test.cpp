#include "Tests/rsop_store/store_fixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class StoreSchema : public StoreTest {
  protected:
    static Names NamesOf(IWbemClassObject* object, LONG flags, const wchar_t* qualifier = nullptr,
                         CComVariant* value = nullptr)
    {
        SAFEARRAY* names = nullptr;
        EXPECT_EQ(S_OK, object->GetNames(qualifier, flags, value, &names));
        return Take(names);
    }

    static CComPtr<IWbemQualifierSet> Qualifiers(IWbemClassObject* object, const wchar_t* property)
    {
        CComPtr<IWbemQualifierSet> set;
        EXPECT_EQ(S_OK, object->GetPropertyQualifierSet(property, &set));
        return set;
    }

    static Names QualifierNames(IWbemClassObject* object, const wchar_t* property, LONG flags = 0)
    {
        SAFEARRAY* names = nullptr;
        EXPECT_EQ(S_OK, Qualifiers(object, property)->GetNames(flags, &names));
        return Take(names);
    }

    static LONG FlavorOf(IWbemClassObject* object, const wchar_t* property, const wchar_t* qualifier)
    {
        LONG flavor = -1;
        EXPECT_EQ(S_OK, Qualifiers(object, property)->Get(qualifier, 0, nullptr, &flavor));
        return flavor;
    }

    static std::wstring Mof(IWbemClassObject* object, LONG flags = 0)
    {
        CComBSTR text;
        EXPECT_EQ(S_OK, object->GetObjectText(flags, &text));
        return text.m_str;
    }
};

TEST_F(StoreSchema, BeginsWithTheParentOfAllPolicies)
{
    const Object base = Get(L"RSOP_PolicySetting");
    EXPECT_THAT(NamesOf(base, WBEM_FLAG_NONSYSTEM_ONLY),
                ElementsAre(L"id", L"precedence", L"name", L"GPOID", L"SOMID", L"creationTime"));
    EXPECT_THAT(NamesOf(base, WBEM_FLAG_KEYS_ONLY), IsEmpty());
    EXPECT_THAT(QualifierNames(base, L"id"), ElementsAre(L"CIMTYPE", L"Required", L"Not_Null"));
    CComVariant type;
    ASSERT_EQ(S_OK, Qualifiers(base, L"precedence")->Get(L"cimtype", 0, &type, nullptr));
    EXPECT_STREQ(L"uint32", type.bstrVal);
    CIMTYPE number = 0;
    ASSERT_EQ(S_OK, base->Get(L"creationTime", 0, nullptr, &number, nullptr));
    EXPECT_EQ(CIM_DATETIME, number);
}

TEST_F(StoreSchema, TellsNamesByOriginKeyAndQualifier)
{
    const Object policy = Get(L"Policy");
    ASSERT_EQ(S_OK, PutQualifier(policy, L"name", L"Max", 5));
    EXPECT_THAT(NamesOf(policy, WBEM_FLAG_LOCAL_ONLY),
                ElementsAre(L"id", L"precedence", L"name", L"policyXml"));
    EXPECT_THAT(NamesOf(policy, WBEM_FLAG_PROPAGATED_ONLY), ElementsAre(L"GPOID", L"SOMID", L"creationTime"));
    EXPECT_THAT(NamesOf(policy, WBEM_FLAG_KEYS_ONLY), ElementsAre(L"id", L"precedence"));
    EXPECT_THAT(NamesOf(policy, WBEM_FLAG_ONLY_IF_TRUE, L"not_null"), ElementsAre(L"id", L"precedence"));
    EXPECT_THAT(NamesOf(policy, WBEM_FLAG_ONLY_IF_FALSE | WBEM_FLAG_LOCAL_ONLY, L"key"),
                ElementsAre(L"name", L"policyXml"));
    for (const auto& [value, expected] : {std::pair{5, Names{L"name"}}, std::pair{6, Names{}}}) {
        CComVariant wanted(value);
        EXPECT_EQ(expected, NamesOf(policy, WBEM_FLAG_ONLY_IF_IDENTICAL, L"Max", &wanted));
    }
    EXPECT_EQ(10u, NamesOf(policy, WBEM_FLAG_SYSTEM_ONLY).size());
    EXPECT_EQ(17u, NamesOf(policy, WBEM_FLAG_ALWAYS).size());
    SAFEARRAY* none = nullptr;
    EXPECT_EQ(Code(0x80041008), policy->GetNames(nullptr, WBEM_FLAG_ONLY_IF_TRUE, nullptr, &none));
}

TEST_F(StoreSchema, EnumeratesProperties)
{
    const Object instance = Spawn(L"Policy");
    ASSERT_EQ(S_OK, Put(instance, L"precedence", 4));
    EXPECT_EQ(Code(0x8004101D), instance->Next(0, nullptr, nullptr, nullptr, nullptr)) << "not begun";
    ASSERT_EQ(S_OK, instance->BeginEnumeration(WBEM_FLAG_KEYS_ONLY));
    CComBSTR name;
    CComVariant value;
    CIMTYPE type = 0;
    LONG flavor = -1;
    EXPECT_EQ(S_OK, instance->Next(0, nullptr, nullptr, nullptr, nullptr));
    ASSERT_EQ(S_OK, instance->Next(0, &name, &value, &type, &flavor));
    EXPECT_STREQ(L"precedence", name);
    EXPECT_EQ(4, value.lVal);
    EXPECT_EQ(CIM_UINT32, type);
    EXPECT_EQ(WBEM_FLAVOR_ORIGIN_LOCAL, flavor);
    EXPECT_EQ(HRESULT{WBEM_S_NO_MORE_DATA}, instance->Next(0, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(S_OK, instance->EndEnumeration());
    EXPECT_EQ(Code(0x8004101D), instance->Next(0, nullptr, nullptr, nullptr, nullptr)) << "ended";
}

TEST_F(StoreSchema, SpreadsQualifiersByTheirFlavor)
{
    const Object parent = Build(L"Parent");
    ASSERT_EQ(S_OK, PutQualifier(parent, L"name", L"Stays", 1));
    ASSERT_EQ(S_OK, PutQualifier(parent, L"name", L"Spreads", 2, 0x3));
    ASSERT_EQ(S_OK, PutQualifier(parent, L"name", L"Fixed", 3, 0x12));
    EXPECT_EQ(Code(0x80041008), PutQualifier(parent, L"name", L"Odd", 3, 0x20));
    ASSERT_EQ(S_OK, PutClass(parent));
    ASSERT_EQ(S_OK, Derive(L"Child", L"Parent"));

    const Object child = Get(L"Child");
    EXPECT_THAT(QualifierNames(child, L"name"), ElementsAre(L"CIMTYPE", L"Spreads", L"Fixed"));
    EXPECT_THAT(QualifierNames(Spawn(L"Child"), L"name"), ElementsAre(L"CIMTYPE", L"Spreads"));
    EXPECT_EQ(0x23, FlavorOf(child, L"name", L"Spreads"));
    EXPECT_EQ(Code(0x8004101A), PutQualifier(child, L"name", L"Fixed", 4));
    EXPECT_EQ(Code(0x8004101B), Qualifiers(child, L"name")->Delete(L"Spreads"));
    ASSERT_EQ(S_OK, PutQualifier(child, L"name", L"SPREADS", 5));
    EXPECT_EQ(0, FlavorOf(child, L"name", L"Spreads"));
    EXPECT_THAT(QualifierNames(child, L"name", WBEM_FLAG_LOCAL_ONLY), ElementsAre(L"Spreads"));
    EXPECT_EQ(HRESULT{WBEM_S_RESET_TO_DEFAULT}, Qualifiers(child, L"name")->Delete(L"Spreads"));
    EXPECT_EQ(0x23, FlavorOf(child, L"name", L"Spreads"));
    EXPECT_EQ(0x20, FlavorOf(child, L"id", L"key")) << "a key stays one whatever its flavor";
}

TEST_F(StoreSchema, EnumeratesQualifiers)
{
    const auto set = Qualifiers(Get(L"Policy"), L"id");
    EXPECT_EQ(Code(0x8004101D), set->Next(0, nullptr, nullptr, nullptr)) << "not begun";
    ASSERT_EQ(S_OK, set->BeginEnumeration(WBEM_FLAG_LOCAL_ONLY));
    CComBSTR name;
    CComVariant value;
    ASSERT_EQ(S_OK, set->Next(0, &name, &value, nullptr));
    EXPECT_STREQ(L"Key", name);
    EXPECT_EQ(VARIANT_TRUE, value.boolVal);
    EXPECT_EQ(HRESULT{WBEM_S_NO_MORE_DATA}, set->Next(0, nullptr, nullptr, nullptr));
    EXPECT_EQ(S_OK, set->EndEnumeration());
}

TEST_F(StoreSchema, ChangesOnlyWhatIsPut)
{
    const Object changed = Get(L"Policy");
    ASSERT_EQ(S_OK, Put(changed, L"extra", Null(), CIM_SINT64));
    Object none;
    EXPECT_EQ(Code(0x80041020), changed->SpawnInstance(0, &none)) << "changed and not put";
    EXPECT_EQ(Code(0x80041002), Get(L"Policy")->Get(L"extra", 0, nullptr, nullptr, nullptr));
    ASSERT_EQ(S_OK, PutClass(changed));
    EXPECT_EQ(S_OK, Get(L"Policy")->Get(L"extra", 0, nullptr, nullptr, nullptr));
    EXPECT_EQ(S_OK, changed->SpawnInstance(0, &none));
}

TEST_F(StoreSchema, KeepsKeysWhereTheyWereDeclared)
{
    Object derived;
    ASSERT_EQ(S_OK, Get(L"Policy")->SpawnDerivedClass(0, &derived));
    ASSERT_EQ(S_OK, Put(derived, L"__CLASS", L"Child"));
    ASSERT_EQ(S_OK, PutQualifier(derived, L"name", L"key", true));
    EXPECT_EQ(Code(0x80041049), PutClass(derived));
    ASSERT_EQ(S_OK, PutQualifier(derived, L"name", L"key", false));
    ASSERT_EQ(S_OK, PutClass(derived));

    ASSERT_EQ(S_OK, Write(L"Child", L"a", 1));
    EXPECT_EQ(Code(0x80041019), Write(L"Policy", L"a", 1)) << "one space of keys";
    EXPECT_EQ(L"Child", Text(Get(L"Policy.id='a',precedence=1"), L"__CLASS")) << "found by its parent";
    CComBSTR origin;
    ASSERT_EQ(S_OK, derived->GetPropertyOrigin(L"policyxml", &origin));
    EXPECT_STREQ(L"Policy", origin);
}

TEST_F(StoreSchema, ClonesAndCompares)
{
    const Object instance = Spawn(L"Policy");
    ASSERT_EQ(S_OK, Put(instance, L"name", L"one"));
    Object copy;
    ASSERT_EQ(S_OK, instance->Clone(&copy));
    EXPECT_EQ(HRESULT{WBEM_S_SAME}, instance->CompareTo(0, copy));
    ASSERT_EQ(S_OK, Put(copy, L"name", L"two"));
    EXPECT_EQ(HRESULT{WBEM_S_DIFFERENT}, instance->CompareTo(0, copy));
    EXPECT_EQ(L"one", Text(instance, L"name"));
    EXPECT_EQ(HRESULT{WBEM_S_DIFFERENT}, instance->CompareTo(0, Get(L"Policy")));
    Object classCopy;
    ASSERT_EQ(S_OK, Get(L"Policy")->Clone(&classCopy));
    EXPECT_EQ(S_OK, Put(classCopy, L"extra", 1));
    EXPECT_EQ(Code(0x80041002), Get(L"Policy")->Get(L"extra", 0, nullptr, nullptr, nullptr));
}

TEST_F(StoreSchema, SpeaksMof)
{
    const Object built = Build(L"Small");
    ASSERT_EQ(S_OK, PutQualifier(built, nullptr, L"Description", L"a \"b\"\\", 0x11));
    ASSERT_EQ(S_OK, Put(built, L"share", Form(VT_R8)));
    ASSERT_EQ(S_OK, PutClass(built));
    EXPECT_EQ(
        L"\n[Description(\"a \\\"b\\\"\\\\\"): DisableOverride ToInstance] \n"
        L"class Small : RSOP_PolicySetting\n{\n"
        L"\t[Key] string id;\n\t[Key] uint32 precedence;\n\tstring policyXml;\n\treal64 share = 0;\n};\n",
        Mof(Get(L"Small")));
    EXPECT_EQ(std::wstring::npos, Mof(Get(L"Small"), WBEM_FLAG_NO_FLAVORS).find(L"ToInstance"));

    const Object instance = Spawn(L"Policy");
    ASSERT_EQ(S_OK, Put(instance, L"id", L"line\r\nnext\t\u00e4"));
    ASSERT_EQ(S_OK, Put(instance, L"precedence", -1));
    EXPECT_EQ(L"\ninstance of Policy\n{\n\tid = \"line\\r\\nnext\\t\u00e4\";\n\tprecedence = 4294967295;\n"
              L"\tSOMID = \"\";\n};\n",
              Mof(instance));
    ASSERT_EQ(S_OK, PutInstance(instance));
    std::wstring all;
    store.Export(all);
    EXPECT_EQ(Mof(Get(L"RSOP_PolicySetting")) + Mof(Get(L"Policy")) + Mof(Get(L"Small")) + Mof(instance),
              all);
}

} // namespace
