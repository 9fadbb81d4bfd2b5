#pragma once

#include "Common_CPP/trace/messages.h"
#include "Common_CPP/trace/settings_dump.h"
#include "Common_CPP/trace/stream_dbg.h"
#include "Common_CPP/trace/stream_file.h"
#include "Common_CPP/trace/stream_generic.h"
#include "Common_CPP/trace/stream_std.h"
#include "Common_CPP/trace/stream_tee.h"

#include <string>
#include <string_view>

/// Where trace lines go: one current output, and perhaps a second stream that everything is copied to. A
/// switch that fails keeps the previous output. Under the trace lock.
class D_Outputs_c {
  public:
    D_Outputs_c() noexcept;

    /// What the destination does not take (a full disk, a removed folder) is lost; the next text is tried
    /// anew.
    void Write(std::string_view text) noexcept;

    /// Switches to "out", "err" or "dbg". A trace file that was the output is closed.
    bool SwitchToStream(std::string_view name, bool keepAux, kx::MessageSink& sink) noexcept;

    /// Copies everything to "out", "err" or "dbg" as well.
    bool CopyTo(std::string_view name, kx::MessageSink& sink) noexcept;

    /// Switches to a sink of the program; null ends that, and where output went there, it goes to the
    /// default output again.
    void SwitchToGeneric(D_GenericSink sink, void* context) noexcept;

    /// Switches to the file at `path` (UTF-8; may hold file tokens). Throws only when memory
    /// ends.
    bool SwitchToFile(std::string_view path, bool truncate, bool keepAux, kx::MessageSink& sink);

    /// The trace file, open or not.
    [[nodiscard]] filebuf& File() noexcept { return _m_file.Buf(); }

    /// True when output goes to the trace file, yet it could not be opened again after it was emptied.
    [[nodiscard]] bool HasLostFile() noexcept
    {
        return _m_main.buffer == &_m_file.Buf() && !_m_file.Buf().IsOpen();
    }

    /// Which outputs are set, as the settings dump shows them.
    [[nodiscard]] kx::OutputState State() const noexcept;

  private:
    struct Named {
        std::string_view name;
        D_StreamBuf_c* buffer = nullptr;
    };

    [[nodiscard]] Named _FindStream(std::string_view name) noexcept;
    void _Use(const Named& main, bool keepAux) noexcept;
    void _Connect() noexcept;

    odbgstream _m_debugger;
    D_StdStreamBuf_c _m_out{D_StdStreamBuf_c::Which::Out};
    D_StdStreamBuf_c _m_err{D_StdStreamBuf_c::Which::Err};
    ogenericstream _m_generic;
    ofstream _m_file;
    std::string _m_filePath; ///< as it was asked for, with its tokens
    teestream _m_tee;
    Named _m_main;
    Named _m_aux;
};
