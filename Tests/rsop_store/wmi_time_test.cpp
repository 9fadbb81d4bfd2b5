// WMI's date-times: their text, the moments they tell, and their parts.
#include "Tools/rsop_store/wmi_time.h"
#include "Tools/rsop_store/wmi_time_fields.h"

#include <gtest/gtest.h>

#include <iterator>
#include <vector>

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
    {"leap day, told in the east", 133536764967890120, 120, L"20240229123456.789012+120"},
    {"new year in the east", 133485228000000000, 330, L"20240101003000.000000+330"},
    {"old year in the west", 133485660005000000, -480, L"20231231230000.500000-480"},
    {"one microsecond on is March", 94405824000000000, 0, L"19000301000000.000000+000"},
    {"century with a leap day, far west", 125963159400000000, -999, L"20000229000000.000000-999"},
    {"last moment", 2650467743999999990, 0, L"99991231235959.999999+000"},
    {"last moment told in the west", 2650467779999999990, -60, L"99991231235959.999999-060"},
};

const std::tuple<const char*, std::uint64_t, int> c_unwritable[] = {
    {"year 10000", 2650467744000000000, 0},
    {"year 10000 in the east", 2650467743999999999, 1},
    {"year 1600 in the west", c_ticksPerMinute - 1, -1},
    {"highest number", ~std::uint64_t{0}, -999},
    {"highest number", ~std::uint64_t{0}, 999},
    {"offset of four digits", 133536764967890120, 1000},
};

enum class Kind { Bad, Moment, Vague };

struct Row {
    const char* why;
    Kind kind;
    std::vector<std::wstring_view> texts;
};

const Row c_rows[] = {
    {"wall time of 1600 after the first moment", Kind::Moment, {L"16001231233000.000000-060"}},
    {"negative zero", Kind::Moment, {L"20240101000000.000000-000"}},
    {"before the first moment", Kind::Vague, {L"16001231235959.999999+000", L"16010101000000.000000+001"}},
    {"intervals", Kind::Vague, {L"00000001020304.000005:000", L"99999999235959.999999:000"}},
    {"unknown parts of one", Kind::Vague, {L"00000001******.******:000", L"**************.******:000"}},
    {"date alone", Kind::Vague, {L"20240229******.******+000"}},
    {"offset or day unknown", Kind::Vague, {L"20240229123456.789012-***", L"202402**123456.789012+000"}},
    {"some year's or month's", Kind::Vague, {L"****0229000000.000000+000", L"2023**31000000.000000+000"}},
    {"in none", Kind::Bad, {L"2023**32000000.000000+000", L"****0230000000.000000+000"}},
    {"no leap year", Kind::Bad, {L"20230229000000.000000+000", L"19000229000000.000000+000"}},
    {"no such month", Kind::Bad, {L"20240001000000.000000+000", L"20241301000000.000000+000"}},
    {"no such day", Kind::Bad, {L"20240100000000.000000+000", L"20240431000000.000000+000"}},
    {"hour 24", Kind::Bad, {L"20240101240000.000000+000", L"00000001240000.000000:000"}},
    {"60 of them", Kind::Bad, {L"20240101006000.000000+000", L"20161231235960.000000+000"}},
    {"offset of an interval", Kind::Bad, {L"00000001000000.000000:060", L"00000001000000.000000:***"}},
    {"half a part", Kind::Bad, {L"20**0101000000.000000+000", L"20240101000000.123***+000"}},
    {"asterisk for a sign", Kind::Bad, {L"20240101000000*000000+000", L"20240101000000.000000****"}},
    {"sign or blank in a number", Kind::Bad, {L"2024+101000000.000000+000", L"2024 101000000.000000+000"}},
    {"digit beyond ASCII", Kind::Bad, {L"202\uFF140101000000.000000+000"}},
    {"too short or long", Kind::Bad, {L"", L"20240101000000.000000+00", L"20240101000000.000000+0000"}},
    {"NUL after it", Kind::Bad, {std::wstring_view(L"20240101000000.000000+000\0", 26)}},
};

