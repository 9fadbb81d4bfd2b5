#include "Tools/rsop_store/swbem_date_time.h"

#include "Tests/support/com_scope.h"
#include "Tools/host/patched_import.h"

#include <wbemdisp.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <thread>
#include <utility>

namespace {

constexpr auto c_failed = static_cast<HRESULT>(0x80041001);
constexpr auto c_invalidSyntax = static_cast<HRESULT>(0x80041021);
constexpr auto c_outOfRange = static_cast<HRESULT>(0x8004102B);

using ZoneRule = TIME_ZONE_INFORMATION (*)(WORD year);

/// The changes are on a Sunday: the first to fourth one of the month, or 5, the last.
TIME_ZONE_INFORMATION Zone(LONG bias, WORD month, WORD sunday, WORD hour, WORD summerMonth, WORD summerSunday,
                           LONG summerBias)
{
    return {bias,      L"", {0, month, 0, sunday, hour, 0, 0, 0},
            0,         L"", {0, summerMonth, 0, summerSunday, 2, 0, 0, 0},
            summerBias};
}

TIME_ZONE_INFORMATION Berlin(WORD)
{
    return Zone(-60, 10, 5, 3, 3, 5, -60);
}

/// The rule was changed in 2007.
TIME_ZONE_INFORMATION NewYork(WORD year)
{
    return year < 2007 ? Zone(300, 10, 5, 2, 4, 1, -60) : Zone(300, 11, 1, 2, 3, 2, -60);
}

ZoneRule g_zone = nullptr;

BOOL WINAPI ZoneForYear(USHORT year, DYNAMIC_TIME_ZONE_INFORMATION*, TIME_ZONE_INFORMATION* zone)
{
    *zone = g_zone(year);
    return TRUE;
}

class SwbemDateTime : public testing::Test {
  protected:
    static CComPtr<ISWbemDateTime> New()
    {
        CComPtr<ISWbemDateTime> made;
        EXPECT_EQ(made.CoCreateInstance(CLSID_SWbemDateTime, nullptr, CLSCTX_INPROC_SERVER), S_OK);
        return made;
    }

    static std::wstring ValueOf(ISWbemDateTime& object)
    {
        CComBSTR text;
        EXPECT_EQ(object.get_Value(&text), S_OK);
        return {text.m_str, text.Length()};
    }

  private:
    ComScope _m_com;
    PatchedImport _m_zone{"GetTimeZoneInformationForYear", reinterpret_cast<void*>(&ZoneForYear)};

  protected:
    std::optional<CkxDateTimeClass> registered{std::in_place};
    CComPtr<ISWbemDateTime> object = New();
};

struct LocalRow {
    const char* why;
    ZoneRule zone;
    const wchar_t* ticks;
    const wchar_t* value;
};

// By the public time zone database.
const LocalRow c_localRows[] = {
    {"last moment before summer time", Berlin, L"133563203999999990", L"20240331015959.999999+060"},
    {"first moment of summer time", Berlin, L"133563204000000000", L"20240331030000.000000+120"},
    {"first moment after it", Berlin, L"133744644000000000", L"20241027020000.000000+060"},
    {"mid-March by the new one", NewYork, L"128184336000000000", L"20070315080000.000000-240"},
    {"November by the old rule", NewYork, L"128068560000000000", L"20061101070000.000000-300"},
};

} // namespace

TEST_F(SwbemDateTime, TellsLocalTimeByTheRuleOfThatMoment)
{
    for (const LocalRow& row : c_localRows) {
        g_zone = row.zone;
        EXPECT_EQ(object->SetFileTime(CComBSTR(row.ticks), TRUE), S_OK) << row.why; // the default's value
        EXPECT_EQ(ValueOf(*object), row.value) << row.why;
        CComBSTR ticks;
        EXPECT_EQ(object->GetFileTime(VARIANT_FALSE, &ticks), S_OK) << row.why;
        EXPECT_STREQ(ticks, row.ticks) << row.why;
    }
}

