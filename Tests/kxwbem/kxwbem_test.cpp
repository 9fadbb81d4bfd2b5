#include "Tests/kxwbem/kxwbem_fixture.h"

#include "Common_CPP/kxwbem/kxwbem_value_text.h"

#include <climits>
#include <functional>

using namespace std::string_literals;

namespace {

constexpr FILETIME c_time = {0xD53E8000, 0x019DB1DE}; // 1970-01-01 in UTC

} // namespace

TEST_F(WbemTest, EveryOperationTellsOfAMissingPointerOnce)
{
    const CkxWbemServicesPtr s;
    const CkxWbemClassObjectPtr o;
    const CkxEnumWbemClassObjectPtr e;
    const CkxSWbemDateTimePtr d;
    CkxWbemClassObjectPtr object;
    CkxEnumWbemClassObjectPtr results;
    CkxWbemServicesPtr opened;
    CComVariant variant;
    CComBSTR bstr;
    CString text;

    const struct {
        const char* method;
        std::function<HRESULT()> call;
        const char* name = "IWbemServices"; ///< of the interface
    } rows[] = {
        {"CreateInstanceEnum", [&] { return s.CreateInstanceEnum(L"c", results); }},
        {"ExecQuery", [&] { return s.EnumClasses(nullptr, results); }},
        {"ExecQuery", [&] { return s.ExecQueryV(results, L"%s", L"q"); }},
        {"ExecQuerySelect", [&] { return s.ExecQuerySelect(L"c", {}, results); }},
        {"DeleteInstancesOlderThan", [&] { return s.DeleteInstancesOlderThan(L"c", L"t", c_time); }},
        {"DeleteInstance", [&] { return s.DeleteInstance(o); }},
        {"DeleteInstance", [&] { return services.DeleteInstance(o); }, "Instance"},
        {"CreateNamespace", [&] { return s.CreateNamespace(L"n", opened); }},
        {"GetNamespacePath", [&] { return s.GetNamespacePath(text); }},
        {"RegisterWmiClassIfRequired", [&] { return s.RegisterWmiClassIfRequired(L"c", L"b", {}, object); }},
        {"RegisterWmiClass", [&] { return s.RegisterWmiClass(L"c", L"b", {}, object); }},
        {"RegisterWmiClass", [&] { return s.RegisterWmiClass(L"c", o, {}); }},
        {"RegisterWmiClass", [&] { return s.RegisterWmiClass(L"c", {}, object); }},
        {"DeleteClass", [&] { return s.DeleteClass(L"c"); }},
        {"Dump", [&] { return s.Dump(nullptr, L"x"); }},
        {"Get", [&] { return o.Get(L"p", variant); }, "IWbemClassObject"},
        {"Put_CString", [&] { return o.Put_CString(L"p", text); }, "IWbemClassObject"},
        {"Put_long", [&] { return o.Put_long(L"p", 1); }, "IWbemClassObject"},
        {"Put_int64", [&] { return o.Put_int64(L"p", 1LL); }, "IWbemClassObject"},
        {"Put_FILETIME", [&] { return o.Put_FILETIME(L"p", c_time); }, "IWbemClassObject"},
        {"PutNullValue", [&] { return o.PutNullValue(L"p"); }, "IWbemClassObject"},
        {"SpawnInstance", [&] { return o.SpawnInstance(object); }, "IWbemClassObject"},
        {"Next", [&] { return e.Next(object); }, "IEnumWbemClassObject"},
        {"SetFileTime", [&] { return d.SetFileTime(c_time, false); }, "ISWbemDateTime"},
        {"GetValue", [&] { return d.GetValue(bstr); }, "ISWbemDateTime"},
        {"ConnectServer", [&] { return CkxWbemLocatorPtr().ConnectServer(L"n", opened); }, "IWbemLocator"},
    };

    for (const auto& row : rows) {
        EXPECT_EQ(row.call(), E_POINTER) << row.name << "::" << row.method;
        const std::string traced = Traced();
        EXPECT_NE(traced.find("."s + row.method + ": ERROR: " + row.name + " pointer is NULL\n"),
                  std::string::npos)
            << traced;
        EXPECT_EQ(std::count(traced.begin(), traced.end(), '\n'), 1) << traced;
    }
}

