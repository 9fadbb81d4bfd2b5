// The extension's pure parts: order arithmetic, message length, names and texts.

#include "Agent/engine/kx_gpext/gp_flags_text.h"
#include "Agent/engine/kx_gpext/gpo_index.h"
#include "Agent/engine/kx_gpext/pipe_message.h"
#include "Agent/engine/kx_gpext/policy_order.h"
#include "Agent/engine/kx_gpext/targeting_verdict.h"
#include "Tools/host/update_message.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

TEST(PolicyOrder, PutsEachGpoInItsBand)
{
    const struct {
        const char* why;
        std::int32_t order;
        std::uint32_t count, precedence;
        bool machine;
        std::int32_t expected;
    } rows[] = {
        {"first of three", 7, 3, 1, false, 200007},
        {"last of three", 7, 3, 3, false, 7},
        {"machine default", kx::kDefaultOrder, 1, 1, true, 1500000000},
        {"an order of a band or more runs into the next GPO's", 100000, 2, 2, false, 100000},
        {"negative orders sink", -5, 2, 1, false, 99995},
        {"wraps above", 2147483647, 1, 1, true, -1147483649},
        {"precedence beyond the count wraps below", 0, 1, 2, false, -100000},
    };

    for (const auto& row : rows)
        EXPECT_EQ(kx::GlobalOrder(row.order, row.count, row.precedence, row.machine), row.expected)
            << row.why;
}

TEST(Targeting, ExcludesOnlyWhereTheMarkerIsClearlyMissing)
{
    using Verdict = kx::TargetingVerdict;
    EXPECT_EQ(kx::TargetingVerdictOf(0), Verdict::Allowed);
    EXPECT_EQ(kx::TargetingVerdictOf(2), Verdict::Excluded);
    for (const std::uint32_t error : {1U, 3U, 5U, 6U, 1018U, 0xFFFFFFFFU})
        EXPECT_EQ(kx::TargetingVerdictOf(error), Verdict::LetThrough) << error;
}

TEST(PipeMessage, CountsBytesWithTheTerminator)
{
    EXPECT_EQ(kx::PipePayloadSize(0), 2U);
    EXPECT_EQ(kx::PipePayloadSize(1000), 2002U);
    EXPECT_EQ(kx::PipePayloadSize(0x7FFFFFFE), 0xFFFFFFFEU);
    EXPECT_EQ(kx::PipePayloadSize(0x7FFFFFFF), std::nullopt) << "four bytes cannot say so much";
}

TEST(UpdateMessage, IsTakenWholeOrNotAtAll)
{
    using Bytes = std::vector<std::byte>;
    const auto bytes = [](std::initializer_list<int> values) {
        Bytes result;
        for (const int value : values)
            result.push_back(static_cast<std::byte>(value));
        return result;
    };
    EXPECT_EQ(kx::DecodeUpdateMessage(bytes({6, 0, 0, 0, 'a', 0, 0x3E, 0xD8, 0, 0})), u"a\xD83E");
    EXPECT_EQ(kx::DecodeUpdateMessage(bytes({2, 0, 0, 0, 0, 0})), u"");
    const Bytes refused[] = {
        {},
        bytes({2, 0, 0}),
        bytes({2, 0, 0, 0, 0}),       // cut short
        bytes({2, 0, 0, 0, 0, 0, 0}), // more than announced
        bytes({2, 0, 0, 0, 'a', 0}),  // no terminator
        bytes({3, 0, 0, 0, 0, 0, 0}), // half a code unit
        bytes({0, 0, 0, 0}),
    };
    for (const Bytes& message : refused)
        EXPECT_EQ(kx::DecodeUpdateMessage(message), std::nullopt) << message.size();
}

TEST(GpFlagsText, NamesKnownBitsAndNumbersTheRest)
{
    EXPECT_EQ(kx::GpFlagsText(0), L"0");
    EXPECT_EQ(kx::GpFlagsText(0x1001), L"MACHINE, ASYNC_FOREGROUND");
    EXPECT_EQ(kx::GpFlagsText(0x4), L"0x00000004");
    EXPECT_EQ(kx::GpFlagsText(0xFFFFFFFF),
              L"MACHINE, BACKGROUND, ASYNC_FOREGROUND, SLOWLINK, VERBOSE, NOCHANGES, LINKTRANSITION, "
              L"LOGRSOP_TRANSITION, FORCED_REFRESH, SAFEMODE_BOOT, 0xFFFFE00E");
}

TEST(GpoIndex, IgnoresCaseAndKeepsTheFirst)
{
    kx::GpoIndex<int> index;
    index.Add(L"{ABC}", 1);
    index.Add(L"{abc}", 2);
    ASSERT_TRUE(index.Find(L"{aBc}"));
    EXPECT_EQ(*index.Find(L"{aBc}"), 1);
    EXPECT_EQ(index.Find(L"{ab}"), nullptr);
}

} // namespace
