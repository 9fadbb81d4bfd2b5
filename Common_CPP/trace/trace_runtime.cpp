#include "Common_CPP/trace/trace_runtime.h"

#include "Common_CPP/trace/call_site.h"
#include "Common_CPP/trace/config_file.h"
#include "Common_CPP/trace/directive_parser.h"
#include "Common_CPP/trace/line_reader.h"
#include "Common_CPP/trace/local_clock.h"
#include "Common_CPP/trace/rotation.h"
#include "Common_CPP/trace/rotation_plan.h"
#include "Common_CPP/trace/settings_dump.h"
#include "Common_CPP/trace/thread_state.h"

#include <algorithm>
#include <new>
#include <utility>

constinit D_Decisions_c g_decisions;

namespace {

D_Runtime_c* g_runtime = nullptr;
std::atomic<bool> g_stackTraced{false};

// A rotation that fails is tried again after so long, instead of at every line.
constexpr std::uint64_t kRotateAgainMs = 5000;

bool IsSameTime(const FILETIME& left, const FILETIME& right) noexcept
{
    return ::CompareFileTime(&left, &right) == 0;
}

// The library's first reading adds rules of its own; nobody asked for them, so nobody is told.
class QuietSink final : public kx::MessageSink {
  public:
    void Print(std::string_view /*text*/) noexcept override {}
};

bool WantsBuiltInRules() noexcept
{
    return ::GetEnvironmentVariableW(L"DLIB_NO_KX_DEFAULTS", nullptr, 0) == 0 &&
           ::GetLastError() == ERROR_ENVVAR_NOT_FOUND;
}

} // namespace

bool D_IsStackTraced() noexcept
{
    return g_stackTraced.load(std::memory_order_relaxed);
}

D_Runtime_c* D_Runtime_c::Get() noexcept
{
    if (!g_runtime)
        g_runtime = new (std::nothrow) D_Runtime_c;
    return g_runtime;
}

void D_Runtime_c::Destroy() noexcept
{
    delete std::exchange(g_runtime, nullptr);
}

void D_Runtime_c::WriteOutput(std::string_view text) noexcept
{
    if (D_Runtime_c* runtime = Get())
        runtime->outputs.Write(text);
}

void D_Runtime_c::Print(std::string_view text) noexcept
{
    if (!silence.IsSilent())
        outputs.Write(text);
}

void D_Runtime_c::Refresh(const D_ThreadState_c& thread, bool now) noexcept
{
    const std::uint64_t tick = ::GetTickCount64();
    _m_mustEmpty = silence.Refresh(tick) || _m_mustEmpty;
    if (!thread.noFileOperations) {
        if (std::exchange(_m_mustEmpty, false))
            _EmptyTraceFile();
        _RefreshConfig(now || !_m_everRead);
        const std::uint64_t configDue = _m_checkedAt + std::uint64_t{settings.refreshSeconds} * 1000;
        g_decisions.dueTick.store(std::min(configDue, silence.ReadAgainAt()), std::memory_order_relaxed);
    }
    Publish();
}

void D_Runtime_c::_EmptyTraceFile() noexcept
{
    filebuf& file = outputs.File();
    if (!file.IsOpen())
        return;
    try {
        (void)file.Reopen(true);
    } catch (...) {          // out of memory, as std::bad_alloc or as CAtlException
        _m_mustEmpty = true; // the next time
    }
}

void D_Runtime_c::_RefreshConfig(bool now) noexcept
{
    try {
        const std::uint64_t tick = ::GetTickCount64();
        if (!now && tick - _m_checkedAt < std::uint64_t{settings.refreshSeconds} * 1000)
            return;
        _m_checkedAt = tick;
        if (_m_configName.empty())
            _m_configName = D_DefaultConfigName();
        const FILETIME written = D_ConfigFileTime(_m_configName);
        if (!now && IsSameTime(written, _m_configTime))
            return;
        _m_configTime = written;
        _ReadConfig();
    } catch (...) {         // out of memory, as std::bad_alloc or as CAtlException
        _m_configTime = {}; // whatever is missing is read the next time
        kx::messages::OperatorNewFailed(*this);
    }
}

void D_Runtime_c::_ReadConfig()
{
    kx::ClearFileRules(settings, *this);
    _m_configText = D_ConfigNameText(_m_configName);
    std::string text;
    if (!IsSameTime(_m_configTime, FILETIME{}) && D_ReadConfigFile(_m_configName, text, *this))
        _ApplyFile(text);
    if (!std::exchange(_m_everRead, true) && WantsBuiltInRules()) {
        QuietSink quiet;
        kx::AddBuiltInRules(settings, quiet);
    }
}