TEST_F(WbemTest, FailedCallsAreToldAndChangeNothing)
{
    const CkxWbemClassObjectPtr wmiClass = Registered();
    const CkxWbemClassObjectPtr stored = Store(wmiClass, L"a", 1, c_time);
    CkxEnumWbemClassObjectPtr instances;
    ASSERT_EQ(services.CreateInstanceEnum(c_class, instances), S_OK);
    CkxWbemClassObjectPtr object = stored;
    CkxEnumWbemClassObjectPtr results = instances;
    CkxWbemServicesPtr opened = services;
    CComVariant variant(7L);
    CString text(L"kept");
    DWORD number = 7;
    CComBSTR time(L"kept");
    const WbemCondition quoted[] = {{L"id", L"it's \"\\"}, {L"name", nullptr}};
    const WbemCondition nameless[] = {{L"id", L"a"}, {nullptr, L""}};
    constexpr auto c_absent = static_cast<HRESULT>(WBEM_E_NOT_FOUND);
    constexpr auto c_outOfRange = static_cast<HRESULT>(wbemErrValueOutOfRange);
    constexpr auto c_mismatch = static_cast<HRESULT>(WBEM_E_TYPE_MISMATCH);
    const CkxWbemServicesPtr& s = services;

    const struct {
        const char* method; ///< the store's that fails; null: none
        const char* line;   ///< the last one; what ends in "hr=" is followed by the result
        std::function<HRESULT()> call;
        HRESULT result = E_FAIL;
        HRESULT answer = E_FAIL; ///< the store's; S_FALSE: success without a result
    } rows[] = {
        {"GetObject", "GetNamespacePath: ERROR: GetObject(__NAMESPACE) failed. hr=",
         [&] { return s.GetNamespacePath(text); }},
        {"Get",
         "Get: ERROR: IWbemClassObject->Get(__SERVER) failed. hr=", [&] { return s.GetNamespacePath(text); }},
        {"CreateInstanceEnum", "CreateInstanceEnum: ERROR: CreateInstanceEnum(C) failed. hr=",
         [&] { return s.CreateInstanceEnum(L"C", results); }},
        {"ExecQuery", "ExecQuery: ERROR: ExecQuery(SELECT * from META_CLASS) failed. hr=",
         [&] { return s.EnumClasses(nullptr, results); }, E_POINTER, S_FALSE},
        {"ExecQuery", "ERROR: ExecQuery(SELECT * from META_CLASS WHERE __this ISA \"B\") failed. hr=",
         [&] { return s.EnumClasses(L"B", results); }},
        {"ExecQuery", "ERROR: ExecQuery(SELECT * from C WHERE id='it\\'s \\\"\\\\' AND name='') failed. hr=",
         [&] { return s.ExecQuerySelect(L"C", quoted, results); }},
        {nullptr, "ExecQueryV: ERROR: ExecQuery(<NULL>) failed. hr=",
         [&] { return s.ExecQueryV(results, nullptr); }, E_INVALIDARG},
        {nullptr, "CkxWbemSelectQuery.AddWhereConditions: ERROR: Property name is NULL or empty. i=1",
         [&] { return s.ExecQuerySelect(L"C", nameless, results); }, E_INVALIDARG},
        {"ExecQuery", "ERROR: ExecQuery(SELECT * FROM C WHERE p < '19700101000000.000000+000') failed. hr=",
         [&] { return s.DeleteInstancesOlderThan(L"C", L"p", c_time); }},
        {"Get",
         "DeleteInstance: ERROR: spInstance.GetPath() failed. hr=", [&] { return s.DeleteInstance(stored); }},
        {"DeleteInstance",
         "DeleteInstance: ERROR: "
         "DeleteInstance(\\\\SRV\\ROOT\\RSOP\\Computer:KxTest.id=\"a\",precedence=1) failed. hr=",
         [&] { return s.DeleteInstance(stored); }},
        {"DeleteClass", "DeleteClass: ERROR: IWbemServices->DeleteClass(C) failed. hr=",
         [&] { return s.DeleteClass(L"C"); }},
        {nullptr, "CreateNamespace: ERROR: namespaceName is null or empty",
         [&] { return s.CreateNamespace(L"", opened); }, E_INVALIDARG},
        {"GetObject", "ERROR: IWbemServices->GetObject(__NAMESPACE.Name='it\\'s') failed. hr=",
         [&] { return s.CreateNamespace(L"it's", opened); }},
        {"SpawnInstance", "CreateNamespace: ERROR: namespaceClass.SpawnInstance() failed. hr=",
         [&] { return s.CreateNamespace(L"n", opened); }},
        {"Put", "CreateNamespace: ERROR: namespaceObj.Put(Name,n) failed. hr=",
         [&] { return s.CreateNamespace(L"n", opened); }},
        {"PutInstance", "CreateNamespace: ERROR: PutInstance() failed. Name=[n]. hr=",
         [&] { return s.CreateNamespace(L"n", opened); }},
        {"OpenNamespace", "CreateNamespace: ERROR: IWbemServices->OpenNamespace(n) failed. hr=",
         [&] { return s.CreateNamespace(L"n", opened); }},
        {"GetObject", "ERROR: IWbemServices->GetObject(__NAMESPACE) failed. hr=",
         [&] { return s.CreateNamespace(L"n", opened); }, c_absent, c_absent},
        {nullptr, "RegisterWmiClass: ERROR: _RegisterWmiClass(C) failed. hr=",
         [&] { return s.RegisterWmiClass(L"C", CkxWbemClassObjectPtr(), {}); }, E_POINTER},
        {nullptr, "Dump: ERROR: dumpFilePath is NULL or empty", [&] { return s.Dump(nullptr, L""); },
         E_INVALIDARG},
        {nullptr, "Dump: ERROR: Failed to open file C:\\no\\dump for writing. hr=",
         [&] { return s.Dump(nullptr, L"C:\\no\\dump"); }, HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND)},
        {"result Next", "CkxEnumWbemClassObjectPtr.Next: ERROR: IEnumWbemClassObject->Next() failed. hr=",
         [&] { return instances.Next(object); }},
        {"Get", "CkxWbemClassObjectPtr.Get: ERROR: IWbemClassObject->Get(p) failed. hr=",
         [&] { return stored.Get(L"p", variant); }},
        {nullptr, "ERROR: SWbemDateTime->SetFileTime(18446744073709551615) failed. hr=",
         [&] { return CkxSWbemDateTimePtr::FileTime2WmiDateTime(Time(~0ULL), false, time); }, c_outOfRange},
        {nullptr, "Get_DWORD: ERROR: Unexpected id value type 8",
         [&] { return stored.Get_DWORD(L"id", number); }, c_mismatch},
        {nullptr, "Get_BSTR: ERROR: Unexpected precedence value type 3",
         [&] { return stored.Get_CString(L"precedence", text); }, c_mismatch},
        {"Put", "Put_long: ERROR: IWbemClassObject->Put(precedence, vt=3) failed. hr=",
         [&] { return stored.Put_long(L"precedence", 1); }},
        {"Put", "PutNullValue: ERROR: IWbemClassObject->Put(name, NULL) failed. hr=",
         [&] { return stored.PutNullValue(L"name"); }},
        {"SpawnInstance", "SpawnInstance: ERROR: IWbemClassObject->SpawnInstance() failed. hr=",
         [&] { return wmiClass.SpawnInstance(object); }, E_POINTER, S_FALSE},
    };

    for (const auto& row : rows) {
        Fail(row.method ? row.method : "", row.answer);
        EXPECT_EQ(row.call(), row.result) << row.line;
        FailNothing();
        std::string end = row.line;
        if (end.ends_with("hr="))
            end += std::to_string(row.result);
        EXPECT_TRUE(Traced().ends_with(end + "\n")) << row.line;
    }
    EXPECT_EQ(object.Get(), stored.Get());
    EXPECT_EQ(results.Get(), instances.Get());
    EXPECT_EQ(opened.Get(), services.Get());
    EXPECT_TRUE(variant.vt == VT_I4 && variant.lVal == 7 && number == 7);
    EXPECT_STREQ(text, L"kept");
    EXPECT_STREQ(time, L"kept");
}

