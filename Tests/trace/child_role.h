// A test program that starts itself: what the child then does instead of running tests.
#pragma once

#include "Common_CPP/util/unique_handle.h"

#include <map>
#include <string>

/// One part that a child can play; a static object of the test file that needs it.
class ChildRole {
  public:
    /// `play` gives the child's exit code.
    ChildRole(const wchar_t* name, int (*play)());
};

/// A copy of the running program. It inherits the environment, with `variables` set in addition.
class Child {
  public:
    Child(const std::wstring& role, const std::map<std::wstring, std::wstring>& variables);

    /// Its exit code; -1 when it did not start or does not end.
    [[nodiscard]] int Wait() const;

  private:
    CkxHandle _m_process;
};

/// What the parent has set for the child; empty when it is not set.
[[nodiscard]] std::wstring ChildVariable(const wchar_t* name);
