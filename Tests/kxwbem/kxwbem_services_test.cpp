// Queries, deletion by time, namespaces, the way to a server, and dumps.
#include "Tests/kxwbem/kxwbem_fixture.h"

#include "Tests/support/hook.h"
#include "Tests/support/temp_folder.h"

using namespace std::string_literals;

namespace {

constexpr unsigned long long c_2025 = 133801632000000000;

int Count(const CkxEnumWbemClassObjectPtr& results)
{
    CkxWbemClassObjectPtr object;
    int count = 0;
    HRESULT hr = S_OK;
    for (; (hr = results.Next(object)) == S_OK; ++count) {
    }
    EXPECT_EQ(hr, static_cast<HRESULT>(WBEM_S_FALSE));
    return count;
}

// Connects, so it says, and hands out nothing.
HRESULT STDMETHODCALLTYPE ConnectNothing(IWbemLocator*, BSTR, BSTR, BSTR, BSTR, LONG, BSTR, IWbemContext*,
                                         IWbemServices**)
{
    return S_OK;
}

} // namespace

TEST_F(WbemTest, QueriesFindWhatTheyName)
{
    const CkxWbemClassObjectPtr wmiClass = Registered();
    (void)Store(wmiClass, L"it's \"a\\b\"", 1, Time(c_2025));
    (void)Store(wmiClass, L"c", 1, Time(c_2025));
    (void)Store(wmiClass, L"c", 2, Time(c_2025));
    CkxEnumWbemClassObjectPtr results;
    const WbemCondition quoted[] = {{L"id", L"it's \"a\\b\""}};
    const WbemCondition both[] = {{L"id", L"c"}, {L"precedence", L"2"}};
    ASSERT_EQ(services.ExecQuerySelect(c_class, quoted, results), S_OK);
    EXPECT_EQ(Count(results), 1);
    ASSERT_EQ(services.ExecQuerySelect(c_class, std::span(both, 1), results), S_OK);
    EXPECT_EQ(Count(results), 2);
    ASSERT_EQ(services.ExecQueryV(results, L"SELECT * FROM %s WHERE precedence > %d", c_class, 1), S_OK);
    EXPECT_EQ(Count(results), 1);
    ASSERT_EQ(services.CreateInstanceEnum(c_base, results), S_OK);
    EXPECT_EQ(Count(results), 3) << "instances of derived classes count";
    ASSERT_EQ(services.EnumClasses(c_base, results), S_OK);
    EXPECT_EQ(Count(results), 2);
    EXPECT_EQ(Traced(), "");
}

TEST_F(WbemTest, DeletesWhatIsOlder)
{
    const CkxWbemClassObjectPtr wmiClass = Registered();
    EXPECT_EQ(services.DeleteInstancesOlderThan(c_class, L"creationTime", Time(c_2025)), S_OK);
    const wchar_t* const ids[] = {L"older", L"much older", L"equal", L"younger"};
    const long long ages[] = {10, 10'000'000, 0, -10};
    for (int i = 0; i < 4; ++i)
        (void)Store(wmiClass, ids[i], i, Time(c_2025 - static_cast<unsigned long long>(ages[i])));
    Fail("DeleteInstance", E_FAIL, 1);
    EXPECT_EQ(services.DeleteInstancesOlderThan(c_class, L"creationTime", Time(c_2025)), E_FAIL);
    EXPECT_EQ(m_store.Instances().size(), 3U) << "the first was deleted, the second tried";
    EXPECT_NE(Traced().find("DeleteInstancesOlderThan: ERROR: Failed to delete 1 instance(s) of class KxTest "
                            "where creationTime is less than 133801632000000000\n"),
              std::string::npos);
    FailNothing();
    EXPECT_EQ(services.DeleteInstancesOlderThan(c_class, L"creationTime", Time(c_2025)), S_OK);
    const auto left = m_store.Instances();
    ASSERT_EQ(left.size(), 2U);
    EXPECT_NE(left[0].path.find(L"equal"), std::wstring::npos);
    EXPECT_NE(left[1].path.find(L"younger"), std::wstring::npos);
    EXPECT_EQ(Traced(), "");
}

