#include "Tools/rsop_store/wmi_time.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr std::uint64_t c_ticksPerMinute = 600'000'000;

struct Pair {
    const char* why;
    std::uint64_t ticks;
    int offset;
    const wchar_t* text;
};

// The numbers come from another calendar library.
const Pair c_pairs[] = {
    {"first moment", 0, 0, L"16010101000000.000000+000"},
    {"one microsecond", 10, 0, L"16010101000000.000001+000"},
    {"first moment, told in the east", 0, 60, L"16010101010000.000000+060"},
    {"start of the seventies", 116444736000000000, 0, L"19700101000000.000000+000"},
    {"leap day, told in the east", 133536764967890120, 120, L"20240229123456.789012+120"},
    {"new year in the east", 133485228000000000, 330, L"20240101003000.000000+330"},
    {"old year in the west", 133485660005000000, -480, L"20231231230000.500000-480"},
    {"century without a leap day", 94405823999999990, 0, L"19000228235959.999999+000"},
    {"one microsecond on is March", 94405824000000000, 0, L"19000301000000.000000+000"},
    {"century with a leap day, far west", 125963159400000000, -999, L"20000229000000.000000-999"},
    {"the same, far east", 125961960600000000, 999, L"20000229000000.000000+999"},
    {"last moment", 2650467743999999990, 0, L"99991231235959.999999+000"},
    {"last moment told in the west", 2650467779999999990, -60, L"99991231235959.999999-060"},
};

struct Unwritable {
    const char* why;
    std::uint64_t ticks;
    int offset;
};

const Unwritable c_unwritable[] = {
    {"year 10000", 2650467744000000000, 0},
    {"year 10000 in the east", 2650467743999999999, 1},
    {"year 10000 in the west too", 2650467780000000000, -60},
    {"year 1600 in the west", c_ticksPerMinute - 1, -1},
    {"sign bit", 0x8000000000000000, 0},
    {"highest number", ~std::uint64_t{0}, -999},
    {"highest number", ~std::uint64_t{0}, 999},
    {"offset of four digits", 133536764967890120, 1000},
    {"offset of four digits in the west", 133536764967890120, -1000},
    {"offset whose size overflows", 133536764967890120, (std::numeric_limits<int>::min)()},
};

enum class Kind { Bad, Moment, Vague };

struct Row {
    const char* why;
    std::wstring_view text;
    Kind kind;
};

const Row c_rows[] = {
    {"wall time of 1600 after the first moment", L"16001231233000.000000-060", Kind::Moment},
    {"negative zero", L"20240101000000.000000-000", Kind::Moment},
    {"before the first moment", L"16001231235959.999999+000", Kind::Vague},
    {"wall time of 1601 before the first moment", L"16010101000000.000000+001", Kind::Vague},
    {"first year of all", L"00000101000000.000000+000", Kind::Vague},
    {"interval", L"00000001020304.000005:000", Kind::Vague},
    {"interval of any number of days", L"99999999235959.999999:000", Kind::Vague},
    {"interval with unknown parts", L"00000001******.******:000", Kind::Vague},
    {"nothing known of an interval", L"**************.******:000", Kind::Vague},
    {"nothing known", L"**************.******+***", Kind::Vague},
    {"date alone", L"20240229******.******+000", Kind::Vague},
    {"offset unknown", L"20240229123456.789012-***", Kind::Vague},
    {"day unknown", L"202402**123456.789012+000", Kind::Vague},
    {"leap day of some year", L"****0229000000.000000+000", Kind::Vague},
    {"31st of some month", L"2023**31000000.000000+000", Kind::Vague},
    {"32nd of some month", L"2023**32000000.000000+000", Kind::Bad},
    {"30th of February", L"****0230000000.000000+000", Kind::Bad},
    {"leap day of a common year", L"20230229000000.000000+000", Kind::Bad},
    {"leap day of a century", L"19000229000000.000000+000", Kind::Bad},
    {"April 31st", L"20240431000000.000000+000", Kind::Bad},
    {"month 0", L"20240001000000.000000+000", Kind::Bad},
    {"month 13", L"20241301000000.000000+000", Kind::Bad},
    {"day 0", L"20240100000000.000000+000", Kind::Bad},
    {"hour 24", L"20240101240000.000000+000", Kind::Bad},
    {"minute 60", L"20240101006000.000000+000", Kind::Bad},
    {"leap second", L"20161231235960.000000+000", Kind::Bad},
    {"hour 24 of an interval", L"00000001240000.000000:000", Kind::Bad},
    {"offset of an interval", L"00000001000000.000000:060", Kind::Bad},
    {"unknown offset of an interval", L"00000001000000.000000:***", Kind::Bad},
    {"half a year", L"20**0101000000.000000+000", Kind::Bad},
    {"half a fraction", L"20240101000000.123***+000", Kind::Bad},
    {"asterisk for the point", L"20240101000000*000000+000", Kind::Bad},
    {"asterisk for the sign", L"20240101000000.000000****", Kind::Bad},
    {"sign in a number", L"2024+101000000.000000+000", Kind::Bad},
    {"blank in a number", L"2024 101000000.000000+000", Kind::Bad},
    {"digit beyond ASCII", L"202\uFF140101000000.000000+000", Kind::Bad},
    {"too short", L"20240101000000.000000+00", Kind::Bad},
    {"too long", L"20240101000000.000000+0000", Kind::Bad},
    {"NUL after it", std::wstring_view(L"20240101000000.000000+000\0", 26), Kind::Bad},
    {"nothing", L"", Kind::Bad},
};

} // namespace

TEST(WmiTime, TicksAndTextAreTheSameMoment)
{
    for (const Pair& row : c_pairs) {
        std::wstring text;
        EXPECT_TRUE(kx::TicksToWmiTime(row.ticks, row.offset, text)) << row.why;
        EXPECT_EQ(text, row.text) << row.why;
        EXPECT_TRUE(kx::TicksToWmiTime(row.ticks + 9, row.offset, text)) << row.why; // tenths are dropped
        EXPECT_EQ(text, row.text) << row.why;
        std::uint64_t ticks = 42;
        EXPECT_TRUE(kx::WmiTimeToTicks(row.text, ticks)) << row.why;
        EXPECT_EQ(ticks, row.ticks) << row.why;
        EXPECT_TRUE(kx::IsWmiDateTime(row.text)) << row.why;
    }
}

TEST(WmiTime, WritesNothingBeyondTheCalendar)
{
    for (const Unwritable& row : c_unwritable) {
        std::wstring text = L"kept";
        EXPECT_FALSE(kx::TicksToWmiTime(row.ticks, row.offset, text)) << row.why;
        EXPECT_EQ(text, L"kept") << row.why;
    }
}

TEST(WmiTime, TellsMomentsFromOtherDateTimesAndThoseFromRubbish)
{
    for (const Row& row : c_rows) {
        std::uint64_t ticks = 42;
        EXPECT_EQ(kx::IsWmiDateTime(row.text), row.kind != Kind::Bad) << row.why;
        EXPECT_EQ(kx::WmiTimeToTicks(row.text, ticks), row.kind == Kind::Moment) << row.why;
        EXPECT_EQ(ticks == 42, row.kind != Kind::Moment) << row.why;
    }
}
