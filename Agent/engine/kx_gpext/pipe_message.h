#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>

namespace kx {

/// A message to the agent is this 32-bit little-endian length, then that many bytes: the document in
/// UTF-16LE without byte-order mark, and its terminating NUL.
using PipeLength = std::uint32_t;

inline constexpr std::size_t kPipeUnitSize = 2;

/// The length of a document of so many UTF-16 code units, in bytes with the NUL; nullopt when the length
/// field cannot hold it.
[[nodiscard]] constexpr std::optional<PipeLength> PipePayloadSize(std::size_t codeUnits) noexcept
{
    constexpr std::size_t most = (std::numeric_limits<PipeLength>::max)() / kPipeUnitSize - 1;
    if (codeUnits > most)
        return std::nullopt;
    return static_cast<PipeLength>((codeUnits + 1) * kPipeUnitSize);
}

} // namespace kx
