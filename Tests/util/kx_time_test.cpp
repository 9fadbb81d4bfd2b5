#include "Common_CPP/util/kx_time.h"

#include <gtest/gtest.h>

#include <vector>

using namespace std::chrono_literals;

TEST(Time, ReadsAndWritesIsoText)
{
    const struct {
        const char* why;
        const wchar_t* text;
        const wchar_t* utc;
    } rows[] = {
        {"whole seconds", L"2024-02-29T12:34:56Z", L"2024-02-29T12:34:56.0000000Z"},
        {"short fraction, comma", L"2024-02-29T12:34:56,5Z", L"2024-02-29T12:34:56.5000000Z"},
        {"digits beyond the seventh", L"2024-02-29T12:34:56.123456789Z", L"2024-02-29T12:34:56.1234567Z"},
        {"east of UTC, the day before", L"2024-03-01T00:30:00+01:30", L"2024-02-29T23:00:00.0000000Z"},
        {"west of UTC, the year after", L"2023-12-31T23:00:00-02:00", L"2024-01-01T01:00:00.0000000Z"},
        {"first moment", L"1601-01-01T00:00:00Z", L"1601-01-01T00:00:00.0000000Z"},
        {"last moment", L"9999-12-31T23:59:59.9999999Z", L"9999-12-31T23:59:59.9999999Z"},
    };

    for (const auto& row : rows) {
        CkxTime time;
        CString text;
        ASSERT_TRUE(CkxTime::Parse(row.text, time) && time.FormatUtc(text)) << row.why;
        EXPECT_STREQ(text, row.utc) << row.why;
    }
}

TEST(Time, RefusesWhatIsNoMoment)
{
    const struct {
        const char* why;
        std::vector<const wchar_t*> texts;
    } rows[] = {
        {"before the first moment", {L"1601-01-01T00:00:00+00:01", L"1600-12-31T23:59:59Z"}},
        {"no such day", {L"2023-02-29T00:00:00Z", L"2023-02-29T00:00:00"}},
        {"no such hour or second", {L"2024-01-01T24:00:00Z", L"2016-12-31T23:59:60Z"}},
        {"no such offset", {L"2024-01-01T00:00:00+24:00", L"2024-01-01T00:00:00+01"}},
        {"too little or much", {L"", L"2024-01-01T00:00:00.Z", L"2024-01-01T00:00:00Z "}},
        {"no digits", {L"2024-1-01T00:00:00Z", L"2024-01-01 00:00:00Z", L"2024-+1-01T00:00:00Z"}},
    };

    for (const auto& row : rows)
        for (const wchar_t* const text : row.texts) {
            CkxTime time(42);
            EXPECT_FALSE(CkxTime::Parse(text, time)) << row.why << ' ' << testing::PrintToString(text);
            EXPECT_EQ(time, CkxTime(42)) << row.why;
        }
}

TEST(Time, LocalTextReadsBackExactly)
{
    for (const wchar_t* text : {L"2024-01-15T12:00:00.1234567Z", L"2024-07-15T12:00:00.7654321Z"}) {
        CkxTime time;
        CkxTime again;
        CString local;
        ASSERT_TRUE(CkxTime::Parse(text, time) && time.FormatLocal(local));
        EXPECT_TRUE(CkxTime::Parse(local.GetString(), again)) << local.GetString();
        EXPECT_EQ(again, time) << local.GetString();
        // Without its offset it is the local time, which means the same here.
        EXPECT_TRUE(CkxTime::Parse(local.Left(local.GetLength() - 6).GetString(), again));
        EXPECT_EQ(again, time);
    }
}

TEST(Time, BeyondTheCalendarNothingChanges)
{
    const CkxTime never(~std::uint64_t{0});
    SYSTEMTIME date = {};
    date.wYear = 1234;
    CString text = L"kept";
    EXPECT_FALSE(never.ToUtc(date) || never.ToLocal(date) || never.FormatUtc(text) ||
                 never.FormatLocal(text));
    EXPECT_EQ(date.wYear, 1234);
    EXPECT_FALSE(CkxTime(0x7FFFFFFFFFFFFFFF).FormatUtc(text)); // year 30828
    EXPECT_STREQ(text, L"kept");
}

TEST(Time, DifferencesAndMovesKeepTheirBounds)
{
    constexpr std::uint64_t most = ~std::uint64_t{0};
    EXPECT_EQ(CkxTime(5) - CkxTime(7), kx::Ticks(-2));
    EXPECT_EQ(CkxTime(most) - CkxTime(), (kx::Ticks::max)());
    EXPECT_EQ(CkxTime() - CkxTime(most), -(kx::Ticks::max)());
    CkxTime time(10);
    EXPECT_TRUE(time.Add(1us) && time.Add(-kx::Ticks(20)));
    EXPECT_EQ(time, CkxTime());
    EXPECT_FALSE(time.Add(-kx::Ticks(1)) || CkxTime(most).Add(kx::Ticks(1)));
    EXPECT_TRUE(time.Add(kx::Ticks(0)));
    EXPECT_LT(CkxTime(1), CkxTime(most));
}
