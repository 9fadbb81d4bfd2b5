#include "Common_CPP/trace/line_fields.h"

#include <windows.h>

#include "Common_CPP/trace/local_clock.h"

kx::PrefixFields D_LineFields(const kx::Settings& settings, const D_ThreadState_c& thread) noexcept
{
    kx::PrefixFields fields;
    fields.processId = ::GetCurrentProcessId();
    fields.threadId = ::GetCurrentThreadId();
    fields.threadName = thread.name;
    fields.stackName = thread.stack.Top();
    fields.depth = thread.depth;
    fields.indentFilling = settings.indentFilling;
    return fields;
}

void D_WritePrefix(D_Line_c& line, const kx::PrefixTemplate* prefix, kx::PrefixFields& fields)
{
    if (!prefix) {
        kx::PrefixTemplate(kx::kDefaultPrefix).Write(line, fields);
        return;
    }
    if (prefix->NeedsTime(fields))
        fields.time = D_ReadLocalClock();
    prefix->Write(line, fields);
}
