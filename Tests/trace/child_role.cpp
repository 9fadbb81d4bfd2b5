#include "Tests/trace/child_role.h"

#include <gmock/gmock.h>

namespace {

constexpr const wchar_t* kRoleVariable = L"KX_TEST_ROLE";
constexpr DWORD kTimeoutMs = 60000;

std::map<std::wstring, int (*)()>& Roles()
{
    static std::map<std::wstring, int (*)()> roles;
    return roles;
}

} // namespace

ChildRole::ChildRole(const wchar_t* name, int (*play)())
{
    Roles()[name] = play;
}

std::wstring ChildVariable(const wchar_t* name)
{
    wchar_t value[1024];
    const DWORD length = ::GetEnvironmentVariableW(name, value, ARRAYSIZE(value));
    return length < ARRAYSIZE(value) ? std::wstring(value, length) : std::wstring();
}

Child::Child(const std::wstring& role, const std::map<std::wstring, std::wstring>& variables)
{
    wchar_t program[1024];
    ::GetModuleFileNameW(nullptr, program, ARRAYSIZE(program));
    ::SetEnvironmentVariableW(kRoleVariable, role.c_str());
    for (const auto& [name, value] : variables)
        ::SetEnvironmentVariableW(name.c_str(), value.c_str());
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION made = {};
    if (::CreateProcessW(program, nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &made)) {
        _m_process.Reset(made.hProcess);
        ::CloseHandle(made.hThread);
    }
    for (const auto& [name, value] : variables)
        ::SetEnvironmentVariableW(name.c_str(), nullptr);
    ::SetEnvironmentVariableW(kRoleVariable, nullptr);
}

int Child::Wait() const
{
    DWORD code = 0;
    if (!_m_process || ::WaitForSingleObject(_m_process.Get(), kTimeoutMs) != WAIT_OBJECT_0 ||
        !::GetExitCodeProcess(_m_process.Get(), &code))
        return -1;
    return static_cast<int>(code);
}

int main(int argc, char** argv)
{
    if (const std::wstring role = ChildVariable(kRoleVariable); !role.empty()) {
        const auto found = Roles().find(role);
        return found == Roles().end() ? -1 : found->second();
    }
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
