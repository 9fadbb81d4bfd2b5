#pragma once

/// The one lock of the trace library: recursive, created on first use without a race, whichever thread
/// is first. It serialises every statement, every configuration reading and every output switch.
class D_LockTurn_c {
  public:
    /// Waits for the lock.
    D_LockTurn_c() noexcept;

    struct TryOnly {};

    /// Takes the lock only if it is free: for a process that is ending, where its owner may be gone.
    explicit D_LockTurn_c(TryOnly /*tag*/) noexcept;

    ~D_LockTurn_c();
    D_LockTurn_c(const D_LockTurn_c&) = delete;
    D_LockTurn_c& operator=(const D_LockTurn_c&) = delete;

    [[nodiscard]] bool IsOwned() const noexcept { return _m_owned; }

  private:
    bool _m_owned;
};

/// Gives the lock's resources back; only when no other thread can trace any more (module unload).
void D_DestroyLock() noexcept;
