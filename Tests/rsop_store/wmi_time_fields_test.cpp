#include "Tools/rsop_store/wmi_time_fields.h"

#include <gtest/gtest.h>

#include <iterator>
#include <limits>

namespace {

using Part = kx::WmiTimePart;

constexpr Part c_parts[] = {Part::Year,    Part::Month,   Part::Day,          Part::Hours,
                            Part::Minutes, Part::Seconds, Part::Microseconds, Part::Offset};

} // namespace

TEST(WmiTimeFields, PartsOfAPointInTime)
{
    kx::WmiTimeFields fields;
    ASSERT_TRUE(fields.Assign(L"20240229123456.789012-090"));
    const std::int32_t values[] = {2024, 2, 29, 12, 34, 56, 789012, -90};
    kx::WmiTimeFields copy;
    for (std::size_t i = 0; i < std::size(c_parts); ++i) {
        EXPECT_TRUE(fields.IsKnown(c_parts[i])) << i;
        EXPECT_EQ(fields.Get(c_parts[i]), values[i]) << i;
        EXPECT_TRUE(copy.Set(c_parts[i], values[i])) << i;
    }
    EXPECT_EQ(copy.Text(), fields.Text());
}

TEST(WmiTimeFields, PartsOfAnInterval)
{
    kx::WmiTimeFields fields;
    ASSERT_TRUE(fields.Assign(L"12345678091011.000012:000"));
    const std::int32_t values[] = {0, 0, 12345678, 9, 10, 11, 12, 0};
    for (std::size_t i = 0; i < std::size(c_parts); ++i)
        EXPECT_EQ(fields.Get(c_parts[i]), values[i]) << i;
    for (const Part missing : {Part::Year, Part::Month, Part::Offset})
        EXPECT_FALSE(fields.IsKnown(missing) || fields.Set(missing, 1) || fields.SetKnown(missing, true) ||
                     fields.SetKnown(missing, false));
    EXPECT_TRUE(fields.Set(Part::Day, 99999999));
    EXPECT_FALSE(fields.Set(Part::Day, 100000000));
    EXPECT_EQ(fields.Text(), L"99999999091011.000012:000");
}

TEST(WmiTimeFields, ChangesItsKindAndKeepsTheTimeOfDay)
{
    kx::WmiTimeFields fields;
    ASSERT_TRUE(fields.Assign(L"20240229123456.789012-090"));
    fields.MakeInterval(false); // what it is
    EXPECT_EQ(fields.Text(), L"20240229123456.789012-090");
    fields.MakeInterval(true);
    EXPECT_EQ(fields.Text(), L"00000000123456.789012:000");
    fields.MakeInterval(false);
    EXPECT_EQ(fields.Text(), L"00000101123456.789012+000");
}

TEST(WmiTimeFields, RefusedChangesChangeNothing)
{
    kx::WmiTimeFields fields;
    EXPECT_FALSE(fields.Assign(L"20230229000000.000000+000"));
    for (const Part part : c_parts)
        EXPECT_FALSE(fields.Set(part, 1000000) || fields.Set(part, -1000) ||
                     fields.Set(part, (std::numeric_limits<std::int32_t>::min)()));
    EXPECT_FALSE(fields.Set(Part::Month, 0) || fields.Set(Part::Day, 0) || fields.Set(Part::Hours, -1));
    EXPECT_EQ(fields.Text(), L"00000101000000.000000+000");
}

TEST(WmiTimeFields, UnknownPartsBecomeTheLowest)
{
    kx::WmiTimeFields fields;
    ASSERT_TRUE(fields.Assign(L"20240229123456.789012-090"));
    for (const Part part : c_parts)
        EXPECT_TRUE(fields.SetKnown(part, true)) << static_cast<int>(part); // known already
    EXPECT_EQ(fields.Text(), L"20240229123456.789012-090");
    for (const Part part : c_parts) {
        EXPECT_TRUE(fields.SetKnown(part, false)) << static_cast<int>(part);
        EXPECT_EQ(fields.Get(part), 0) << static_cast<int>(part);
    }
    EXPECT_EQ(fields.Text(), L"**************.******-***");
    for (const Part part : c_parts)
        EXPECT_TRUE(fields.SetKnown(part, true)) << static_cast<int>(part);
    EXPECT_EQ(fields.Text(), L"00000101000000.000000+000");
}
