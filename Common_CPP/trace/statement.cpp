#include "Common_CPP/trace/statement.h"

#include <windows.h>

#include "Common_CPP/trace/file_strip.h"
#include "Common_CPP/trace/local_clock.h"
#include "Common_CPP/trace/outputs.h"
#include "Common_CPP/trace/prefix.h"
#include "Common_CPP/trace/thread_state.h"
#include "Common_CPP/trace/trace_lock.h"
#include "Common_CPP/util/last_error.h"

namespace {

constexpr unsigned kStripLevel = 3;

void WriteToOutput(std::string_view text) noexcept
{
    if (D_Outputs_c* outputs = D_Outputs_c::Get())
        outputs->Write(text);
}

kx::PrefixFields FieldsOf(const D_CallSite_c& site, const D_ThreadState_c& thread,
                          const kx::StrippedFile& file)
{
    kx::PrefixFields fields;
    fields.processId = ::GetCurrentProcessId();
    fields.threadId = ::GetCurrentThreadId();
    fields.threadName = thread.name;
    fields.stackName = thread.stack.Top();
    fields.file = file.View();
    fields.line = site.line;
    fields.className = site.className;
    fields.level = site.level;
    fields.depth = thread.depth;
    return fields;
}

void WritePrefix(D_Line_c& line, const D_CallSite_c& site, const D_ThreadState_c& thread)
{
    const kx::PrefixTemplate prefix(kx::kDefaultPrefix);
    const kx::StrippedFile file(site.file, kStripLevel);
    kx::PrefixFields fields = FieldsOf(site, thread, file);
    if (prefix.NeedsTime())
        fields.time = D_ReadLocalClock();
    prefix.Write(line, fields);
}

void WriteLine(const D_CallSite_c& site, const D_ThreadState_c& thread, D_Pieces pieces, const void* context,
               std::uint32_t lastError) noexcept
{
    D_Line_c line(lastError, WriteToOutput);
    try {
        WritePrefix(line, site, thread);
        pieces(context, line);
    } catch (...) { // of a streamed value: what it has printed so far stands
        line << "...";
    }
    line << '\n';
    WriteToOutput(line.Text());
}

} // namespace

void D_PrintStatement(const D_CallSite_c& site, D_Pieces pieces, const void* context) noexcept
{
    const CkxLastErrorKeeper keeper;
    const D_LockTurn_c turn;
    D_ThreadState_c& thread = D_ThreadState();
    ++thread.reentry;
    // A statement issued from inside another one, by a value that traces, prints nothing.
    if (thread.reentry == 1)
        WriteLine(site, thread, pieces, context, keeper.Get());
    --thread.reentry;
}
