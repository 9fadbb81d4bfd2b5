#include "Common_CPP/trace/statement.h"

#include "Common_CPP/trace/line_fields.h"
#include "Common_CPP/trace/thread_state.h"
#include "Common_CPP/trace/trace_lock.h"
#include "Common_CPP/trace/trace_runtime.h"
#include "Common_CPP/util/last_error.h"

#include <iterator>

namespace {

kx::RuleSubject SubjectOf(const D_CallSite_c& site, const D_ThreadState_c& thread, std::span<char> fileBase)
{
    return {kx::FileBase(site.file, fileBase),
            site.className,
            {thread.stack.Names(), thread.stack.Count()},
            site.level};
}

// The template of the statement's prefix; the default where no rule gives one.
const kx::PrefixTemplate* FindPrefix(D_Runtime_c& runtime, const D_CallSite_c& site,
                                     const kx::RuleSubject& subject) noexcept
{
    const kx::PrefixTemplate* prefix = runtime.settings.prefixRules.Find(subject);
    if (!prefix)
        kx::messages::FormatMissing(runtime, site.file, site.className, site.level);
    return prefix;
}

// Whether the statement prints, and with which prefix (null: the default). Remembered for the call site
// where it depends on nothing but the settings.
bool Decide(D_Runtime_c& runtime, D_CallSite_c& site, const D_ThreadState_c& thread,
            const kx::PrefixTemplate*& prefix) noexcept
{
    const std::uint64_t generation = g_decisions.generation.load(std::memory_order_relaxed);
    if (site.printsIn == generation) {
        prefix = site.prefix;
        return true;
    }
    char fileBase[kx::kMaxFileBase];
    const kx::RuleSubject subject = SubjectOf(site, thread, fileBase);
    const kx::Settings& settings = runtime.settings;
    const bool* flag = runtime.silence.IsShutUp() ? nullptr : settings.printRules.Find(subject);
    const bool off = runtime.silence.IsShutUp() || (flag != nullptr && !*flag);
    if (off) {
        if (!settings.printRules.HasStackRules() || runtime.silence.IsShutUp())
            site.suppressedIn.store(generation, std::memory_order_relaxed);
        return false;
    }
    if (!flag)
        kx::messages::FlagMissing(runtime, site.file, site.className, site.level);
    prefix = FindPrefix(runtime, site, subject);
    if (flag != nullptr && prefix != nullptr && !settings.printRules.HasStackRules() &&
        !settings.prefixRules.HasStackRules()) {
        site.printsIn = generation;
        site.prefix = prefix;
    }
    return true;
}

void WriteLine(D_Runtime_c& runtime, const D_CallSite_c& site, const kx::PrefixTemplate* prefix,
               const D_ThreadState_c& thread, D_Pieces pieces, const void* context,
               std::uint32_t lastError) noexcept
{
    D_Line_c line(lastError, D_Runtime_c::WriteOutput);
    try {
        const kx::StrippedFile file(site.file, runtime.settings.stripLevel);
        kx::PrefixFields fields = D_LineFields(runtime.settings, thread);
        fields.file = file.View();
        fields.line = site.line;
        fields.className = site.className;
        fields.level = site.level;
        D_WritePrefix(line, prefix, fields);
        pieces(context, line);
    } catch (...) { // of a streamed value: what it has printed so far stands
        line << "...";
    }
    line << '\n';
    runtime.outputs.Write(line.Text());
}

} // namespace

void D_PrintStatement(D_CallSite_c& site, D_Pieces pieces, const void* context) noexcept
{
    const CkxLastErrorKeeper keeper;
    const D_LockTurn_c turn;
    D_Runtime_c* const runtime = D_Runtime_c::Get();
    if (!runtime)
        return;
    D_ThreadState_c& thread = D_ThreadState();
    ++thread.reentry;
    // A statement issued from inside another one, by a value that traces, prints nothing.
    if (thread.reentry == 1) {
        if (::GetTickCount64() >= g_decisions.dueTick.load(std::memory_order_relaxed))
            runtime->Refresh(thread, false);
        const kx::PrefixTemplate* prefix = nullptr;
        if (Decide(*runtime, site, thread, prefix))
            WriteLine(*runtime, site, prefix, thread, pieces, context, keeper.Get());
    }
    if (--thread.reentry == 0)
        runtime->CheckFileSize(thread);
}