TEST_F(WbemTest, TellsItsNamespaceAndConnects)
{
    CString path;
    EXPECT_EQ(services.GetNamespacePath(path), S_OK);
    EXPECT_STREQ(path, L"\\\\SRV\\ROOT\\RSOP\\Computer");

    CkxWbemLocatorPtr locator;
    CkxWbemServicesPtr server;
    ASSERT_EQ(locator.CreateInstance(), S_OK);
    {
        const PatchedSlot connect(locator.Get(), 3, reinterpret_cast<void*>(&ConnectNothing));
        EXPECT_EQ(locator.ConnectServer(L"root", services), E_POINTER);
        EXPECT_FALSE(services.IsNull());
        EXPECT_EQ(Traced(),
                  "CkxWbemLocatorPtr.ConnectServer: ERROR: WbemLocator->ConnectServer(root) returned NULL "
                  "pointer. hr=-2147467261\n");
    }
    EXPECT_EQ(locator.ConnectServer(L"root\\cimv2", server), S_OK);
    EXPECT_FALSE(server.IsNull());
    EXPECT_EQ(Traced(), "");
    EXPECT_TRUE(FAILED(locator.ConnectServer(L"root\\nowhere", server)));
    EXPECT_NE(Traced().find("ERROR: WbemLocator->ConnectServer(root\\nowhere) failed. hr=-21"),
              std::string::npos);
    EXPECT_FALSE(server.IsNull());
}

TEST_F(WbemTest, MakesANamespaceOnlyWhereThereIsNone)
{
    CkxWbemServicesPtr created;
    for (const int made : {1, 0}) {
        created.Release();
        EXPECT_EQ(services.CreateNamespace(L"own", created), S_OK);
        EXPECT_FALSE(created.IsNull());
        EXPECT_EQ(Calls("PutInstance"), made);
    }
    CString path;
    EXPECT_EQ(created.GetNamespacePath(path), S_OK);
    EXPECT_STREQ(path, L"\\\\SRV\\ROOT\\RSOP\\Computer\\own");
    EXPECT_EQ(Traced(), "");
}

TEST_F(WbemTest, TellsOfClassesThatCannotBeCreated)
{
    const CkxWbemClassObjectPtr object = Spawned(Registered());
    const std::pair<LONG_PTR(WINAPI*)(), HRESULT> rows[] = {
        {::Fail<E_FAIL, 0>, E_FAIL}, {::Fail<S_OK, 0>, E_POINTER}, // success without an object is none
    };
    for (const auto& [create, result] : rows) {
        const PatchedImport creation("CoCreateInstance", reinterpret_cast<void*>(create));
        const std::string hr = "(SWbemDateTime) failed. hr=" + std::to_string(result) + "\n";
        EXPECT_EQ(CkxWbemLocatorPtr().CreateInstance(), result);
        EXPECT_TRUE(
            Traced().starts_with("CkxWbemLocatorPtr.CreateInstance: ERROR: CoCreateInstance(WbemLocator) "));
        EXPECT_EQ(object.Put_FILETIME(L"creationTime", Time(c_2025)), result);
        EXPECT_EQ(Traced(), "CkxSWbemDateTimePtr.CreateInstance: ERROR: CoCreateInstance" + hr);
        EXPECT_EQ(services.DeleteInstancesOlderThan(c_class, L"t", Time(c_2025)), result);
        EXPECT_NE(
            Traced().find("_ExecQueryByTime: ERROR: Failed to convert 133801632000000000 to WMI time. hr=-"),
            std::string::npos);
    }
}

