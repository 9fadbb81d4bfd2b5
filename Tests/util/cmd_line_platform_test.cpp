// The splitting rules against the system's own reader.
#include "Common_CPP/util/cmd_line.h"
#include "Common_CPP/util/unique_handle.h"

#include <gtest/gtest.h>

#include <shellapi.h>

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
