// Runs a piece of work when a scope ends.
#pragma once

#include <type_traits>
#include <utility>

namespace kx {

/// Calls `action` when it is destroyed, unless dismissed. The action must not throw.
template <class Action>
class ScopeExit {
  public:
    explicit ScopeExit(Action action) noexcept(std::is_nothrow_move_constructible_v<Action>)
        : _m_action(std::move(action))
    {
    }

    ScopeExit(const ScopeExit&) = delete;
    ScopeExit& operator=(const ScopeExit&) = delete;

    ~ScopeExit()
    {
        if (_m_armed)
            _m_action();
    }

    /// The action will not be called.
    void Dismiss() noexcept { _m_armed = false; }

  private:
    Action _m_action;
    bool _m_armed = true;
};

} // namespace kx
