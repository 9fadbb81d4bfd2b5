#pragma once

#include "Common_CPP/trace/stream.h"

/// Standard output or standard error of the process, "out" and "err". The handle is asked for at each
/// write, since a host may redirect it at any time.
class D_StdStreamBuf_c final : public D_StreamBuf_c {
  public:
    enum class Which { Out, Err };

    explicit D_StdStreamBuf_c(Which which) noexcept : _m_which(which) {}

    bool Write(std::string_view text) noexcept override;

  private:
    Which _m_which;
};