TEST_F(WbemTest, DumpsEveryInstanceOnceInUtf8)
{
    const CkxWbemClassObjectPtr wmiClass = Registered();
    const WbemPropertyDesc texts[] = {{L"justification", CIM_STRING, false, true},
                                      {L"FileOrigin", CIM_STRING, false, true},
                                      {L"other", CIM_STRING, false, true},
                                      {L"flag", CIM_BOOLEAN, false, true}};
    CkxWbemClassObjectPtr derived;
    ASSERT_EQ(services.RegisterWmiClass(L"KxDerived", c_class, texts, derived), S_OK);
    const CkxWbemClassObjectPtr instance = Spawned(derived);
    EXPECT_EQ(instance.Put_CString(L"id", L"a"), S_OK);
    EXPECT_EQ(instance.Put_long(L"precedence", 1), S_OK);
    EXPECT_EQ(instance.Put_CString(L"justification", L"one\r\ntwo\nthree\r\n"), S_OK);
    EXPECT_EQ(instance.Put_CString(L"FileOrigin", L"\r\n"), S_OK);
    EXPECT_EQ(instance.Put_CString(L"other", L"\x20AC\r\n\xD83D\xDE00\xD83D"), S_OK);
    EXPECT_EQ(instance.Put(L"flag", CComVariant(true)), S_OK);
    EXPECT_EQ(services.Get()->PutInstance(instance.Get(), 0, nullptr, nullptr), S_OK);
    (void)Store(wmiClass, L"b", 2, Time(c_2025));

    const TempFolder folder;
    const std::wstring file = folder.Write(L"dump.txt", std::string(5000, 'x'));
    EXPECT_EQ(services.Dump(c_class, file.c_str()), S_OK);
    EXPECT_EQ(Traced(), "");
    EXPECT_EQ(ReadBytes(file), "***  \\\\SRV\\ROOT\\RSOP\\Computer:KxTest.id=\"b\",precedence=2\r\n"
                               "  id: b\r\n  precedence: 2\r\n  name: <Null>\r\n  GPOID: <Null>\r\n"
                               "  SOMID: \r\n  creationTime: 20250101000000.000000+000\r\n"
                               "  policyXml: <Null>\r\n"
                               "***  \\\\SRV\\ROOT\\RSOP\\Computer:KxDerived.id=\"a\",precedence=1\r\n"
                               "  id: a\r\n  precedence: 1\r\n  name: <Null>\r\n  GPOID: <Null>\r\n"
                               "  SOMID: \r\n  creationTime: <Null>\r\n"
                               "  policyXml: <Null>\r\n"
                               "  justification: one two\nthree \r\n"
                               "  FileOrigin:  \r\n"
                               "  other: \xE2\x82\xAC\r\n\xF0\x9F\x98\x80\xEF\xBF\xBD\r\n"
                               "  flag: True\r\n");

    // What fails is left out, and the rest is still there.
    Fail("CreateInstanceEnum", E_FAIL);
    EXPECT_EQ(services.Dump(c_class, file.c_str()), E_FAIL);
    EXPECT_EQ(ReadBytes(file), "");
    EXPECT_EQ(Traced(), "CkxWbemServicesPtr.Dump: ERROR: CreateInstanceEnum(KxTest) failed. hr=-2147467259\n"
                        "CkxWbemServicesPtr.Dump: ERROR: CreateInstanceEnum(KxDerived) failed. "
                        "hr=-2147467259\n");
    Fail("BeginEnumeration", E_FAIL, 1);
    EXPECT_EQ(services.Dump(c_class, file.c_str()), E_FAIL);
    EXPECT_TRUE(ReadBytes(file).ends_with("policyXml: <Null>\r\n")) << "one instance of two";
    FailNothing();

    const PatchedImport disk("WriteFile", reinterpret_cast<void*>(&::Fail<0, ERROR_DISK_FULL>));
    EXPECT_EQ(services.Dump(c_class, file.c_str()), HRESULT_FROM_WIN32(ERROR_DISK_FULL));
    EXPECT_NE(Traced().find("Dump: ERROR: Failed to write to file "), std::string::npos);
}
