#pragma once

#include "Common_CPP/trace/file_strip.h"
#include "Common_CPP/trace/line.h"
#include "Common_CPP/trace/prefix.h"
#include "Common_CPP/trace/settings.h"
#include "Common_CPP/trace/thread_state.h"

/// What a line can show of the process, the thread and the settings; borrowed from them. The clock is not
/// read, and what only a statement has is empty.
[[nodiscard]] kx::PrefixFields D_LineFields(const kx::Settings& settings,
                                            const D_ThreadState_c& thread) noexcept;

/// Writes the prefix, reading the clock if the template shows it; null stands for the default template.
void D_WritePrefix(D_Line_c& line, const kx::PrefixTemplate* prefix, kx::PrefixFields& fields);
