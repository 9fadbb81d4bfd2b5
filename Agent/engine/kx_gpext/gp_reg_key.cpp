#include "Agent/engine/kx_gpext/gp_reg_key.h"

namespace {

// Not every system has the transacted functions, and an import of them would keep the module from loading.
template <class Function>
Function FindInAdvapi(const char* name) noexcept
{
    const HMODULE advapi = ::GetModuleHandleW(L"Advapi32.dll");
    return advapi ? reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(advapi, name)))
                  : nullptr;
}

} // namespace

LSTATUS CkxGpRegKey::Open(HKEY parent, const wchar_t* path, REGSAM access) noexcept
{
    if (!_m_transaction)
        return _m_mayGoWithout ? CkxRegKey::Open(parent, path, access) : ERROR_INVALID_FUNCTION;
    const auto open = FindInAdvapi<decltype(&::RegOpenKeyTransactedW)>("RegOpenKeyTransactedW");
    if (!open)
        return ERROR_INVALID_FUNCTION;
    CkxRegKeyHandle opened;
    const LSTATUS status = open(parent, path, 0, access, opened.Put(), _m_transaction, nullptr);
    if (status == ERROR_SUCCESS)
        Attach(std::move(opened));
    return status;
}

LSTATUS CkxGpRegKey::Create(HKEY parent, const wchar_t* path, REGSAM access) noexcept
{
    if (!_m_transaction)
        return _m_mayGoWithout ? CkxRegKey::Create(parent, path, access) : ERROR_INVALID_FUNCTION;
    const auto create = FindInAdvapi<decltype(&::RegCreateKeyTransactedW)>("RegCreateKeyTransactedW");
    if (!create)
        return ERROR_INVALID_FUNCTION;
    CkxRegKeyHandle created;
    const LSTATUS status = create(parent, path, 0, nullptr, REG_OPTION_NON_VOLATILE, access, nullptr,
                                  created.Put(), nullptr, _m_transaction, nullptr);
    if (status == ERROR_SUCCESS)
        Attach(std::move(created));
    return status;
}
