#include "Common_CPP/trace/outputs.h"

#include "Common_CPP/trace/local_clock.h"
#include "Common_CPP/trace/time_tokens.h"
#include "Common_CPP/util/utf8.h"

#include <new>

namespace {

D_Outputs_c* g_outputs = nullptr; // no static destructor: what traces last must still find it

} // namespace

D_Outputs_c* D_Outputs_c::Get() noexcept
{
    if (!g_outputs)
        g_outputs = new (std::nothrow) D_Outputs_c;
    return g_outputs;
}

void D_Outputs_c::Destroy() noexcept
{
    delete g_outputs;
    g_outputs = nullptr;
}

void D_Outputs_c::Write(std::string_view text) noexcept
{
    if (_m_file.IsOpen())
        (void)_m_file.Write(text);
    else
        (void)_m_debugger.Write(text);
}

bool D_Outputs_c::SwitchToFile(std::string_view path)
{
    const std::string expanded = kx::ExpandFileTokens(path, ::GetCurrentProcessId(), D_ReadLocalClock());
    CString wide;
    return kx::Utf8ToWide(expanded, wide) && _m_file.Open(wide, false) == ERROR_SUCCESS;
}
