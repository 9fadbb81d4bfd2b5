// The extension's pure parts: names and texts. Numbers are checked by the fuzz target order_fuzz.

#include "Agent/engine/kx_gpext/gp_flags_text.h"
#include "Tools/host/update_message.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

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

} // namespace
