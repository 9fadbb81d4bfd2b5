#pragma once

#include "Common_CPP/atl/kx_atl.h"
#include "Common_CPP/trace/trace.h"

#include <new>

/// Runs one step of the RSoP logging, which answers an HRESULT. What it throws is traced and ends here: a
/// refresh goes on without its log. E_OUTOFMEMORY for exhausted memory.
template <class Step>
HRESULT GuardLogging(const Step& step) noexcept
{
    constexpr const char* kxTraceClass = "CkxRsopLog";
    HRESULT hr = E_UNEXPECTED;
    try {
        return step();
    } catch (const CAtlException& exception) {
        hr = exception.m_hr;
    } catch (const std::bad_alloc&) {
        hr = E_OUTOFMEMORY;
    } catch (...) { // nothing is known of it
    }
    KXT_OUT(KXT_ERROR, "ERROR: RSoP logging ended in an exception. hr=" << hr);
    return hr;
}
