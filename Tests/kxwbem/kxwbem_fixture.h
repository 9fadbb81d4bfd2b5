// What the tests of the WMI layer share.
#pragma once

#include "Common_CPP/kxwbem/kxwbem.h"
#include "Tests/support/com_scope.h"
#include "Tests/support/recorded_trace.h"
#include "Tools/rsop_store/rsop_store.h"
#include "Tools/rsop_store/swbem_date_time.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

inline constexpr const wchar_t* c_base = L"RSOP_PolicySetting";
inline constexpr const wchar_t* c_class = L"KxTest";
inline constexpr WbemPropertyDesc c_properties[] = {
    {L"policyXml", CIM_STRING, false, false},
    {L"id", CIM_STRING, true, true},
    {L"precedence", CIM_UINT32, true, true},
};

/// COM, a namespace in memory whose calls can be made to fail, and the trace lines since they were last
/// asked for, each as "class.method: message". No object may be left at the end.
class WbemTest : public ::testing::Test {
  protected:
    void SetUp() override
    {
        ASSERT_EQ(m_dateTimes.Status(), S_OK);
        m_store.OnCall([this](const CkxStoreCall& call) { return _Answer(call); });
        services = CkxWbemServicesPtr(m_store.Services());
        ASSERT_TRUE(D_Directive("prefix@file@@all@<%CLASS>.<%STACK>:"));
        ASSERT_TRUE(D_Directive("print@file@@all@on"));
        (void)Traced();
    }

    void TearDown() override
    {
        services.Release();
        EXPECT_EQ(m_store.LiveObjects(), 0U);
        EXPECT_EQ(CkxDateTimeClass::LiveObjects(), 0);
    }

    /// What was traced since the last call.
    std::string Traced() { return _m_trace.Take(); }

    /// From now on the calls of that method answer `hr` and do nothing, after `spared` more that are made.
    /// Methods of qualifier sets are "qualifier ...", those of enumerators "result ...".
    void Fail(const char* method, HRESULT hr, int spared = 0)
    {
        _m_fault = method;
        _m_answer = hr;
        _m_spared = spared;
    }

    void FailNothing() { _m_fault.clear(); }

    /// How often the method was called since the last question.
    int Calls(std::string_view method)
    {
        const auto count = std::count(_m_calls.begin(), _m_calls.end(), method);
        _m_calls.clear();
        return static_cast<int>(count);
    }

    CkxWbemClassObjectPtr Registered()
    {
        CkxWbemClassObjectPtr wmiClass;
        EXPECT_EQ(services.RegisterWmiClass(c_class, c_base, c_properties, wmiClass), S_OK);
        return wmiClass;
    }

    static CkxWbemClassObjectPtr Spawned(const CkxWbemClassObjectPtr& wmiClass)
    {
        CkxWbemClassObjectPtr instance;
        EXPECT_EQ(wmiClass.SpawnInstance(instance), S_OK);
        return instance;
    }

    CkxWbemClassObjectPtr Store(const CkxWbemClassObjectPtr& wmiClass, const wchar_t* id, long precedence,
                                const FILETIME& created)
    {
        CkxWbemClassObjectPtr instance = Spawned(wmiClass);
        EXPECT_EQ(instance.Put_CString(L"id", id), S_OK);
        EXPECT_EQ(instance.Put_long(L"precedence", precedence), S_OK);
        EXPECT_EQ(instance.Put_FILETIME(L"creationTime", created), S_OK);
        EXPECT_EQ(services.Get()->PutInstance(instance.Get(), 0, nullptr, nullptr), S_OK);
        return instance;
    }

    static FILETIME Time(unsigned long long ticks)
    {
        return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
    }

  private:
    HRESULT _Answer(const CkxStoreCall& call)
    {
        const std::string_view interfaceName = call.interfaceName;
        std::string method = interfaceName == "IWbemQualifierSet"      ? "qualifier "
                             : interfaceName == "IEnumWbemClassObject" ? "result "
                                                                       : "";
        method += call.method;
        const bool fails = method == _m_fault && _m_spared-- <= 0;
        _m_calls.push_back(std::move(method));
        return fails ? _m_answer : S_OK;
    }

    ComScope _m_com; // first of all members and to the end
    RecordedTrace _m_trace;
    std::string _m_fault;
    HRESULT _m_answer = S_OK;
    int _m_spared = 0;
    std::vector<std::string> _m_calls;

  protected:
    CkxDateTimeClass m_dateTimes;
    CkxRsopStore m_store{L"ROOT\\RSOP\\Computer", L"SRV"};
    CkxWbemServicesPtr services;
};
