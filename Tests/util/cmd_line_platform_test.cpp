// The splitting rules against the system's own readers.
#include "Common_CPP/util/cmd_line.h"
#include "Common_CPP/util/unique_handle.h"
#include "Common_CPP/util/util.h"

#include <gtest/gtest.h>

#include <shellapi.h>

// The C runtime's own reading of this process's command line; no header declares it.
extern "C" __declspec(dllimport) int __wgetmainargs(int*, wchar_t***, wchar_t***, int, int*);

namespace {

using Strings = std::vector<std::wstring>;

Strings SystemSplit(const std::wstring& line)
{
    int count = 0;
    const CkxLocalMemory<LPWSTR> arguments(::CommandLineToArgvW(line.c_str(), &count));
    return {arguments.Get(), arguments.Get() + count};
}

const wchar_t* const c_arguments[] = {L"",       L" ",         L"a b",        L"\"", L"\\",
                                      L"\\\\\"", L"a\\\" b\\", L"\t\"\"\\\\", L"\n"};

constexpr const wchar_t* c_childMark = L"KX_CMD_LINE_CHILD";

/// Runs this test program again with `arguments` and yields its exit code.
DWORD RunChild(const std::wstring& arguments)
{
    CString program;
    EXPECT_TRUE(CkxUtil::GetModuleFile(program, nullptr));
    std::wstring line =
        L"\"" + std::wstring(program) + L"\" --gtest_filter=CmdLinePlatform.ReadsAsTheRuntime " + arguments;
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION made = {};
    if (!::CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                          &made))
        return ::GetLastError();
    const CkxHandle process(made.hProcess);
    const CkxHandle thread(made.hThread);
    DWORD code = 0;
    ::WaitForSingleObject(process.Get(), INFINITE);
    ::GetExitCodeProcess(process.Get(), &code);
    return code;
}

} // namespace

TEST(CmdLinePlatform, SystemSplitsWhatWasJoined)
{
    for (const wchar_t* first : c_arguments) {
        for (const wchar_t* second : c_arguments) {
            const Strings arguments{L"C:\\a b\\p.exe", first, second};
            std::wstring line;
            ASSERT_TRUE(CkxCmdLine::Join(arguments, line));
            EXPECT_EQ(SystemSplit(line), arguments) << line;
        }
    }
}

TEST(CmdLinePlatform, ReadsAsTheSystem)
{
    for (const wchar_t* line : {L"p a\" b \"c d", L"p a\\\\\\\"b a\\\\\"b c\"", L"p \"a b", L" a b",
                                L"\"p q\" r\t s ", L"\"p\\\" r", L"p a\"\"b c", L"p a\nb \"\""})
        EXPECT_EQ(CkxCmdLine::Split(line), SystemSplit(line)) << line;
}

TEST(CmdLinePlatform, ReadsAsTheRuntime)
{
    CString ignored;
    if (CkxUtil::GetEnvironment(c_childMark, ignored)) {
        int count = 0;
        wchar_t** arguments = nullptr;
        wchar_t** environment = nullptr;
        int startup = 0;
        __wgetmainargs(&count, &arguments, &environment, 0, &startup);
        EXPECT_EQ(CkxCmdLine::Split(::GetCommandLineW()), Strings(arguments, arguments + count));
        return;
    }
    ASSERT_TRUE(::SetEnvironmentVariableW(c_childMark, L"1"));
    std::wstring joined;
    for (const wchar_t* argument : c_arguments)
        ASSERT_TRUE(CkxCmdLine::AppendArgument(joined, argument));
    for (const std::wstring& line :
         {joined, std::wstring(L"a\" b \"c \\\\\\\"d e\\\\\"f g\" h\"\"i\tj \"k l")})
        EXPECT_EQ(RunChild(line), 0u) << line;
    ::SetEnvironmentVariableW(c_childMark, nullptr);
}
