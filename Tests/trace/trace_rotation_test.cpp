// Rotation of the trace file on a real disk: no line is lost, torn or doubled, whoever else has the file
// open.
#include "Tests/trace/trace_fixture.h"

#include <filesystem>

KXT_NO_CLASS;

namespace {

class Rotation : public TraceFixture {
  protected:
    void SetUp() override
    {
        TraceFixture::SetUp();
        _m_folder.Write(L"x.trace", "");
        ASSERT_TRUE(D_ToFile(TracePathText()));
        ASSERT_TRUE(D_Directive("to_new_file@" + TracePathText()));
    }

    /// Traces lines of 100 bytes, numbered on.
    void Say(int lines)
    {
        for (; lines > 0; --lines) {
            std::string text = "line " + std::to_string(_m_said++) + " ";
            text.resize(99, '.');
            KXT_OUT(KXT_ERROR, text);
        }
    }

    /// The numbers of the lines in a file, such as "3 4 5"; anything else in it by its first words.
    [[nodiscard]] std::string In(const wchar_t* name) const
    {
        std::string found;
        for (const std::string& line : Lines(ReadBytes(_m_folder / name))) {
            if (line.starts_with("D_Lib: output is") || line.starts_with("D_Lib: log file will") ||
                line.empty())
                continue;
            if (!found.empty())
                found += ' ';
            if (line.starts_with("line ") && line.size() == 99)
                found += line.substr(5, line.find(' ', 5) - 5);
            else
                found += "[" + line.substr(0, 40) + "]";
        }
        return found;
    }

    [[nodiscard]] std::vector<std::wstring> TraceFiles() const
    {
        std::vector<std::wstring> names;
        for (const auto& entry : std::filesystem::directory_iterator(_m_folder.Path()))
            if (entry.path().filename() != L"trace.cfg")
                names.push_back(entry.path().filename().wstring());
        std::sort(names.begin(), names.end());
        return names;
    }

    [[nodiscard]] CkxFileHandle Hold(const wchar_t* name, DWORD share) const
    {
        return CkxFileHandle(::CreateFileW((_m_folder / name).c_str(), GENERIC_READ, share, nullptr,
                                           OPEN_EXISTING, 0, nullptr));
    }

