#pragma once

#include "Common_CPP/trace/line.h"

#include <cstdint>

/// Where a trace statement stands in the source, and how much it matters.
struct D_CallSite_c {
    const char* file; ///< compile-time path
    int line;
    const char* className; ///< null for free functions
    std::uint32_t level;
};

/// Streams the message into the line; `context` is the caller's.
using D_Pieces = void (*)(const void* context, D_Line_c& line);

/// One trace statement. `pieces` is called only when the statement prints, under the trace lock; what it
/// throws ends here. Leaves the thread's last-error value as it was.
void D_PrintStatement(const D_CallSite_c& site, D_Pieces pieces, const void* context) noexcept;

/// The same for any callable that takes the line.
template <class Callable>
void D_Print(const D_CallSite_c& site, const Callable& callable) noexcept
{
    D_PrintStatement(
        site, [](const void* context, D_Line_c& line) { (*static_cast<const Callable*>(context))(line); },
        &callable);
}
