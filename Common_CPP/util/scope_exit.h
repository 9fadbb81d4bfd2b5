// Runs a piece of work when a scope ends.
#pragma once

#include <type_traits>
#include <utility>

namespace kx {

/// Calls `action` when it is destroyed. The action must not throw.
template <class Action>
class ScopeExit {
  public:
    explicit ScopeExit(Action action) noexcept(std::is_nothrow_move_constructible_v<Action>)
        : _m_action(std::move(action))
    {
    }

    ScopeExit(const ScopeExit&) = delete;
    ScopeExit& operator=(const ScopeExit&) = delete;

    ~ScopeExit() { _m_action(); }

  private:
    Action _m_action;
};

} // namespace kx
