// Keeps what the trace library says about itself, for tests to look at.
#pragma once

#include "Common_CPP/trace/messages.h"

#include <string>
#include <string_view>
#include <utility>

/// Collects all texts in one string.
class CkxRecordingSink final : public kx::MessageSink {
  public:
    void Print(std::string_view text) noexcept override
    {
        _m_text += text;
        ++_m_calls;
    }

    /// Everything printed since the last Take().
    std::string Take() { return std::exchange(_m_text, {}); }

    /// How often the sink has been called.
    [[nodiscard]] int Calls() const noexcept { return _m_calls; }

  private:
    std::string _m_text;
    int _m_calls = 0;
};