TEST_F(SwbemDateTime, TellsUtcWhereverItIs)
{
    g_zone = NewYork;
    EXPECT_EQ(object->SetFileTime(CComBSTR(L"0"), VARIANT_FALSE), S_OK);
    EXPECT_EQ(ValueOf(*object), L"16010101000000.000000+000");
    EXPECT_EQ(object->SetFileTime(CComBSTR(L"00000000000000133536764967890129"), VARIANT_FALSE), S_OK);
    EXPECT_EQ(ValueOf(*object), L"20240229103456.789012+000");
    for (const wchar_t* const text : {L"", L"-1", L" 1", L"0x1", L"18446744073709551616"})
        EXPECT_EQ(object->SetFileTime(CComBSTR(text), VARIANT_FALSE), c_invalidSyntax)
            << testing::PrintToString(text);
    EXPECT_EQ(object->SetFileTime(CComBSTR(L"2650467744000000000"), VARIANT_FALSE), c_outOfRange)
        << "the year 10000";
    EXPECT_EQ(object->SetFileTime(CComBSTR(L"0"), VARIANT_TRUE), c_outOfRange) << "the year 1600 here";
    EXPECT_EQ(ValueOf(*object), L"20240229103456.789012+000");
}

TEST_F(SwbemDateTime, CountsWallTimeOnRequest)
{
    g_zone = Berlin;
    ASSERT_EQ(object->put_Value(CComBSTR(L"20240715083456.000000-240")), S_OK);
    CComBSTR ticks;
    EXPECT_EQ(object->GetFileTime(VARIANT_TRUE, &ticks), S_OK);
    EXPECT_STREQ(ticks, L"133655276960000000"); // 14:34:56
    DATE here = 0;
    EXPECT_EQ(object->GetVarDate(VARIANT_TRUE, &here), S_OK);
    EXPECT_NEAR(here, 45488 + 52496 / 86400.0, 1e-8);
    EXPECT_EQ(object->SetVarDate(45306.5, VARIANT_TRUE), S_OK);
    EXPECT_EQ(object->SetVarDate(1e9, VARIANT_TRUE), c_outOfRange);
    EXPECT_EQ(ValueOf(*object), L"20240115120000.000000+060");
}

TEST_F(SwbemDateTime, HasPartsAndAsAnIntervalIsNoMoment)
{
    LONG month = 0;
    EXPECT_EQ(object->put_Month(12), S_OK);
    EXPECT_EQ(object->put_Month(13), c_outOfRange);
    EXPECT_EQ(object->get_Month(&month), S_OK);
    EXPECT_EQ(month, 12);
    EXPECT_EQ(object->put_Value(CComBSTR(L"20230229000000.000000+000")), c_invalidSyntax);
    EXPECT_EQ(object->put_IsInterval(VARIANT_TRUE), S_OK);
    EXPECT_EQ(ValueOf(*object), L"00000000000000.000000:000");
    CComBSTR ticks;
    DATE date = 0;
    EXPECT_EQ(object->GetFileTime(VARIANT_FALSE, &ticks), c_failed);
    EXPECT_EQ(object->GetVarDate(VARIANT_FALSE, &date), c_failed);
}

TEST_F(SwbemDateTime, IsCreatedAsLongAsItIsRegistered)
{
    ASSERT_EQ(registered->Status(), S_OK);
    std::thread([] {
        const ComScope com;
        const CComPtr<ISWbemDateTime> second = New();
        EXPECT_EQ(CkxDateTimeClass::LiveObjects(), 2);
    }).join();
    EXPECT_EQ(CkxDateTimeClass::LiveObjects(), 1);
    object.Release();
    registered.reset();
    (void)object.CoCreateInstance(CLSID_SWbemDateTime); // the system's own, where it has one
    EXPECT_EQ(CkxDateTimeClass::LiveObjects(), 0);
}

TEST(SwbemDateTimeClass, TellsThatComIsMissing)
{
    std::thread([] { EXPECT_EQ(CkxDateTimeClass().Status(), CO_E_NOTINITIALIZED); }).join();
}
