#pragma once

#include <string_view>

/// Where trace text goes: one buffer class a destination. Called under the trace lock only.
class D_StreamBuf_c {
  public:
    D_StreamBuf_c() noexcept = default;
    virtual ~D_StreamBuf_c() = default;
    D_StreamBuf_c(const D_StreamBuf_c&) = delete;
    D_StreamBuf_c& operator=(const D_StreamBuf_c&) = delete;

    /// Hands the whole text on at once, nothing is kept back. False when the destination did not take it;
    /// may change the thread's last-error value.
    virtual bool Write(std::string_view text) noexcept = 0;
};

/// A stream is its buffer and the right to write to it; `odbgstream`, `ogenericstream`, `teestream` and
/// `ofstream` are made of this.
template <class Buffer>
class D_OutStream_c {
  public:
    D_OutStream_c& operator<<(std::string_view text) noexcept
    {
        (void)_m_buffer.Write(text);
        return *this;
    }

    [[nodiscard]] Buffer& Buf() noexcept { return _m_buffer; }

  private:
    Buffer _m_buffer;
};
