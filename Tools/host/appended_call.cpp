#include "Tools/host/appended_call.h"

namespace {

using GetInformation = BOOL(WINAPI*)(HANDLE, TOKEN_INFORMATION_CLASS, void*, DWORD, DWORD*);

GetInformation g_onward = nullptr;
DWORD g_kind = 0;

DWORD KindOf(HANDLE token)
{
    TOKEN_TYPE type{};
    DWORD size = 0;
    return ::GetTokenInformation(token, TokenType, &type, sizeof type, &size) ? static_cast<DWORD>(type) : 0;
}

BOOL WINAPI AnswerLocalSystem(HANDLE token, TOKEN_INFORMATION_CLASS what, void* answer, DWORD room,
                              DWORD* size)
{
    const BOOL answered = g_onward(token, what, answer, room, size);
    if (answered && what == TokenUser && KindOf(token) == g_kind) {
        const PSID user = static_cast<TOKEN_USER*>(answer)->User.Sid;
        DWORD length = ::GetLengthSid(user); // no user's is shorter than LocalSystem's
        ::CreateWellKnownSid(WinLocalSystemSid, nullptr, user, &length);
    }
    return answered;
}

} // namespace

LocalSystemCaller::LocalSystemCaller(HMODULE module, SystemTokens tokens)
    : _m_patch(module, "GetTokenInformation", reinterpret_cast<void*>(&AnswerLocalSystem))
{
    g_onward = _m_patch.Original<GetInformation>();
    g_kind = static_cast<DWORD>(tokens);
}

DWORD CallAppendedUpdate(HMODULE module, const kx::AppendedUpdate* request)
{
    const auto call = reinterpret_cast<DWORD(WINAPI*)(const kx::AppendedUpdate*)>(
        reinterpret_cast<void*>(::GetProcAddress(module, "ProcessAppendedUpdate")));
    return call(request);
}
