#pragma once

#include "Common_CPP/trace/trace_control.h"

#include <string>
#include <utility>

/// Takes what is traced while it lives.
class RecordedTrace {
  public:
    RecordedTrace() { D_ToGeneric(&_Gather, &_m_text); }

    ~RecordedTrace() { D_ToGeneric(nullptr, nullptr); }

    RecordedTrace(const RecordedTrace&) = delete;
    RecordedTrace& operator=(const RecordedTrace&) = delete;

    /// What was traced since the last call.
    std::string Take() { return std::exchange(_m_text, {}); }

  private:
    static void _Gather(void* context, const char* text, std::size_t length)
    {
        static_cast<RecordedTrace*>(context)->_m_text.append(text, length);
    }

    std::string _m_text;
};
