// Where lines go: streams, copies, files, and what must not be written to.
#include "Tests/trace/trace_fixture.h"

#include <filesystem>

KXT_NO_CLASS;

namespace {

class Outputs : public TraceFixture {
  protected:
    void Say(std::string_view text) { KXT_OUT(KXT_ERROR, text); }
};

// Standard output or error led into a file, for a scope.
class LedAway {
  public:
    LedAway(DWORD which, const std::wstring& path)
        : _m_which(which),
          _m_before(::GetStdHandle(which)),
          _m_file(
              ::CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, 0, nullptr))
    {
        ::SetStdHandle(which, _m_file.Get());
    }

    ~LedAway() { ::SetStdHandle(_m_which, _m_before); }

    LedAway(const LedAway&) = delete;
    LedAway& operator=(const LedAway&) = delete;

  private:
    DWORD _m_which;
    HANDLE _m_before;
    CkxFileHandle _m_file;
};

std::string g_debugger;

void WINAPI DebuggerOutput(const char* text)
{
    g_debugger += text;
    ::SetLastError(1);
}

TEST_F(Outputs, StreamsTakeWhatIsPrintedAndAnnounceThemselves)
{
    const LedAway out(STD_OUTPUT_HANDLE, _m_folder / L"out");
    const LedAway err(STD_ERROR_HANDLE, _m_folder / L"err");
    const PatchedImport debugger("OutputDebugStringA", reinterpret_cast<void*>(&DebuggerOutput));
    g_debugger.clear();
    EXPECT_TRUE(D_ToStream("out", true));
    Say("1");
    EXPECT_TRUE(D_ToStream("err", true));
    Say("2");
    EXPECT_TRUE(D_Directive("to_stream@dbg"));
    Say("3");
    EXPECT_FALSE(D_ToStream("file", true));
    Say("4");
    EXPECT_EQ(ReadBytes(_m_folder / L"out"), "D_Lib: output is switched to stdout\n1\n");
    EXPECT_EQ(ReadBytes(_m_folder / L"err"), "D_Lib: output is switched to stderr\n2\n");
    EXPECT_EQ(g_debugger, "D_Lib: output is switched to stddbg\n3\n"
                          "D_Lib: attempt to switch output to illegal stream [file]\n4\n");
    EXPECT_EQ(Take(), "");
}

TEST_F(Outputs, ACopyFollowsEverySwitchUntilItEnds)
{
    const LedAway err(STD_ERROR_HANDLE, _m_folder / L"err");
    const LedAway out(STD_OUTPUT_HANDLE, _m_folder / L"out");
    EXPECT_TRUE(D_Directive("to_aux_stream@err"));
    Say("1");
    EXPECT_TRUE(D_ToFile(TracePathText()));
    Say("2");
    EXPECT_FALSE(D_ToAuxStream("nonsense"));
    EXPECT_TRUE(D_ToStream("out", true));
    EXPECT_TRUE(D_ToStream("out", false));
    Say("3");
    const std::string copied = "D_Lib: output is copied to stderr\n1\n";
    const std::string toFile = "D_Lib: output is switched to file " + TracePathText() +
                               " (keeping aux output)\n2\n"
                               "D_Lib: attempt to copy output to illegal stream [nonsense]\n";
    const std::string toOut = "D_Lib: output is switched to stdout (keeping aux output)\n";
    EXPECT_EQ(Take(), copied);
    EXPECT_EQ(ReadBytes(TracePath()), toFile);
    EXPECT_EQ(ReadBytes(_m_folder / L"err"), copied + toFile + toOut);
    EXPECT_EQ(ReadBytes(_m_folder / L"out"), toOut + "D_Lib: output is switched to stdout\n3\n");
}

TEST_F(Outputs, AFileIsContinuedOrBegunAnew)
{
    const std::string said = "D_Lib: output is switched to file " + TracePathText() + "\n";
    _m_folder.Write(L"x.trace", "old\n");
    EXPECT_TRUE(D_ToFile(TracePathText()));
    D_ToGeneric(nullptr, nullptr); // a sink that is not the output
    Say("1");
    EXPECT_EQ(ReadBytes(TracePath()), "old\n" + said + "1\n");
    EXPECT_TRUE(D_Directive("to_new_file@" + TracePathText()));
    Say("2");
    EXPECT_EQ(ReadBytes(TracePath()), said + "2\n");
}

TEST_F(Outputs, TokensInAFileNameAreReplacedAndAnyNameWillDo)
{
    const std::wstring begin = L"\u0434\u4E2D \U0001F600@";
    ASSERT_TRUE(D_Directive("to_file@" + Narrow(_m_folder / (begin + L"<%PID>_<%YEAR>-<%MSEC>.trace"))));
    SYSTEMTIME now;
    ::GetLocalTime(&now);
    const std::wstring front =
        begin + std::to_wstring(::GetCurrentProcessId()) + L"_" + std::to_wstring(now.wYear) + L"-";
    int found = 0;
    for (const auto& entry : std::filesystem::directory_iterator(_m_folder.Path())) {
        const std::wstring name = entry.path().filename().wstring();
        found += name.starts_with(front) && name.ends_with(L".trace") &&
                 name.size() == front.size() + std::wcslen(L"000.trace") &&
                 !ReadBytes(entry.path().wstring()).empty();
    }
    EXPECT_EQ(found, 1);
}

