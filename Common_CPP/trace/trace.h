#pragma once

/// The trace library, for everyone who traces.
///
///     KXT_CLASS("CkxGpPipe");                       // once in a source file
///     KXT_SCOPE("Send");                            // first in a method
///     KXT_OUT(KXT_ERROR, "ERROR: Cannot open pipe. LastError=" << D_LastError);
///
/// The pieces are evaluated only when the statement prints. A piece must not ask for the last error itself:
/// by then other calls have run; D_LastError is what the thread had when the statement began.

#include "Common_CPP/trace/level.h"
#include "Common_CPP/trace/line.h"
#include "Common_CPP/trace/scope.h"
#include "Common_CPP/trace/statement.h"

/// Names the class that all trace statements of a source file belong to.
#define KXT_CLASS(name) [[maybe_unused]] static constexpr const char* kxTraceClass = (name)
/// For source files of free functions.
#define KXT_NO_CLASS KXT_CLASS(nullptr)

#define KXT_JOIN_(a, b) a##b
#define KXT_JOIN(a, b) KXT_JOIN_(a, b)

/// Opens the scope of a method; at most one on a source line.
#define KXT_SCOPE(name) const D_Scope_c KXT_JOIN(kxScope, __LINE__)(name, kxTraceClass)

/// One trace line: `pieces` are values joined by <<. The level is a constant; what the rules say is
/// remembered for the statement until the configuration changes.
// NOLINTBEGIN(bugprone-macro-parentheses): the pieces are joined by <<, which parentheses would undo.
#define KXT_OUT(level, pieces)                                                                               \
    do {                                                                                                     \
        static constinit D_CallSite_c kxSite{__FILE__, __LINE__, kxTraceClass, level};                       \
        if (!kxSite.IsKnownSuppressed())                                                                     \
            D_Print(kxSite, [&](D_Line_c& kxLine) { kxLine << pieces; });                                    \
    } while (false)
// NOLINTEND(bugprone-macro-parentheses)

/// The same for a level that is known only when it runs.
// NOLINTBEGIN(bugprone-macro-parentheses)
#define KXT_OUT_AT(level, pieces)                                                                            \
    do {                                                                                                     \
        D_CallSite_c kxSite{__FILE__, __LINE__, kxTraceClass, level};                                        \
        D_Print(kxSite, [&](D_Line_c& kxLine) { kxLine << pieces; });                                        \
    } while (false)
// NOLINTEND(bugprone-macro-parentheses)
