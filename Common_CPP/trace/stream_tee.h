#pragma once

#include "Common_CPP/trace/stream.h"

/// Writes everything to two buffers, which it does not own.
class teebuf final : public D_StreamBuf_c {
  public:
    teebuf() noexcept = default;

    /// Both must be there; see IsWhole().
    void Connect(D_StreamBuf_c* first, D_StreamBuf_c* second) noexcept
    {
        _m_first = first;
        _m_second = second;
    }

    [[nodiscard]] bool IsWhole() const noexcept { return _m_first && _m_second; }

    /// True when both took the text; a buffer that is missing or fails does not keep it from the other.
    bool Write(std::string_view text) noexcept override
    {
        const bool first = _m_first && _m_first->Write(text);
        const bool second = _m_second && _m_second->Write(text);
        return first && second;
    }

  private:
    D_StreamBuf_c* _m_first = nullptr;
    D_StreamBuf_c* _m_second = nullptr;
};

using teestream = D_OutStream_c<teebuf>;
