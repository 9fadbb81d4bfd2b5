// Many threads and processes, and what is kept for each thread.
#include "Tests/trace/child_role.h"
#include "Tests/trace/trace_fixture.h"

#include <filesystem>
#include <functional>
#include <map>
#include <thread>

KXT_CLASS("CkxThreads");

namespace {

class Threads : public TraceFixture {};

void SayLine(const char* who, int number)
{
    KXT_SCOPE("SayLine");
    KXT_OUT(KXT_INFO, who << " line " << number << " of many ");
    KXT_OUT(KXT_TRACE, "suppressed");
}

TEST_F(Threads, HaveTheirOwnNameDepthAndStack)
{
    ConfigureQuietly("indent@.@\nprefix@file@@all@<%TNAME>/<%STACK>/<%INDENT>/\n");
    const auto say = [] { KXT_OUT(KXT_INFO, "x"); };
    KXT_SCOPE("main");
    D_SetThreadName("first");
    say();
    std::string id;
    OnThread([&] {
        say();
        id = std::to_string(::GetCurrentThreadId());
        D_SetThreadName("a name of more than thirty-two characters");
        KXT_SCOPE("other");
        KXT_SCOPE("inner");
        say();
        D_SetThreadName("");
        say();
    });
    say();
    EXPECT_EQ(Take(), "first/main/./ x\n" + id + "/<no stack name>// x\n" +
                          "a name of more than thirty-two c/inner/../ x\n" + id + "/inner/../ x\n" +
                          "first/main/./ x\n");
}

TEST_F(Threads, WithoutFileOperationsForGoodSaySoOnce)
{
    OnThread([] {}); // ends without having traced, which is no trouble
    OnThread([&] {
        D_NoFileOperations();
        EXPECT_EQ(Take(), "D_Lib: no file operations (delete/create/etc.) in thread " +
                              std::to_string(::GetCurrentThreadId()) + "\n");
        {
            const D_NoFileOperations_c quiet;
        }
        EXPECT_FALSE(D_ToFile(TracePathText()));
    });
    EXPECT_TRUE(D_ToFile(TracePathText())) << "another thread may";
}

// --- Lines of many processes. Those of many threads are looked at where many refreshes run at once.

constexpr int kEachProcess = 2000;

/// Windows appends in one step. Wine asks for the size and then writes there, so that two processes that
/// append at the same moment overwrite each other, whoever they are; there, they take turns.
class Turn {
  public:
    Turn()
    {
        if (::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version"))
            _m_mutex.Reset(::CreateMutexW(nullptr, FALSE, L"kx_trace_thread_test"));
    }

    void Take() const
    {
        if (_m_mutex)
            ::WaitForSingleObject(_m_mutex.Get(), INFINITE);
    }

    void Give() const
    {
        if (_m_mutex)
            ::ReleaseMutex(_m_mutex.Get());
    }

  private:
    CkxHandle _m_mutex;
};

int PlayWriter()
{
    const std::string who = Narrow(ChildVariable(L"KX_TEST_WHO"));
    const ULONGLONG start = std::stoull(ChildVariable(L"KX_TEST_START"));
    if (!D_ToFile(Narrow(ChildVariable(L"KX_TEST_TRACE"))))
        return 1;
    while (::GetTickCount64() < start) // both at once
        ::Sleep(1);
    const Turn turn;
    for (int i = 0; i < kEachProcess; ++i) {
        turn.Take();
        SayLine(who.c_str(), i);
        turn.Give();
    }
    return 0;
}

const ChildRole c_writer(L"writer", &PlayWriter);

class Processes : public Threads, public testing::WithParamInterface<const char*> {};

TEST_P(Processes, ThatShareAFileLoseNoLine)
{
    const std::wstring config = _m_folder.Write(
        L"shared.cfg", std::string("prefix@file@@all@\nprint@file@@400@off\n") + GetParam() + "\n");
    std::map<std::wstring, std::wstring> variables = {
        {L"KX_TEST_TRACE", TracePath()}, {L"DLIB_CONFIG", config}, {L"DLIB_SILENCE", L"1"}};
    variables[L"KX_TEST_START"] = std::to_wstring(::GetTickCount64() + 500);
    variables[L"KX_TEST_WHO"] = L"A";
    const Child first(L"writer", variables);
    variables[L"KX_TEST_WHO"] = L"B";
    const Child second(L"writer", variables);
    ASSERT_EQ(first.Wait(), 0);
    ASSERT_EQ(second.Wait(), 0);
    // Which file a line is in depends on who rotates; together they hold each line once.
    std::map<std::string, int> seen;
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(_m_folder.Path())) {
        if (!entry.path().filename().wstring().starts_with(L"x.trace"))
            continue;
        ++files;
        for (const std::string& line : Lines(ReadBytes(entry.path().wstring())))
            if (!line.empty() && !line.starts_with("D_Lib: log file ") && !line.starts_with("C:\\"))
                ++seen[line];
    }
    EXPECT_EQ(files > 5, GetParam()[0] != '\0') << files;
    EXPECT_EQ(seen.size(), 2U * kEachProcess);
    for (const char* who : {"A", "B"})
        for (int i = 0; i < kEachProcess; ++i)
            EXPECT_EQ(seen[std::string(who) + " line " + std::to_string(i) + " of many "], 1) << who << i;
}

INSTANTIATE_TEST_SUITE_P(Plain, Processes, testing::Values(""));
INSTANTIATE_TEST_SUITE_P(Rotating, Processes, testing::Values("rotation@1000@2000"));

// --- Thread-local storage that is not to be had.

DWORD WINAPI NoSlot()
{
    return TLS_OUT_OF_INDEXES;
}

int PlayWithoutSlots()
{
    const PatchedImport patch("TlsAlloc", reinterpret_cast<void*>(&NoSlot));
    if (!D_ToFile(Narrow(ChildVariable(L"KX_TEST_TRACE"))))
        return 1;
    const auto write = [] {
        for (int i = 0; i < 500; ++i)
            SayLine("T", i);
    };
    std::thread other(write);
    write();
    other.join();
    return 0;
}

const ChildRole c_withoutSlots(L"without slots", &PlayWithoutSlots);

TEST_F(Threads, ShareARecordWhereThereAreNoSlots)
{
    const std::wstring config =
        _m_folder.Write(L"slots.cfg", "prefix@file@@all@\nprint@file@@400@off\nto_file@" + TracePathText());
    ASSERT_EQ(Child(L"without slots", {{L"KX_TEST_TRACE", TracePath()}, {L"DLIB_CONFIG", config}}).Wait(), 0);
    int lines = 0;
    for (const std::string& line : Lines(ReadBytes(TracePath())))
        lines += line.starts_with("T line ");
    EXPECT_EQ(lines, 1000);
}

} // namespace
