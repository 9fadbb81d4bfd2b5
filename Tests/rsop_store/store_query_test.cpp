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
        {L" WHERE id='TWO'", L"two"}, // text ignores case
        {L" WHERE id >= 'p'", L"two six"},
        {L" WHERE precedence='2'", L"two"},      // a number may stand in quotes
        {L" WHERE precedence > 2", L"six bare"}, // no sign: -6 is large
        {L" WHERE precedence >= 1 AND precedence < 7 AND hot = TRUE", L"one"},
        {L" WHERE hot = 'false'", L"two"},
        {L" WHERE size > 99", L"two six"},
        {L" WHERE size = NULL", L"bare"},
        {L" WHERE size <> 9", L"two six"},                                  // null compares with nothing
        {L" WHERE creationTime = '20260101110000.000000-060'", L"one six"}, // the same moment
        {L" WHERE creationTime < '20260101120000.000000+000'", L"two"},
        {L" WHERE __CLASS = 'child'", L"six"},
        {L" WHERE odd = 1", L"invalid query"},
        {L" WHERE id = 1", L"invalid query"},
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
    const auto classes = [this](const wchar_t* where) {
        return Found(std::wstring(L"SELECT * from META_CLASS") + where, L"__CLASS");
    };
    EXPECT_EQ(L"__SystemClass __NAMESPACE RSOP_PolicySetting Policy Wide Child", classes(L""));
    EXPECT_EQ(L"Child", classes(L" WHERE __this ISA 'Wide' AND __CLASS <> 'wide'"));
    EXPECT_EQ(L"Policy Wide", classes(L" WHERE __SUPERCLASS = 'RSOP_PolicySetting'"));
    EXPECT_EQ(L"", classes(L" WHERE __this ISA \"Odd\""));
    EXPECT_EQ(L"invalid query", classes(L" WHERE id = 'x'"));
}

TEST_F(StoreQuery, EnumeratesDeepAndShallow)
{
    const auto instances = [this](const wchar_t* name, LONG flags) {
        CComPtr<IEnumWbemClassObject> found;
        EXPECT_EQ(S_OK, services->CreateInstanceEnum(CComBSTR(name), flags, nullptr, &found));
        return Rest(found, L"id");
    };
    EXPECT_THAT(instances(L"RSOP_PolicySetting", WBEM_FLAG_DEEP),
                ElementsAre(L"one", L"two", L"six", L"bare", L"other"));
    EXPECT_THAT(instances(L"Wide", WBEM_FLAG_SHALLOW), ElementsAre(L"one", L"two", L"bare"));
    const auto classes = [this](const wchar_t* parent, LONG flags) {
        CComPtr<IEnumWbemClassObject> found;
        EXPECT_EQ(S_OK, services->CreateClassEnum(CComBSTR(parent), flags, nullptr, &found));
        return Rest(found, L"__CLASS");
    };
    EXPECT_THAT(classes(nullptr, WBEM_FLAG_SHALLOW), ElementsAre(L"__SystemClass", L"RSOP_PolicySetting"));
    EXPECT_THAT(classes(L"RSOP_PolicySetting", WBEM_FLAG_DEEP), ElementsAre(L"Policy", L"Wide", L"Child"));
}

TEST_F(StoreQuery, StepsThroughSeveralAtOnce)
{
    CComPtr<IEnumWbemClassObject> found;
    ASSERT_EQ(S_OK, Query(L"SELECT * FROM RSOP_PolicySetting", found));
    ASSERT_EQ(S_OK, DeleteClass(L"Policy")); // what was found stays found
    ASSERT_EQ(HRESULT{WBEM_S_NO_ERROR}, found->Skip(0, 1));
    CComPtr<IEnumWbemClassObject> copy;
    ASSERT_EQ(S_OK, found->Clone(&copy));

    IWbemClassObject* objects[3] = {};
    ULONG got = 0;
    ASSERT_EQ(HRESULT{WBEM_S_NO_ERROR}, found->Next(0, 3, objects, &got));
    ASSERT_EQ(3u, got);
    for (IWbemClassObject* const object : objects)
        object->Release();
    ASSERT_EQ(HRESULT{WBEM_S_FALSE}, found->Next(0, 3, objects, &got)) << "fewer than asked";
    ASSERT_EQ(1u, got);
    EXPECT_EQ(L"other", Text(objects[0], L"id"));
    objects[0]->Release();
    EXPECT_EQ(nullptr, objects[1]);
    EXPECT_EQ(HRESULT{WBEM_S_FALSE}, found->Next(0, 1, objects, &got)) << "no more";
    EXPECT_TRUE(got == 0 && objects[0] == nullptr);
    EXPECT_EQ(4u, Rest(copy, L"id").size());
    ASSERT_EQ(S_OK, copy->Reset());
    EXPECT_EQ(5u, Rest(copy, L"id").size());

    CComPtr<IEnumWbemClassObject> forward;
    CComPtr<IEnumWbemClassObject> none;
    ASSERT_EQ(S_OK,
              Query(L"SELECT * FROM Wide", forward, WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY));
    EXPECT_EQ(Code(0x80041016), forward->Reset());
    EXPECT_EQ(Code(0x80041016), forward->Clone(&none));
    EXPECT_EQ(4u, Rest(forward, L"id").size());
}

} // namespace
