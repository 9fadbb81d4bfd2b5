#include "Tools/host/extension_module.h"

DWORD CkxExtensionModule::Load(const wchar_t* path)
{
    _m_module.Reset(::LoadLibraryW(path));
    if (!_m_module)
        return ::GetLastError();
    _m_process = reinterpret_cast<PFNPROCESSGROUPPOLICYEX>(
        reinterpret_cast<void*>(::GetProcAddress(_m_module.Get(), "ProcessGroupPolicyEx")));
    return _m_process ? ERROR_SUCCESS : ::GetLastError();
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