  private:
    int _m_said = 0;
};

using Names = std::vector<std::wstring>;

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr DWORD kShareNoDelete = FILE_SHARE_READ | FILE_SHARE_WRITE;

TEST_F(Rotation, KeepsAsManyOlderFilesAsAskedFor)
{
    ASSERT_TRUE(D_Directive("rotation@3@1000"));
    Say(9);
    EXPECT_EQ(TraceFiles(), (Names{L"x.trace", L"x.trace.1"}));
    const std::string first = Narrow(_m_folder / L"x.trace.1");
    EXPECT_TRUE(ReadBytes(TracePath()).starts_with("D_Lib: log file 2, continued after:\n" + first + "\n\n"));
    Say(41);
    EXPECT_EQ(TraceFiles(), (Names{L"x.trace", L"x.trace.1", L"x.trace.2", L"x.trace.3"}));
    // Every file ends with the line that made it outgrow the limit, and the next one goes on from there.
    std::string all;
    for (const wchar_t* name : {L"x.trace.3", L"x.trace.2", L"x.trace.1", L"x.trace"})
        all += ReadBytes(_m_folder / name);
    int next = -1;
    for (const std::string& line : Lines(all)) {
        if (!line.starts_with("line "))
            continue;
        const int number = std::stoi(line.substr(5));
        EXPECT_TRUE(next == -1 || number == next) << line;
        next = number + 1;
    }
    EXPECT_EQ(next, 50);
}

TEST_F(Rotation, CountNoughtEmptiesTheFileAlsoWhenSomebodyReadsIt)
{
    ASSERT_TRUE(D_Directive("rotation@0@500"));
    Say(57);
    EXPECT_EQ(TraceFiles(), Names{L"x.trace"});
    EXPECT_EQ(In(L"x.trace").find("[D_Lib"), std::string::npos) << "no header: nothing is continued";
    const CkxFileHandle reader = Hold(L"x.trace", kShareAll);
    ASSERT_TRUE(reader);
    Say(50);
    EXPECT_LE(ReadBytes(TracePath()).size(), 600U);
    EXPECT_EQ(TraceFiles().front(), L"x.trace");
}

TEST_F(Rotation, NamesFollowThePattern)
{
    SYSTEMTIME now;
    ::GetLocalTime(&now);
    ASSERT_TRUE(D_Directive("rotation@2@300@old_<%NUM>_<%YEAR>.log"));
    Say(40);
    const std::wstring year = L"_" + std::to_wstring(now.wYear) + L".log";
    EXPECT_EQ(TraceFiles(), (Names{L"old_1" + year, L"old_2" + year, L"x.trace"}));
}

TEST_F(Rotation, AReaderThatForbidsRenamingOnlyPutsItOff)
{
    TickJump clock;
    ASSERT_TRUE(D_Directive("rotation@3@500"));
    CkxFileHandle reader = Hold(L"x.trace", kShareNoDelete);
    ASSERT_TRUE(reader);
    Say(10);
    EXPECT_EQ(TraceFiles(), Names{L"x.trace"});
    EXPECT_EQ(In(L"x.trace"), "0 1 2 3 4 5 6 7 8 9");
    reader.Reset();
    Say(1);
    EXPECT_EQ(TraceFiles(), Names{L"x.trace"}) << "not at every line";
    clock.Forward(5000);
    Say(2);
    EXPECT_EQ(In(L"x.trace.1"), "0 1 2 3 4 5 6 7 8 9 10 11");
    EXPECT_TRUE(In(L"x.trace").ends_with(" 12"));
}

TEST_F(Rotation, AnOlderFileThatIsHeldLeavesEverythingInItsPlace)
{
    _m_folder.Write(L"x.trace.1", "older\n");
    const CkxFileHandle reader = Hold(L"x.trace.1", FILE_SHARE_READ);
    ASSERT_TRUE(reader);
    ASSERT_TRUE(D_Directive("rotation@3@500"));
    Say(10);
    EXPECT_EQ(In(L"x.trace"), "0 1 2 3 4 5 6 7 8 9");
    EXPECT_EQ(ReadBytes(_m_folder / L"x.trace.1"), "older\n");
}

TEST_F(Rotation, AFileThatSomebodyElseHasRotatedAwayIsLeftForTheNewOne)
{
    ASSERT_TRUE(D_Directive("rotation@3@500"));
    Say(2);
    ASSERT_TRUE(::MoveFileW(TracePath().c_str(), (_m_folder / L"moved").c_str()));
    _m_folder.Write(L"x.trace", "of somebody else\n");
    Say(10);
    EXPECT_EQ(In(L"moved"), "0 1 2 3");
    EXPECT_EQ(In(L"x.trace.1"), "[of somebody else] 4 5 6 7 8");
    EXPECT_TRUE(In(L"x.trace").ends_with(" 9 10 11"));
}

TEST_F(Rotation, APlantedSuccessorIsNotUsed)
{
    ASSERT_TRUE(D_Directive("rotation@3@500"));
    const std::wstring target = _m_folder.Write(L"target", "precious");
    ASSERT_TRUE(::MoveFileW(TracePath().c_str(), (_m_folder / L"moved").c_str()));
    ASSERT_TRUE(::CreateHardLinkW(TracePath().c_str(), target.c_str(), nullptr));
    Say(10);
    EXPECT_EQ(In(L"moved"), "0 1 2 3 4 5 6 7 8 9");
    EXPECT_EQ(ReadBytes(target), "precious");
}

TEST_F(Rotation, AThreadWithoutFileOperationsLeavesItToOthers)
{
    ASSERT_TRUE(D_Directive("rotation@1@500"));
    {
        const D_NoFileOperations_c noFiles;
        Say(10);
    }
    EXPECT_EQ(TraceFiles(), Names{L"x.trace"});
    Say(1);
    EXPECT_EQ(In(L"x.trace.1"), "0 1 2 3 4 5 6 7 8 9 10");
}

TEST_F(Rotation, ScopeLinesCountToo)
{
    ASSERT_TRUE(D_Directive("stacktrace@line 0 enter@line 0 leave"));
    ASSERT_TRUE(D_Directive("rotation@1@500"));
    for (int i = 0; i < 40; ++i)
        const D_Scope_c scope("x", nullptr);
    EXPECT_EQ(TraceFiles(), (Names{L"x.trace", L"x.trace.1"}));
}

} // namespace
