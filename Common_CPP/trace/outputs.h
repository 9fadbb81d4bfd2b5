#pragma once

#include "Common_CPP/trace/stream_dbg.h"
#include "Common_CPP/trace/stream_file.h"

#include <string_view>

/// Where trace lines go: to the trace file once there is one, to the debugger before. One object for the
/// process, under the trace lock.
class D_Outputs_c {
  public:
    /// The process's outputs, made on first use; null while there is no memory for them.
    static D_Outputs_c* Get() noexcept;

    /// Closes everything: module unload.
    static void Destroy() noexcept;

    /// What the file does not take (a full disk, a removed folder) is lost; the next line is tried anew.
    void Write(std::string_view text) noexcept;

    /// Sends further output to the end of the file at `path` (UTF-8; may hold file tokens). False when it
    /// cannot be opened: the previous output stays.
    bool SwitchToFile(std::string_view path);

  private:
    dbgstreambuf _m_debugger;
    filebuf _m_file;
};
