#pragma once

#include "Common_CPP/atl/kx_atl.h"
#include "Common_CPP/trace/trace.h"

#include <new>

/// Runs the body of an exported function; nothing that it throws reaches the caller. Running out of memory
/// gives 14 (ERROR_OUTOFMEMORY), anything else 1359 (ERROR_INTERNAL_ERROR); both are traced.
template <class Body>
[[nodiscard]] DWORD GuardExport(const Body& body) noexcept
{
    constexpr const char* kxTraceClass = nullptr;
    DWORD error = ERROR_INTERNAL_ERROR;
    try {
        return body();
    } catch (const std::bad_alloc&) {
        error = ERROR_OUTOFMEMORY;
    } catch (const CAtlException& exception) {
        if (exception.m_hr == E_OUTOFMEMORY || exception.m_hr == HRESULT_FROM_WIN32(ERROR_NOT_ENOUGH_MEMORY))
            error = ERROR_OUTOFMEMORY;
    } catch (...) { // nothing is known of it
    }
    KXT_OUT(KXT_ERROR, "ERROR: The call ended in an exception. Error=" << error);
    return error;
}