void D_Runtime_c::_ApplyFile(std::string_view text)
{
    kx::messages::Separator(*this);
    kx::messages::ConfigurationFile(*this, D_ReadLocalClock(), _m_configText);
    kx::messages::ReadingConfiguration(*this, _m_configText);
    kx::LineReader lines(text);
    while (const auto line = lines.Next()) {
        if (line->isTooLong)
            kx::messages::IllegalLine(*this, _m_configText, line->text);
        else
            (void)Apply(line->text, line->number, true);
    }
    kx::messages::Separator(*this);
}

bool D_Runtime_c::Apply(std::string_view text, std::uint32_t line, bool maySwitchOutputs) noexcept
{
    const kx::ParseResult parsed = kx::ParseDirective(text, *this);
    if (parsed.outcome == kx::ParseOutcome::NotADirective)
        kx::messages::IllegalLine(*this, _m_configText, text);
    if (!parsed.directive)
        return false;
    try {
        const kx::OutputTask task = kx::Apply(settings, *parsed.directive, line, *this);
        if (!maySwitchOutputs && task != kx::OutputTask::None && task != kx::OutputTask::PrintDump)
            return false;
        return _PerformTask(task, *parsed.directive);
    } catch (...) { // out of memory, as std::bad_alloc or as CAtlException
        kx::messages::OperatorNewFailed(*this);
        return false;
    }
}

bool D_Runtime_c::_PerformTask(kx::OutputTask task, const kx::Directive& directive)
{
    switch (task) {
    case kx::OutputTask::None:
        break;
    case kx::OutputTask::SwitchStream:
        return outputs.SwitchToStream(std::get<kx::ToStream>(directive).name, true, *this);
    case kx::OutputTask::CopyToStream:
        return outputs.CopyTo(std::get<kx::ToAuxStream>(directive).name, *this);
    case kx::OutputTask::SwitchFile: {
        const auto& file = std::get<kx::ToFile>(directive);
        return outputs.SwitchToFile(file.path, file.truncate, true, *this);
    }
    case kx::OutputTask::PrintDump:
        kx::DumpSettings(settings, outputs.State(), *this);
        break;
    }
    return true;
}

void D_Runtime_c::SetConfigName(std::wstring_view name, const D_ThreadState_c& thread)
{
    if (thread.noFileOperations)
        return;
    _m_configName = name.substr(0, kMaxConfigName);
    Refresh(thread, true);
}

void D_Runtime_c::CheckFileSize(const D_ThreadState_c& thread) noexcept
{
    filebuf& file = outputs.File();
    if (thread.noFileOperations || silence.IsShutUp())
        return;
    if (outputs.HasLostFile())
        _OpenLostFile();
    if (!settings.rotation || !file.IsOpen())
        return;
    if (!kx::IsRotationDue(file.EstimatedSize(), settings.rotation) || ::GetTickCount64() < _m_rotateAgainAt)
        return;
    if (!D_RotateTraceFile(file, *settings.rotation))
        _m_rotateAgainAt = ::GetTickCount64() + kRotateAgainMs;
}

void D_Runtime_c::_OpenLostFile() noexcept
{
    if (::GetTickCount64() < _m_rotateAgainAt)
        return;
    _m_rotateAgainAt = ::GetTickCount64() + kRotateAgainMs;
    try {
        if (outputs.File().Reopen(false) == ERROR_SUCCESS)
            _m_rotateAgainAt = 0;
    } catch (...) { // out of memory: the next time
    }
}

void D_Runtime_c::Publish() noexcept
{
    g_stackTraced.store(settings.stackTrace.has_value() && !silence.IsShutUp(), std::memory_order_relaxed);
    const bool shutUp = silence.IsShutUp();
    if (settings.generation == _m_publishedSettings && shutUp == _m_publishedShutUp)
        return;
    _m_publishedSettings = settings.generation;
    _m_publishedShutUp = shutUp;
    g_decisions.generation.fetch_add(1, std::memory_order_relaxed);
}

const D_ScopeTemplates_c* D_Runtime_c::ScopeTemplates()
{
    if (!settings.stackTrace)
        return nullptr;
    if (!_m_scopeTemplates || _m_templatesOf != settings.generation) {
        _m_scopeTemplates.emplace(
            D_ScopeTemplates_c{kx::PrefixTemplate(settings.stackTrace->enter, kx::PrefixTokens::Scope),
                               kx::PrefixTemplate(settings.stackTrace->leave, kx::PrefixTokens::Scope)});
        _m_templatesOf = settings.generation;
    }
    return &*_m_scopeTemplates;
}
