#pragma once

#include "Common_CPP/trace/call_site.h"
#include "Common_CPP/trace/line.h"

/// Streams the message into the line; `context` is the caller's.
using D_Pieces = void (*)(const void* context, D_Line_c& line);

/// One trace statement, whole: refreshes the configuration if due, asks the rules, and prints if they say
/// so. `pieces` is called only then, under the trace lock; what it throws ends here. Leaves the thread's
/// last-error value as it was.
void D_PrintStatement(D_CallSite_c& site, D_Pieces pieces, const void* context) noexcept;

/// The same for any callable that takes the line.
template <class Callable>
void D_Print(D_CallSite_c& site, const Callable& callable) noexcept
{
    D_PrintStatement(
        site, [](const void* context, D_Line_c& line) { (*static_cast<const Callable*>(context))(line); },
        &callable);
}
