#pragma once

#include "Common_CPP/trace/stream.h"

#include <cstddef>

/// A sink that the program provides: its own context, the text (not terminated) and the text's length in
/// bytes. Called under the trace lock, on whichever thread traces; it must not wait for another thread.
using D_GenericSink = void (*)(void* context, const char* text, std::size_t length);

/// Hands text to a registered sink, "generic".
class genericstreambuf final : public D_StreamBuf_c {
  public:
    genericstreambuf() noexcept = default;

    /// From now on text goes to `sink`; null: nowhere.
    void Register(D_GenericSink sink, void* context) noexcept
    {
        _m_sink = sink;
        _m_context = context;
    }

    bool Write(std::string_view text) noexcept override
    {
        if (!_m_sink)
            return false;
        try {
            _m_sink(_m_context, text.data(), text.size());
            return true;
        } catch (...) { // a sink's trouble is not the tracing caller's
            return false;
        }
    }

  private:
    D_GenericSink _m_sink = nullptr;
    void* _m_context = nullptr;
};

using ogenericstream = D_OutStream_c<genericstreambuf>;
