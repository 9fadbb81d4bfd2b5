#pragma once

#include "Common_CPP/trace/directive.h"
#include "Common_CPP/trace/stream_file.h"

/// Rotates the trace file, which has outgrown its limit, or empties it. No line is lost: where a step fails,
/// tracing goes on in the current file and false comes back. A file that another process has rotated away
/// meanwhile is just left for the new one.
[[nodiscard]] bool D_RotateTraceFile(filebuf& file, const kx::Rotation& rotation) noexcept;
