#pragma once

#include "Common_CPP/trace/stream.h"

/// The debugger's output window, "dbg".
class dbgstreambuf final : public D_StreamBuf_c {
  public:
    bool Write(std::string_view text) noexcept override;
};

using odbgstream = D_OutStream_c<dbgstreambuf>;