TEST_F(Outputs, APlantedFileIsNotWrittenTo)
{
    const std::wstring target = _m_folder.Write(L"target", "precious");
    ASSERT_TRUE(::CreateHardLinkW(TracePath().c_str(), target.c_str(), nullptr));
    EXPECT_FALSE(D_ToFile(TracePathText()));
    EXPECT_EQ(Take(), "D_Lib: cannot open output file [" + TracePathText() + "]\n");
    Say("goes on");
    EXPECT_EQ(Take(), "goes on\n") << "the previous output stays";
    EXPECT_EQ(ReadBytes(target), "precious");
    EXPECT_TRUE(D_Directive("to_new_file@" + TracePathText()))
        << "emptying removes the name, not the content";
    EXPECT_EQ(ReadBytes(target), "precious");
}

DWORD g_plantedAttributes = 0;

BOOL WINAPI FactsOfAPlantedFile(HANDLE file, BY_HANDLE_FILE_INFORMATION* facts)
{
    const BOOL done = ImportHook<&FactsOfAPlantedFile>::Original(file, facts);
    facts->dwFileAttributes |= g_plantedAttributes;
    return done;
}

DWORD g_openFlags = 0;
bool g_refuseTrace = false;

HANDLE WINAPI WatchedCreate(LPCWSTR name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security, DWORD how,
                            DWORD flags, HANDLE model)
{
    const bool isTrace = std::wstring_view(name).ends_with(L".trace");
    g_openFlags = isTrace ? flags : g_openFlags;
    if (!g_refuseTrace || !isTrace)
        return ImportHook<&WatchedCreate>::Original(name, access, share, security, how, flags, model);
    ::SetLastError(ERROR_ACCESS_DENIED); // as of a deleted file that somebody else still holds open
    return INVALID_HANDLE_VALUE;
}

// The system under test may know no reparse points of files, so the answers about one are made up.
TEST_F(Outputs, AReparsePointIsOpenedAsItselfAndRefused)
{
    const ImportHook<&WatchedCreate> create("CreateFileW");
    const ImportHook<&FactsOfAPlantedFile> facts("GetFileInformationByHandle");
    g_plantedAttributes = FILE_ATTRIBUTE_REPARSE_POINT;
    EXPECT_FALSE(D_ToFile(TracePathText()));
    g_plantedAttributes = 0;
    EXPECT_TRUE(g_openFlags & FILE_FLAG_OPEN_REPARSE_POINT);
    EXPECT_TRUE(D_ToFile(TracePathText()));
}

bool g_diskFull = false;

BOOL WINAPI WriteWhereThereIsRoom(HANDLE file, LPCVOID bytes, DWORD size, DWORD* written,
                                  OVERLAPPED* overlapped)
{
    if (!g_diskFull)
        return ImportHook<&WriteWhereThereIsRoom>::Original(file, bytes, size, written, overlapped);
    *written = 0;
    ::SetLastError(ERROR_DISK_FULL);
    return FALSE;
}

TEST_F(Outputs, AFullDiskCostsTheLinesUntilThereIsRoomAgain)
{
    ASSERT_TRUE(D_ToFile(TracePathText()));
    const ImportHook<&WriteWhereThereIsRoom> write("WriteFile");
    g_diskFull = true;
    ::SetLastError(0x12345678);
    Say("lost");
    EXPECT_EQ(::GetLastError(), 0x12345678U);
    g_diskFull = false;
    Say("kept");
    EXPECT_EQ(Lines(ReadBytes(TracePath())).back(), "kept");
    EXPECT_EQ(ReadBytes(TracePath()).find("lost"), std::string::npos);
}

TEST_F(Outputs, AFolderThatVanishesIsSurvived)
{
    const std::wstring folder = _m_folder / L"gone";
    ::CreateDirectoryW(folder.c_str(), nullptr);
    ASSERT_TRUE(D_ToFile(Narrow(folder + L"\\x.trace")));
    D_Directive("rotation@2@100"); // outgrown already by what announced the file
    ASSERT_TRUE(::MoveFileW(folder.c_str(), (_m_folder / L"elsewhere").c_str()));
    Say("1");
    Say("2");
    EXPECT_TRUE(ReadBytes(_m_folder / L"elsewhere\\x.trace").ends_with("\n1\n2\n"));
    ::CreateDirectoryW(folder.c_str(), nullptr);
    TickJump clock;
    clock.Forward(60000);
    Say("3");
    Say("4");
    EXPECT_TRUE(ReadBytes(folder + L"\\x.trace").ends_with("4\n")) << "the check after 3 puts it there";
}

TEST_F(Outputs, AFileThatCannotBeOpenedAfterEmptyingIsTriedAgain)
{
    const ImportHook<&WatchedCreate> create("CreateFileW");
    TickJump clock;
    ASSERT_TRUE(D_ToFile(TracePathText()));
    D_Directive("rotation@0@1");
    g_refuseTrace = true;
    Say("1");
    Say("2");
    g_refuseTrace = false;
    clock.Forward(10000);
    Say("3");
    D_Directive("rotation@off");
    Say("4");
    EXPECT_EQ(Lines(ReadBytes(TracePath())).back(), "4");
}

} // namespace
