// The program as a process: arguments in, exit code and what it printed or saved out.
#pragma once

#include "Common_CPP/util/cmd_line.h"
#include "Common_CPP/util/unique_handle.h"
#include "Tests/support/temp_folder.h"
#include "Tools/kx_gpsim/run_json.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace kx_test {

inline constexpr const wchar_t* kProgram = KX_STAGE L"\\kx_gpsim.exe";
inline constexpr const wchar_t* kGpoA = L"{00000000-0000-0000-0000-00000000000A}";
inline constexpr const wchar_t* kGpoB = L"{00000000-0000-0000-0000-00000000000B}";
inline constexpr const wchar_t* kExtension = L"{5B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54A}";
inline constexpr DWORD kPatienceMs = 60000;

/// Starts the program in a folder of its own, which holds the GPOs that a test writes.
class Command : public testing::Test {
  protected:
    /// Starts the program and waits for its end; gives the exit code. What it printed is in _m_output and
    /// _m_errors.
    int Run(std::vector<std::wstring> arguments) { return Finish(Start(std::move(arguments))); }

    /// A process of the program, and where it prints.
    struct Started {
        CkxHandle process;
        std::wstring output;
        std::wstring errors;
    };

    Started Start(std::vector<std::wstring> arguments)
    {
        const std::wstring number = std::to_wstring(++_m_started);
        Started started{{}, _m_folder / (L"output" + number), _m_folder / (L"errors" + number)};
        arguments.insert(arguments.begin(), kProgram);
        std::wstring line;
        EXPECT_TRUE(CkxCmdLine::Join(arguments, line));
        SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
        const auto create = [&](const std::wstring& path) {
            return CkxFileHandle(::CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited,
                                               CREATE_ALWAYS, 0, nullptr));
        };
        const CkxFileHandle output = create(started.output);
        const CkxFileHandle errors = create(started.errors);
        STARTUPINFOW start{};
        start.cb = sizeof start;
        start.dwFlags = STARTF_USESTDHANDLES;
        start.hStdOutput = output.Get();
        start.hStdError = errors.Get();
        PROCESS_INFORMATION process{};
        EXPECT_TRUE(::CreateProcessW(kProgram, line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                     _m_folder.Path().c_str(), &start, &process))
            << ::GetLastError();
        const CkxHandle thread(process.hThread);
        started.process.Reset(process.hProcess);
        return started;
    }

    int Finish(const Started& started)
    {
        EXPECT_EQ(::WaitForSingleObject(started.process.Get(), kPatienceMs), WAIT_OBJECT_0);
        DWORD code = 0;
        ::GetExitCodeProcess(started.process.Get(), &code);
        _m_output = ReadBytes(started.output);
        _m_errors = ReadBytes(started.errors);
        return static_cast<int>(code);
    }

    /// The run that the program saved as run.json.
    [[nodiscard]] kx::RunResult Saved() const
    {
        return kx::ParseRun(ReadBytes(_m_folder / L"run.json"), "run");
    }

    /// Writes a file of a GPO's scope; gives the GPO's folder.
    std::wstring Write(const wchar_t* gpo, const wchar_t* scope, const wchar_t* file,
                       std::string_view text) const
    {
        const std::wstring folder = std::wstring(L"gpos\\") + gpo;
        _m_folder.Write(folder + L"\\" + scope + L"\\" + kExtension + L"\\" + file, text);
        return _m_folder / folder;
    }

    std::wstring WritePolicy(const wchar_t* gpo, const wchar_t* scope) const
    {
        return Write(gpo, scope, L"Policies.xml",
                     "<P version='5'><Policy name='p' gpid='{9}' action='1' order='9'/></P>");
    }

    TempFolder _m_folder;
    std::string _m_output;
    std::string _m_errors;
    int _m_started = 0;
};

} // namespace kx_test
