#pragma once

#include "Common_CPP/trace/level.h"
#include "Common_CPP/trace/rule_table.h"
#include "Common_CPP/trace/stream_generic.h"

#include <string_view>

/// What the program tells the trace library, and asks it. Every call leaves the thread's last-error value as
/// it was and throws nothing.

/// Makes `path` the configuration file's name and reads the file at once; not on a thread without file
/// operations. The first 2,048 code units count.
void D_SetConfigFile(std::wstring_view path) noexcept;

/// Lets one line of the configuration's syntax take effect (UTF-8). False, with its message, when it does
/// not.
bool D_Directive(std::string_view line) noexcept;

/// Switches output to "out", "err" or "dbg"; an aux copy stays or ends.
bool D_ToStream(std::string_view name, bool keepAux) noexcept;

/// Copies output to "out", "err" or "dbg" as well.
bool D_ToAuxStream(std::string_view name) noexcept;

/// Sends output to the end of the file at `path` (UTF-8; may hold "<%PID>" and the time tokens).
bool D_ToFile(std::string_view path) noexcept;

/// Sends output to a sink of the program; null ends that. The sink must stay callable until then.
void D_ToGeneric(D_GenericSink sink, void* context) noexcept;

/// Adds a print rule that outranks those of the file and earlier ones of the program.
bool D_AddPrintRule(kx::ScopeKind scope, std::string_view expression, std::uint32_t level, bool on) noexcept;

/// True when the configuration's selftest rules turn self-tests on for the statement that they are asked for.
[[nodiscard]] bool D_IsSelfTestOn(const char* file, const char* className, std::uint32_t level) noexcept;

/// Names the calling thread in lines; at most 32 characters (UTF-8). Empty: its id is shown again.
void D_SetThreadName(std::string_view name) noexcept;

/// Marks the calling thread for good: it touches no file for the library but the open trace file.
void D_NoFileOperations() noexcept;

/// The same while it lives, without a message. May be nested.
class D_NoFileOperations_c {
  public:
    D_NoFileOperations_c() noexcept;
    ~D_NoFileOperations_c();
    D_NoFileOperations_c(const D_NoFileOperations_c&) = delete;
    D_NoFileOperations_c& operator=(const D_NoFileOperations_c&) = delete;

  private:
    bool _m_before;
};

/// False when another thread holds the trace lock, so that a statement would wait for it: for a process
/// that is ending, where that thread is gone.
[[nodiscard]] bool D_CanTrace() noexcept;

/// The calling thread ends: frees what is kept for it. For the detach notification. REQUIRES: no scope of the
/// thread is open.
void D_ThreadEnds() noexcept;

/// The module is being unloaded while the process goes on: frees everything. Nothing may trace after it.
/// REQUIRES: no scope is open.
void D_ModuleUnloads() noexcept;
