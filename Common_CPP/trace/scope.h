#pragma once

struct D_ThreadState_c;

/// A traced method: its name stands on the thread's scope stack while the object lives, and the lines in it
/// are indented one step deeper. Leaves the thread's last-error value as it was. Ends on the thread that it
/// began on.
class D_Scope_c {
  public:
    /// `name` and `className` must outlive the object; `className` is null for free functions.
    D_Scope_c(const char* name, const char* className) noexcept;
    ~D_Scope_c();
    D_Scope_c(const D_Scope_c&) = delete;
    D_Scope_c& operator=(const D_Scope_c&) = delete;

  private:
    const char* _m_name;
    const char* _m_className;
    D_ThreadState_c* _m_thread; ///< lives until the thread ends
};
