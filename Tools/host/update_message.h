#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace kx {

/// The document in one whole message as it came over the pipe: a 32-bit little-endian length, that many
/// bytes of UTF-16LE, the last two a NUL. nullopt when the message is cut short, too long, or ends in no NUL.
[[nodiscard]] inline std::optional<std::u16string> DecodeUpdateMessage(std::span<const std::byte> message)
{
    constexpr std::size_t lengthSize = 4;
    const auto byteAt = [&](std::size_t at) { return static_cast<std::uint32_t>(message[at]); };
    if (message.size() < lengthSize)
        return std::nullopt;
    const std::size_t length = byteAt(0) | byteAt(1) << 8 | byteAt(2) << 16 | byteAt(3) << 24;
    if (message.size() - lengthSize != length || length < 2 || length % 2 != 0)
        return std::nullopt;
    std::u16string text;
    text.reserve(length / 2);
    for (std::size_t at = lengthSize; at < message.size(); at += 2)
        text += static_cast<char16_t>(byteAt(at) | byteAt(at + 1) << 8);
    if (text.empty() || text.back() != u'\0')
        return std::nullopt;
    text.pop_back();
    return text;
}

} // namespace kx
