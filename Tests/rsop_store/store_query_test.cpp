#include "Tests/rsop_store/store_fixture.h"

namespace {

using ::testing::ElementsAre;

class StoreQuery : public StoreTest {
  protected:
    void SetUp() override
    {
        StoreTest::SetUp();
        const Object wide = Build(L"Wide");
        ASSERT_EQ(S_OK, Put(wide, L"size", Null(), CIM_UINT64));
        ASSERT_EQ(S_OK, Put(wide, L"hot", Null(), CIM_BOOLEAN));
        ASSERT_EQ(S_OK, Put(wide, L"share", Null(), CIM_REAL64));
        ASSERT_EQ(S_OK, PutClass(wide));
        ASSERT_EQ(S_OK, Derive(L"Child", L"Wide"));
        Add(L"Wide", L"one", 1, L"9", true, L"20260101120000.000000+000");
        Add(L"Wide", L"two", 2, L"18446744073709551615", false, L"20260101120000.000000+060");
        Add(L"Child", L"six", -6, L"100", true, L"20260101130000.000000+060");
        ASSERT_EQ(S_OK, Write(L"Wide", L"bare", 7));
        ASSERT_EQ(S_OK, Write(L"Policy", L"other", 1));
    }

    void Add(const wchar_t* className, const wchar_t* id, int precedence, const wchar_t* size, bool hot,
             const wchar_t* time) const
    {
        const Object instance = Spawn(className, id, precedence);
        EXPECT_EQ(S_OK, Put(instance, L"size", size));
        EXPECT_EQ(S_OK, Put(instance, L"hot", hot));
        EXPECT_EQ(S_OK, Put(instance, L"creationTime", time));
        EXPECT_EQ(S_OK, PutInstance(instance));
    }

    /// The ids, or for classes the names, that a query finds; the code when it is refused.
    std::wstring Found(const std::wstring& query, const wchar_t* property = L"id") const
    {
        CComPtr<IEnumWbemClassObject> found;
        const HRESULT hr = Query(query.c_str(), found);
        if (FAILED(hr))
            return hr == Code(0x80041017)   ? L"invalid query"
                   : hr == Code(0x80041010) ? L"invalid class"
                                            : L"?";
        std::wstring all;
        for (const std::wstring& value : Rest(found, property))
            all += (all.empty() ? L"" : L" ") + value;
        return all;
    }
};

TEST_F(StoreQuery, FindsInstances)
{
    const std::pair<const wchar_t*, const wchar_t*> rows[] = {
        {L"", L"one two six bare"},
        {L" WHERE id >= 'p'", L"two six"},
        {L" WHERE precedence='2'", L"two"},      // a number may stand in quotes
        {L" WHERE precedence > 2", L"six bare"}, // no sign: -6 is large
        {L" WHERE precedence >= 1 AND precedence < 7 AND hot = TRUE", L"one"},
        {L" WHERE size = NULL", L"bare"},
        {L" WHERE size <> 9", L"two six"},                                  // null compares with nothing
        {L" WHERE creationTime = '20260101110000.000000-060'", L"one six"}, // the same moment
        {L" WHERE creationTime < '20260101120000.000000+000'", L"two"},
        {L" WHERE __CLASS = 'child'", L"six"},
        {L" WHERE precedence = 'x'", L"invalid query"},
        {L" WHERE creationTime < '2026'", L"invalid query"},
    };
    for (const auto& [where, found] : rows)
        EXPECT_EQ(found, Found(std::wstring(L"SELECT * FROM wide") + where))
            << ::testing::PrintToString(where);
    EXPECT_EQ(L"invalid class", Found(L"SELECT * FROM Odd"));
    EXPECT_EQ(L"invalid query", Found(L"SELECT odd FROM Wide"));
    EXPECT_EQ(L"18446744073709551615", Found(L"SELECT SIZE FROM Wide WHERE hot=FALSE", L"size"));
    EXPECT_EQ(L"(vt 1)", Found(L"SELECT SIZE FROM Wide WHERE hot=FALSE", L"creationTime")) << "not selected";
    CComPtr<IEnumWbemClassObject> found;
    EXPECT_EQ(Code(0x80041018),
              services->ExecQuery(CComBSTR(L"SQL"), CComBSTR(L"SELECT * FROM Wide"), 0, nullptr, &found));
}

TEST_F(StoreQuery, FindsClasses)
{
    const std::pair<const wchar_t*, const wchar_t*> rows[] = {
        {L"", L"__SystemClass __NAMESPACE RSOP_PolicySetting Policy Wide Child"},
        {L" WHERE __this ISA 'Wide' AND __CLASS <> 'wide'", L"Child"},
        {L" WHERE __SUPERCLASS = 'RSOP_PolicySetting'", L"Policy Wide"},
        {L" WHERE id = 'x'", L"invalid query"},
    };
    for (const auto& [where, found] : rows)
        EXPECT_EQ(found, Found(std::wstring(L"SELECT * from META_CLASS") + where, L"__CLASS"));
}

TEST_F(StoreQuery, EnumeratesShallow)
{
    CComPtr<IEnumWbemClassObject> found;
    ASSERT_EQ(S_OK, services->CreateInstanceEnum(CComBSTR(L"Wide"), WBEM_FLAG_SHALLOW, nullptr, &found));
    EXPECT_THAT(Rest(found, L"id"), ElementsAre(L"one", L"two", L"bare"));
    found.Release();
    ASSERT_EQ(S_OK, services->CreateClassEnum(nullptr, WBEM_FLAG_SHALLOW, nullptr, &found));
    EXPECT_THAT(Rest(found, L"__CLASS"), ElementsAre(L"__SystemClass", L"RSOP_PolicySetting"));
}

TEST_F(StoreQuery, StepsThroughSeveralAtOnce)
{
    CComPtr<IEnumWbemClassObject> found;
    CComPtr<IEnumWbemClassObject> copy;
    ASSERT_EQ(S_OK, Query(L"SELECT * FROM RSOP_PolicySetting", found));
    ASSERT_EQ(S_OK, DeleteClass(L"Policy")); // what was found stays found
    ASSERT_EQ(HRESULT{WBEM_S_NO_ERROR}, found->Skip(0, 4));
    ASSERT_EQ(S_OK, found->Clone(&copy));
    EXPECT_THAT(Rest(copy, L"id"), ElementsAre(L"other"));
    ASSERT_EQ(S_OK, copy->Reset());
    EXPECT_EQ(5u, Rest(copy, L"id").size());

    IWbemClassObject* objects[2] = {};
    ULONG got = 0;
    ASSERT_EQ(HRESULT{WBEM_S_FALSE}, found->Next(0, 2, objects, &got)) << "fewer than asked";
    EXPECT_TRUE(got == 1 && objects[0] != nullptr && objects[1] == nullptr);
    objects[0]->Release();
}

} // namespace