TEST_F(WbemTest, PropertiesComeBackAsTheyWerePut)
{
    const CkxWbemClassObjectPtr o = Spawned(Registered());

    const auto textOf = [&o](const wchar_t* property, HRESULT put) {
        CString text;
        EXPECT_EQ(put, S_OK);
        EXPECT_EQ(o.Get_CString(property, text), S_OK);
        return std::wstring(text);
    };
    EXPECT_EQ(textOf(L"name", o.Put_BSTR(L"name", nullptr)), L"");
    EXPECT_EQ(textOf(L"name", o.Put_CString(L"name", L"c")), L"c");
    EXPECT_EQ(textOf(L"name", o.Put(L"name", CComVariant(L"v"))), L"v");
    EXPECT_EQ(textOf(L"name", o.Put_int64(L"name", LLONG_MIN)), L"-9223372036854775808");
    EXPECT_EQ(textOf(L"name", o.Put_int64(L"name", ULLONG_MAX)), L"18446744073709551615");
    EXPECT_EQ(textOf(L"creationTime", o.Put_FILETIME(L"creationTime", c_time)), L"19700101000000.000000+000");
    for (const long number : {0L, 1L, LONG_MAX, LONG_MIN, -1L}) {
        DWORD read = 5;
        EXPECT_EQ(o.Put_long(L"precedence", number), S_OK);
        EXPECT_EQ(o.Get_DWORD(L"precedence", read), S_OK);
        EXPECT_EQ(read, static_cast<DWORD>(number));
    }
    CComVariant value(1L);
    EXPECT_EQ(o.PutNullValue(L"name"), S_OK);
    EXPECT_EQ(o.Get(L"name", value), S_OK);
    EXPECT_EQ(value.vt, VT_NULL);
    EXPECT_EQ(Traced(), "");
}

