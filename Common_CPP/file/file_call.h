// How the file classes trace: every system call once, failed ones as errors, the others in detail.
#pragma once

#include "Common_CPP/atl/kx_atl.h"
#include "Common_CPP/trace/trace.h"

#include <cstdint>

namespace kx {

/// The level of lines about calls that went well.
inline constexpr std::uint32_t c_fileDetail = 610;

/// What a system call was given.
struct FileCall {
    const char* name;
    const CString& path;
    const wchar_t* target = nullptr; ///< the second path of a call that has two
};

/// Traces how a call ended and returns its Windows error. REQUIRES: directly after the call, since the reason
/// is the last error.
inline DWORD EndFileCall(D_CallSite_c site, bool succeeded, const FileCall& call) noexcept
{
    const DWORD error = succeeded ? static_cast<DWORD>(ERROR_SUCCESS) : ::GetLastError();
    if (succeeded)
        site.level = c_fileDetail;
    D_Print(site, [&](D_Line_c& line) {
        line << (succeeded ? "" : "ERROR: ") << call.name << '(' << call.path;
        if (call.target != nullptr)
            line << ", " << call.target;
        if (succeeded)
            line << ')';
        else
            line << ") failed. LastError=" << error;
    });
    return error;
}

} // namespace kx

/// Makes a call that is true on success, traces it and yields its Windows error: the arguments after it
/// are those of kx::FileCall.
#define KX_FILE_CALL(succeeded, ...)                                                                         \
    kx::EndFileCall(D_CallSite_c{__FILE__, __LINE__, kxTraceClass, KXT_ERROR}, (succeeded),                  \
                    kx::FileCall{__VA_ARGS__})
