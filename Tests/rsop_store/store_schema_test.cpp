#include "Tests/rsop_store/store_fixture.h"

namespace {

using ::testing::ElementsAre;

class StoreSchema : public StoreTest {
  protected:
    static Names QualifierNames(IWbemClassObject* object, const wchar_t* property)
    {
        CComPtr<IWbemQualifierSet> set;
        SAFEARRAY* names = nullptr;
        EXPECT_EQ(S_OK, object->GetPropertyQualifierSet(property, &set));
        EXPECT_EQ(S_OK, set->GetNames(0, &names));
        return Take(names);
    }

    static std::wstring Mof(IWbemClassObject* object, LONG flags = 0)
    {
        CComBSTR text;
        EXPECT_EQ(S_OK, object->GetObjectText(flags, &text));
        return text.m_str;
    }
};

TEST_F(StoreSchema, TellsNamesByOriginKeyAndQualifier)
{
    const std::tuple<LONG, const wchar_t*, Names> rows[] = {
        {WBEM_FLAG_LOCAL_ONLY, nullptr, {L"id", L"precedence", L"name", L"policyXml"}},
        {WBEM_FLAG_PROPAGATED_ONLY, nullptr, {L"GPOID", L"SOMID", L"creationTime"}},
        {WBEM_FLAG_KEYS_ONLY, nullptr, {L"id", L"precedence"}},
        {WBEM_FLAG_ONLY_IF_TRUE, L"not_null", {L"id", L"precedence"}},
        {WBEM_FLAG_ONLY_IF_FALSE | WBEM_FLAG_LOCAL_ONLY, L"key", {L"name", L"policyXml"}},
    };
    const Object policy = Get(L"Policy");
    ASSERT_EQ(S_OK, PutQualifier(policy, L"name", L"Max", 5));
    for (const auto& [flags, qualifier, names] : rows) {
        SAFEARRAY* found = nullptr;
        EXPECT_EQ(S_OK, policy->GetNames(qualifier, flags, nullptr, &found));
        EXPECT_EQ(names, Take(found)) << flags;
    }
}

TEST_F(StoreSchema, SpreadsQualifiersByTheirFlavor)
{
    const Object parent = Build(L"Parent");
    ASSERT_EQ(S_OK, PutQualifier(parent, L"name", L"Stays", 1));
    ASSERT_EQ(S_OK, PutQualifier(parent, L"name", L"Spreads", 2, 0x3));
    ASSERT_EQ(S_OK, PutQualifier(parent, L"name", L"Fixed", 3, 0x12));
    ASSERT_EQ(S_OK, PutClass(parent));
    ASSERT_EQ(S_OK, Derive(L"Child", L"Parent"));
    const Object child = Get(L"Child");
    EXPECT_THAT(QualifierNames(child, L"name"), ElementsAre(L"CIMTYPE", L"Spreads", L"Fixed"));
    EXPECT_THAT(QualifierNames(Spawn(L"Child"), L"name"), ElementsAre(L"CIMTYPE", L"Spreads"));
    EXPECT_EQ(Code(0x8004101A), PutQualifier(child, L"name", L"Fixed", 4));
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

    const Object instance = Spawn(L"Policy", L"line\r\nnext\t\u00e4", -1);
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
