// The logger itself: what no refresh can bring about.

#include "Agent/engine/kx_gpext/rsop_log.h"
#include "Agent/engine/kx_gpext/rsop_schema.h"
#include "Common_CPP/xml/xml_document.h"
#include "Tools/rsop_store/rsop_store.h"

#include "Agent/engine/kx_gpext/kx_gpext.h"

#include <gtest/gtest.h>

HMODULE KxModule() noexcept
{
    return ::GetModuleHandleW(nullptr);
}

namespace {

class RsopLog : public testing::Test {
  protected:
    void SetUp() override { ASSERT_GE(::CoInitializeEx(nullptr, COINIT_MULTITHREADED), 0); }

    void TearDown() override { ::CoUninitialize(); }

    // Logs `policy` under a record that knows no file.
    HRESULT Log(CkxRsopLog& log, const wchar_t* policy)
    {
        CkxXMLDocument document;
        CkxXMLNode root;
        EXPECT_TRUE(document.Load(policy) && document.GetRootElement(root));
        CkxRsopLogGroups groups{CkxXMLNode()};
        return log.LogPolicy(CkxKxGroupPolicyObject(&_m_gpo), root, groups);
    }

    CkxRsopStore _m_store;
    GROUP_POLICY_OBJECTW _m_gpo{};
};

constexpr const wchar_t* kPolicy = L"<Policy name='' gpid='i' action='1' order='-1'/>";

TEST_F(RsopLog, WithoutServicesItStaysSilent)
{
    CkxRsopLog log(nullptr, true);
    EXPECT_EQ(log.SchemaResult(), S_FALSE);
    EXPECT_EQ(Log(log, kPolicy), S_FALSE);
    const BOOL abort = FALSE;
    EXPECT_EQ(log.Generate(nullptr, &abort), 1U);
    log.ProcessConfigMap();
    EXPECT_EQ(CkxRsopSchema::RegisterExtension(CkxWbemServicesPtr(), nullptr, nullptr), E_POINTER);
    EXPECT_EQ(CkxRsopSchema::UnregisterExtension(CkxWbemServicesPtr()), E_POINTER);
}

TEST_F(RsopLog, NoFileTimeIsANullTime)
{
    CkxRsopLog log(_m_store.Services(), false);
    EXPECT_EQ(Log(log, kPolicy), S_OK);
    const auto instances = _m_store.Instances(kRsopPolicyClass);
    ASSERT_EQ(instances.size(), 1U);
    EXPECT_EQ(instances[0].Find(L"creationTime")->vt, VT_NULL);
    EXPECT_EQ(instances[0].Find(L"precedence")->lVal, -1) << "as 32 bits";
}

TEST_F(RsopLog, ConfigurationWithoutAnOrderRanksInTheMiddle)
{
    CkxRsopLog log(_m_store.Services(), true);
    EXPECT_EQ(Log(log, L"<Policy action='10' order='x'><Configuration>v</Configuration></Policy>"), S_OK);
    log.ProcessConfigMap();
    const auto instances = _m_store.Instances(kRsopConfigClass);
    ASSERT_EQ(instances.size(), 1U);
    EXPECT_EQ(instances[0].Find(L"precedence")->lVal, 500000000);
}

TEST_F(RsopLog, TargetsWithoutAListAreRefused)
{
    CkxRsopLog log(_m_store.Services(), true);
    const RSOP_TARGET empty{};
    const BOOL abort = FALSE;
    EXPECT_EQ(log.Generate(nullptr, &abort), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(log.Generate(&empty, &abort), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

// A class that an earlier session left with another key is replaced; the base class must be there.
TEST_F(RsopLog, RegistersAnewWhatDoesNotFit)
{
    const CkxWbemServicesPtr services(_m_store.Services());
    constexpr WbemPropertyDesc keyless[] = {{L"policyXml", CIM_STRING, true, true}};
    CkxWbemClassObjectPtr left;
    ASSERT_EQ(services.RegisterWmiClass(kRsopPolicyClass, kRsopBaseClass, keyless, left), S_OK);
    left.Release();
    CkxWbemClassObjectPtr policyClass;
    ASSERT_EQ(CkxRsopSchema::RegisterExtension(services, &policyClass, nullptr), S_OK);
    CkxWbemClassObjectPtr again;
    ASSERT_EQ(CkxRsopSchema::RegisterExtension(services, &again, nullptr), S_OK);
    CkxWbemClassObjectPtr instance;
    ASSERT_EQ(again.SpawnInstance(instance), S_OK);
    EXPECT_EQ(instance.Put_CString(L"id", L"only"), S_OK);
    EXPECT_EQ(services.Get()->PutInstance(instance.Get(), 0, nullptr, nullptr), WBEM_E_ILLEGAL_NULL);
    ASSERT_EQ(services.DeleteClass(kRsopBaseClass), S_OK);
    CkxWbemClassObjectPtr none;
    CkxWbemClassObjectPtr config;
    EXPECT_EQ(CkxRsopSchema::RegisterExtension(services, &none, &config), WBEM_E_NOT_FOUND);
    EXPECT_TRUE(none.IsNull() && config.IsNull());
}

} // namespace
