// libFuzzer target: the numbers that decide what the agent gets: a policy's place in the sequence, what the
// marker of item-level targeting means, and the length of a message. Checked against exact arithmetic.
//
//   order_fuzz -max_len=32
#include "Agent/engine/kx_gpext/pipe_message.h"
#include "Agent/engine/kx_gpext/policy_order.h"
#include "Agent/engine/kx_gpext/targeting_verdict.h"
#include "Tests/fuzz/fuzz_input.h"

namespace {

using fuzz::Require;

constexpr std::int64_t kTwoTo32 = std::int64_t{1} << 32;

// The sum without bounds, then what 32 bits keep of it.
std::int64_t Exact(std::int32_t order, std::uint32_t count, std::uint32_t precedence, bool machine)
{
    const std::int64_t band = (std::int64_t{count} - precedence) * 100000 + (machine ? 1000000000 : 0);
    return order + band;
}

std::int32_t Wrapped(std::int64_t exact)
{
    std::int64_t low = exact % kTwoTo32;
    if (low < -kTwoTo32 / 2)
        low += kTwoTo32;
    if (low >= kTwoTo32 / 2)
        low -= kTwoTo32;
    return static_cast<std::int32_t>(low);
}

void CheckOrder(std::int32_t order, std::uint32_t count, std::uint32_t precedence)
{
    for (const bool machine : {false, true})
        Require(kx::GlobalOrder(order, count, precedence, machine) ==
                    Wrapped(Exact(order, count, precedence, machine)),
                "another place");

    // As they are meant to be: orders within a band, and a real number of GPOs.
    const auto own = static_cast<std::int32_t>(static_cast<std::uint32_t>(order) % kx::kGpoStep);
    const std::uint32_t gpos = count % 1000 + 2;
    const std::uint32_t place = precedence % (gpos - 1) + 1;
    const std::int32_t earlier = kx::GlobalOrder(own, gpos, place, false);
    const std::int32_t later = kx::GlobalOrder(own, gpos, place + 1, false);
    Require(earlier > later, "a GPO's place does not count");
    Require(own == 0 || earlier > kx::GlobalOrder(own - 1, gpos, place, false), "the order does not count");
    Require(kx::GlobalOrder(0, gpos, gpos, true) > kx::GlobalOrder(99999, gpos, 1, false),
            "a user's policy above a machine's");
}

void CheckVerdict(std::uint32_t error)
{
    const kx::TargetingVerdict verdict = kx::TargetingVerdictOf(error);
    Require((verdict == kx::TargetingVerdict::Allowed) == (error == 0), "allowed");
    Require((verdict == kx::TargetingVerdict::Excluded) == (error == 2), "excluded");
}

void CheckMessageSize(std::uint64_t units)
{
    const auto size = kx::PipePayloadSize(units);
    // The field is 32 bits; units and the NUL are two bytes each.
    const bool fits = units < 0x7FFFFFFF && (units + 1) * 2 <= 0xFFFFFFFF;
    Require(size.has_value() == fits, "a length that does not fit, or one that does");
    Require(!size || (*size == (units + 1) * 2 && *size >= 2), "another length");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input(data, size);
    const auto order = input.Number<std::int32_t>();
    const auto count = input.Number<std::uint32_t>();
    const auto precedence = input.Number<std::uint32_t>();
    CheckOrder(order, count, precedence);
    CheckOrder(order, count % 64, precedence % 64);
    CheckVerdict(count);
    CheckVerdict(count % 8);
    const auto units = input.Number<std::uint64_t>();
    CheckMessageSize(units);
    CheckMessageSize(units >> units % 64);
    CheckMessageSize(0x7FFFFFF8 + units % 16);
    return 0;
}