TEST_F(WbemTest, ValuesHaveTexts)
{
    const struct {
        int type;
        unsigned long long bits;
        const wchar_t* text;
    } rows[] = {
        {VT_NULL, 0, L"<Null>"},
        {VT_UNKNOWN, 0, L"<Object>"},
        {VT_BOOL, 0xFFFF, L"True"},
        {VT_BOOL, 0, L"False"},
        {VT_BSTR, 0, L""},
        {VT_I1, 0x80, L"-128"},
        {VT_UI1, 0xFF, L"255"},
        {VT_I2, 0x8000, L"-32768"},
        {VT_UI2, 0xFFFF, L"65535"},
        {VT_I4, 0x80000000, L"-2147483648"},
        {VT_UI4, 0xFFFFFFFF, L"4294967295"},
        {VT_INT, 0xFFFFFFFF, L"-1"},
        {VT_UINT, 0xFFFFFFFF, L"4294967295"},
        {VT_I8, 1ULL << 63, L"-9223372036854775808"},
        {VT_UI8, ~0ULL, L"18446744073709551615"},
        {VT_R4, 0xC0200000, L"-2.5"},
        {VT_R8, 0x3FB999999999999A, L"0.1"},
        {VT_R8, 0xFFEFFFFFFFFFFFFF, L"-1.7976931348623157e+308"},
        {VT_EMPTY, 0, L"Cannot convert VARTYPE 0 to string"},
        {VT_DATE, 0, L"Cannot convert VARTYPE 7 to string"},
        {VT_ARRAY | VT_BSTR, 0, L"Cannot convert VARTYPE 8200 to string"},
    };

    for (const auto& row : rows) {
        VARIANT value;
        value.vt = static_cast<VARTYPE>(row.type);
        value.ullVal = row.bits;
        EXPECT_EQ(kx::WbemValueText(value), row.text);
    }
    EXPECT_EQ(kx::WbemValueText(CComVariant(L"text")), L"text");
}
