#include "Tools/host/extension_module.h"

namespace {

template <class Function>
bool Find(HMODULE module, const char* name, Function& function)
{
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(module, name)));
    return function != nullptr;
}

} // namespace

DWORD CkxExtensionModule::Load(const wchar_t* path)
{
    _m_module.Reset(::LoadLibraryW(path));
    const bool whole = _m_module && Find(_m_module.Get(), "ProcessGroupPolicyEx", _m_process) &&
                       Find(_m_module.Get(), "GenerateGroupPolicy", _m_generate);
    return whole ? static_cast<DWORD>(ERROR_SUCCESS) : ::GetLastError();
}

CkxHandle MakeUserToken()
{
    CkxHandle process;
    CkxHandle user;
    if (::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY | TOKEN_DUPLICATE, process.Put()))
        (void)::DuplicateTokenEx(process.Get(), TOKEN_QUERY | TOKEN_IMPERSONATE | TOKEN_DUPLICATE, nullptr,
                                 SecurityImpersonation, TokenImpersonation, user.Put());
    return user;
}
