#include "Common_CPP/trace/outputs.h"

#include "Common_CPP/trace/default_output.h"
#include "Common_CPP/trace/local_clock.h"
#include "Common_CPP/trace/time_tokens.h"
#include "Common_CPP/util/utf8.h"

namespace {

constexpr std::string_view kFileName = "file";
constexpr std::string_view kGenericName = "generic";

} // namespace

D_Outputs_c::D_Outputs_c() noexcept
{
    _Use(_FindStream(D_IsConsoleProgram() ? "err" : "dbg"), false);
}

void D_Outputs_c::Write(std::string_view text) noexcept
{
    (void)(_m_aux.buffer ? _m_tee.Buf().Write(text) : _m_main.buffer->Write(text));
}

D_Outputs_c::Named D_Outputs_c::_FindStream(std::string_view name) noexcept
{
    const Named streams[] = {{"out", &_m_out}, {"err", &_m_err}, {"dbg", &_m_debugger.Buf()}};
    for (const Named& stream : streams)
        if (stream.name == name)
            return stream;
    return {};
}

void D_Outputs_c::_Use(const Named& main, bool keepAux) noexcept
{
    _m_main = main;
    if (!keepAux)
        _m_aux = {};
    if (main.name != kFileName)
        File().Close();
    _Connect();
}

void D_Outputs_c::_Connect() noexcept
{
    _m_tee.Buf().Connect(_m_main.buffer, _m_aux.buffer);
}

bool D_Outputs_c::SwitchToStream(std::string_view name, bool keepAux, kx::MessageSink& sink) noexcept
{
    const Named stream = _FindStream(name);
    if (!stream.buffer) {
        kx::messages::IllegalStream(sink, name);
        return false;
    }
    _Use(stream, keepAux);
    kx::messages::OutputSwitched(sink, name, _m_aux.buffer != nullptr);
    return true;
}

bool D_Outputs_c::CopyTo(std::string_view name, kx::MessageSink& sink) noexcept
{
    const Named stream = _FindStream(name);
    if (!stream.buffer) {
        kx::messages::IllegalAuxStream(sink, name);
        return false;
    }
    _m_aux = stream;
    _Connect();
    if (!_m_tee.Buf().IsWhole())
        kx::messages::IllegalTeeBuffer(sink);
    kx::messages::OutputCopied(sink, name);
    return true;
}

void D_Outputs_c::SwitchToGeneric(D_GenericSink sink, void* context) noexcept
{
    _m_generic.Buf().Register(sink, context);
    if (!sink && _m_main.name != kGenericName)
        return;
    _Use(sink ? Named{kGenericName, &_m_generic.Buf()} : _FindStream(D_IsConsoleProgram() ? "err" : "dbg"),
         true);
}

bool D_Outputs_c::SwitchToFile(std::string_view path, bool truncate, bool keepAux, kx::MessageSink& sink)
{
    std::string asked(path);
    CString wide;
    const std::string expanded = kx::ExpandFileTokens(path, ::GetCurrentProcessId(), D_ReadLocalClock());
    if (!kx::Utf8ToWide(expanded, wide) || File().Open(wide, truncate) != ERROR_SUCCESS) {
        kx::messages::CannotOpenOutputFile(sink, expanded);
        return false;
    }
    _m_filePath = std::move(asked);
    _Use({kFileName, &File()}, keepAux);
    kx::messages::OutputSwitchedToFile(sink, expanded, _m_aux.buffer != nullptr);
    return true;
}

kx::OutputState D_Outputs_c::State() const noexcept
{
    kx::OutputState state;
    if (_m_main.name == kFileName)
        state.filePath = _m_filePath;
    else if (_m_main.name != kGenericName)
        state.stream = _m_main.name;
    state.auxStream = _m_aux.name;
    return state;
}
