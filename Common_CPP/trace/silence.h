#pragma once

#include <cstdint>

/// The three switches that quieten the library. The environment is read once; the registry on first use and
/// again when ten seconds have passed. Under the trace lock.
class D_Silence_c {
  public:
    /// When the registry is read again, in milliseconds of the system's tick.
    static constexpr std::uint64_t kReadAgainMs = 10000;

    /// Reads what is due at `tick`. True when the registry's switch has just gone from off to on, so that
    /// nothing traced before may stay on disk.
    bool Refresh(std::uint64_t tick) noexcept;

    /// The tick from which Refresh() reads again.
    [[nodiscard]] std::uint64_t ReadAgainAt() const noexcept { return _m_readAt + kReadAgainMs; }

    /// No trace statement prints.
    [[nodiscard]] bool IsShutUp() const noexcept { return _m_shutUp || _m_registry; }

    /// The library's own messages are not printed.
    [[nodiscard]] bool IsSilent() const noexcept { return _m_silence || _m_registry; }

  private:
    bool _m_known = false;
    bool _m_shutUp = false;
    bool _m_silence = false;
    bool _m_registry = false;
    std::uint64_t _m_readAt = 0;
};