using Part = kx::WmiTimePart;

constexpr Part c_parts[] = {Part::Year,    Part::Month,   Part::Day,          Part::Hours,
                            Part::Minutes, Part::Seconds, Part::Microseconds, Part::Offset};

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
    for (const auto& [why, ticks, offset] : c_unwritable) {
        std::wstring text = L"kept";
        EXPECT_FALSE(kx::TicksToWmiTime(ticks, offset, text)) << why;
        EXPECT_EQ(text, L"kept") << why;
    }
}

TEST(WmiTime, TellsMomentsFromOtherDateTimesAndThoseFromRubbish)
{
    for (const Row& row : c_rows)
        for (const std::wstring_view text : row.texts) {
            SCOPED_TRACE(row.why + (" " + testing::PrintToString(text)));
            std::uint64_t ticks = 42;
            EXPECT_EQ(kx::IsWmiDateTime(text), row.kind != Kind::Bad);
            EXPECT_EQ(kx::WmiTimeToTicks(text, ticks), row.kind == Kind::Moment);
            EXPECT_EQ(ticks == 42, row.kind != Kind::Moment);
        }
}

TEST(WmiTimeFields, GiveAndTakeEachPart)
{
    const std::pair<const wchar_t*, std::vector<std::int32_t>> rows[] = {
        {L"20240229123456.789012-090", {2024, 2, 29, 12, 34, 56, 789012, -90}},
        {L"12345678091011.000012:000", {0, 0, 12345678, 9, 10, 11, 12, 0}},
    };
    for (const auto& [text, values] : rows) {
        SCOPED_TRACE(testing::PrintToString(text));
        kx::WmiTimeFields fields;
        kx::WmiTimeFields copy;
        ASSERT_TRUE(fields.Assign(text));
        copy.MakeInterval(!fields.IsKnown(Part::Year));
        for (std::size_t i = 0; i < std::size(c_parts); ++i) {
            EXPECT_EQ(fields.Get(c_parts[i]), values[i]) << i;
            EXPECT_EQ(copy.Set(c_parts[i], values[i]), fields.IsKnown(c_parts[i])) << i;
        }
        EXPECT_EQ(copy.Text(), text);
    }
}

TEST(WmiTimeFields, RefusedChangesChangeNothing)
{
    kx::WmiTimeFields fields;
    EXPECT_FALSE(fields.Assign(L"20230229000000.000000+000"));
    for (const Part part : c_parts)
        EXPECT_FALSE(fields.Set(part, 1000000) || fields.Set(part, -1000));
    EXPECT_FALSE(fields.Set(Part::Month, 0) || fields.Set(Part::Day, 0) || fields.Set(Part::Hours, -1));
    EXPECT_EQ(fields.Text(), L"00000101000000.000000+000");
}

TEST(WmiTimeFields, ForgetPartsAndChangeTheirKind)
{
    kx::WmiTimeFields fields;
    ASSERT_TRUE(fields.Assign(L"20240229123456.789012-090"));
    for (const Part part : c_parts)
        EXPECT_TRUE(fields.SetKnown(part, false)) << static_cast<int>(part);
    EXPECT_EQ(fields.Text(), L"**************.******-***");
    for (const Part part : c_parts)
        EXPECT_TRUE(fields.SetKnown(part, true)) << static_cast<int>(part);
    EXPECT_EQ(fields.Text(), L"00000101000000.000000+000");
    EXPECT_TRUE(fields.Set(Part::Hours, 7));
    fields.MakeInterval(true);
    EXPECT_EQ(fields.Text(), L"00000000070000.000000:000");
    fields.MakeInterval(false);
    EXPECT_EQ(fields.Text(), L"00000101070000.000000+000");
}
