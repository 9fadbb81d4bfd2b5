// The way to the agent, over real pipes, events and mutexes under their real names.
#include "Agent/engine/kx_gpext/gp_pipe.h"
#include "Tests/kx_gpext/pipe_calls.h"
#include "Tests/trace/child_role.h"
#include "Tests/trace/trace_fixture.h"
#include "Tools/host/agent_listener.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <future>
#include <set>
#include <thread>

namespace {

constexpr const wchar_t* kMutexName = L"Global\\KxGpPipeInUseMutex";
constexpr const wchar_t* kEventName = L"Global\\KxGroupPolicyUpdate";
constexpr const wchar_t* kPipeName = L"\\\\.\\pipe\\KxGroupPolicyUpdate";

constexpr DWORD kRoom = 4096;
constexpr auto kNull = static_cast<std::size_t>(-1);
constexpr const char* kTurn = "turn(ffffffff,0) ";
const std::string kOpen = "instance(10000) open(20002,0,0,3,40000000,0) ";

CComBSTR Document(std::size_t units)
{
    std::wstring text(units, L'\0');
    for (std::size_t i = 0; i < units; ++i)
        text[i] = static_cast<wchar_t>(i * 7 + i / 65536); // NUL and lone surrogates included
    return {static_cast<int>(units), text.data()};
}

// What must arrive, byte for byte.
std::string MessageOf(const CComBSTR& document)
{
    const std::size_t size = document.Length() * sizeof(wchar_t);
    std::string message;
    for (unsigned shift = 0; shift < 32; shift += 8)
        message += static_cast<char>((size + 2) >> shift);
    return message.append(reinterpret_cast<const char*>(document.m_str), size).append(2, '\0');
}

CkxFileHandle OpenPipe()
{
    return CkxFileHandle(::CreateFileW(kPipeName, FILE_WRITE_DATA, 0, nullptr, OPEN_EXISTING, 0, nullptr));
}

CkxFileHandle PipeInstance(DWORD room = kRoom)
{
    return CkxFileHandle(::CreateNamedPipeW(kPipeName, PIPE_ACCESS_INBOUND, PIPE_TYPE_BYTE | PIPE_WAIT, 1, 0,
                                            room, 0, nullptr));
}

// An agent for one sender, on a thread of its own: everything that it reads up to the end, in pieces.
std::future<std::string> ServeOne(DWORD room = kRoom, DWORD piece = kRoom, DWORD pauseMs = 0)
{
    return std::async(std::launch::async, [piece, pauseMs, pipe = PipeInstance(room)]() mutable {
        (void)::ConnectNamedPipe(pipe.Get(), nullptr); // fails for a sender who was faster
        ::Sleep(pauseMs);
        std::string bytes;
        std::string read(piece, '\0');
        DWORD count = 0;
        while (::ReadFile(pipe.Get(), read.data(), piece, &count, nullptr) && count != 0)
            bytes.append(read, 0, count);
        pipe.Reset();
        return bytes;
    });
}

std::string Received(std::future<std::string>& agent)
{
    const CkxFileHandle nobody = OpenPipe(); // frees the agent where no sender ever came
    return agent.get();
}

// Whether another thread could have its turn now. REQUIRES: the mutex is there.
bool IsTurnFree()
{
    bool free = false;
    std::thread([&] {
        const CkxHandle mutex(::OpenMutexW(SYNCHRONIZE, FALSE, kMutexName));
        free = ::WaitForSingleObject(mutex.Get(), 0) == WAIT_OBJECT_0 && ::ReleaseMutex(mutex.Get());
    }).join();
    return free;
}

class GpPipe : public TraceFixture {
  protected:
    void SetUp() override
    {
        TraceFixture::SetUp();
        ConfigureQuietly("print@file@@all@off\n"); // what is left are errors, warnings and information
    }

    /// Whether the agent was told since the last time.
    bool IsAnnounced() const { return ::WaitForSingleObject(_m_event.Get(), 0) == WAIT_OBJECT_0; }

    CkxHandle _m_event{::CreateEventW(nullptr, FALSE, FALSE, kEventName)};
};

TEST_F(GpPipe, SendsInTheseSteps)
{
    PipeCalls calls;
    const CComBSTR document = Document(1000);
    std::future<std::string> agent = ServeOne();
    {
        const CkxGpPipe pipe;
        EXPECT_EQ(calls.Take(), "mutex(0,0) event(2,0) ");
        EXPECT_TRUE(pipe.HasEvent());
        EXPECT_TRUE(pipe.Send(document));
        EXPECT_EQ(calls.Take(), kTurn + kOpen + "owner announce write(4) write(2002) close-pipe release ");
        EXPECT_EQ(calls.LastWritten(), document.m_str) << "the document is not copied";
        EXPECT_TRUE(IsTurnFree());
    }
    EXPECT_EQ(calls.Take(), "close-mutex close-event ");
    const std::string bytes = Received(agent);
    EXPECT_EQ(bytes.substr(0, 4), std::string("\xD2\x07\x00\x00", 4));
    EXPECT_TRUE(bytes == MessageOf(document));
    EXPECT_TRUE(IsAnnounced());
    EXPECT_EQ(calls.OpenHandles(), 0U);
    EXPECT_EQ(Take(), "");
}

TEST_F(GpPipe, DeliversAtTheAgentsPace)
{
    const struct {
        const char* why;
        std::size_t units;
        DWORD room;
        DWORD piece;
        DWORD pauseMs;
    } rows[] = {
        {"no text at all", 0, kRoom, 16, 0},
        {"a null text counts as empty", kNull, kRoom, 16, 0},
        {"a byte at a time", 6000, kRoom, 1, 0},
        {"an agent without a buffer", 6000, 0, 100, 0},
        {"an agent that is busy with something else first", 100000, kRoom, 65536, 200},
        {"64 MiB", 32 * 1024 * 1024 - 3, 65536, 1024 * 1024, 0},
    };

    const CkxGpPipe pipe;
    for (const auto& row : rows) {
        std::future<std::string> agent = ServeOne(row.room, row.piece, row.pauseMs);
        const CComBSTR document = row.units == kNull ? CComBSTR() : Document(row.units);
        EXPECT_TRUE(pipe.Send(document)) << row.why;
        EXPECT_TRUE(Received(agent) == MessageOf(document)) << row.why;
    }
    EXPECT_EQ(Take(), "");
}

TEST_F(GpPipe, AFailedStepEndsTheSendAndSaysWhy)
{
    constexpr const char* noPipe = "ERROR: WaitNamedPipe() failed. Pipe doesn't exist\n";
    constexpr const char* write = "INFO: WriteFile(size) failed. ";
    const std::string ready = kOpen + "owner announce ";

    enum Agent { Absent, Busy, Ready };

    const struct {
        const char* why;
        Agent agent;
        const char* failing;
        DWORD error;
        std::string trace; ///< up to the error and what is done about it, where it ends with a blank
        std::string steps;
    } rows[] = {
        {"no agent", Absent, "", 2, "ERROR: WaitNamedPipe(10000) failed. Timeout.\n", "instance(10000) "},
        {"an agent with other senders", Busy, "", 121, noPipe, "instance(10000) "},
        {"waiting fails otherwise", Ready, "instance(10000)", 676, noPipe, "instance(10000) "},
        {"another was faster", Ready, "open(20002,0,0,3,40000000,0)", 231, "ERROR: Cannot open pipe. ",
         kOpen},
        {"no announcement", Ready, "announce", 6, "INFO: SetEvent failed. ", ready + "close-pipe "},
        {"no length", Ready, "write(4)", 233, write, ready + "write(4) close-pipe "},
        {"half a length", Ready, "write(4)", 0, write, ready + "write(4) close-pipe "},
        {"no text", Ready, "write(202)", 109, write, ready + "write(4) write(202) close-pipe "},
        {"half a text", Ready, "write(202)", 0, write, ready + "write(4) write(202) close-pipe "},
    };

    PipeCalls calls;
    const CkxGpPipe pipe;
    const std::size_t handles = calls.OpenHandles();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const CkxFileHandle server = row.agent == Absent ? CkxFileHandle() : PipeInstance();
        const CkxFileHandle other = row.agent == Busy ? OpenPipe() : CkxFileHandle();
        (void)calls.Take();
        calls.Fail(row.failing, row.error);
        const bool sent = pipe.Send(Document(100));
        EXPECT_EQ(::GetLastError(), row.error);
        EXPECT_FALSE(sent);
        EXPECT_EQ(calls.Take(), kTurn + row.steps + "release ");
        const std::string skipped =
            "LastError=" + std::to_string(row.error) + ". Update skipped till next time.\n";
        EXPECT_EQ(Take(), row.trace + (row.trace.ends_with(' ') ? skipped : ""));
        EXPECT_EQ(calls.OpenHandles(), handles + (row.agent == Busy ? 1 : 0));
        EXPECT_EQ(IsAnnounced(), row.steps.find("write") != std::string::npos);
        EXPECT_TRUE(IsTurnFree());
    }
}

TEST_F(GpPipe, ATextTooLongForTheLengthIsNotAnnounced)
{
    PipeCalls calls;
    const CkxFileHandle server = PipeInstance();
    const CkxGpPipe pipe;
    (void)calls.Take();
    alignas(BSTR) DWORD claimed[] = {0, 0xFFFFFFFE, 0, 0}; // its length stands in front of a BSTR's text
    CComBSTR document;
    document.Attach(reinterpret_cast<BSTR>(&claimed[2]));
    EXPECT_FALSE(pipe.Send(document));
    (void)document.Detach();
    EXPECT_EQ(calls.Take(), "");
    EXPECT_EQ(Take(), "ERROR: The document is too long for one message. Length=2147483647\n");
}

TEST_F(GpPipe, AStrangersPipeGetsNothing)
{
    CAccessToken process;
    CSid user;
    ASSERT_TRUE(process.GetProcessToken(TOKEN_QUERY) && process.GetUser(&user));

    PipeCalls calls;
    const CkxGpPipe pipe;
    const std::size_t handles = calls.OpenHandles();
    const auto expect = [&](const std::wstring& owner, const char* steps, const std::string& trace) {
        SCOPED_TRACE(Narrow(owner));
        const CkxFileHandle server = PipeInstance();
        calls.PretendOwner(owner);
        (void)calls.Take();
        EXPECT_EQ(pipe.Send(Document(3)), trace.empty());
        EXPECT_EQ(calls.Take(), kTurn + kOpen + steps);
        EXPECT_EQ(IsAnnounced(), trace.empty());
        EXPECT_EQ(Take(), trace);
        EXPECT_EQ(calls.OpenHandles(), handles);
    };

    const std::wstring ours = std::wstring(L"O:") + user.Sid();
    const wchar_t* const cannotBeRead = L"";
    const wchar_t* const none = L"G:WD";
    for (const wchar_t* const trusted : {L"O:S-1-5-18", L"O:S-1-5-32-544", L"O:S-1-5-19", L"O:S-1-5-20",
                                         L"O:S-1-5-80-1-2-3-4-5", ours.c_str(), cannotBeRead, none})
        expect(trusted, "owner announce write(4) write(8) close-pipe release ", "");
    const std::pair<const wchar_t*, const char*> strangers[] = {
        {L"O:S-1-5-21-1-2-3-1001", "S-1-5-21-1-2-3-1001"},
        {L"O:S-1-5-80", "S-1-5-80"}, // of no service
        {L"O:S-1-3-80-1", "S-1-3-80-1"},
        {L"O:S-1-5-32-545", "BUILTIN\\Users"},
        {L"O:S-1-1-0", "Everyone"},
    };
    for (const auto& [owner, shown] : strangers)
        expect(owner, "owner close-pipe release ",
               std::string("ERROR: The update pipe belongs to ") + shown + "\n");
}

bool g_allocationFails = false; // not of a thread each: such storage allocates

void* AllocateOrFail(std::size_t size)
{
    return std::exchange(g_allocationFails, false) ? nullptr : ImportHook<&AllocateOrFail>::Original(size);
}

// The system finds the owner's name, and there is no memory for it.
BOOL WINAPI FindWithoutMemory(LPCWSTR, PSID, LPWSTR account, LPDWORD, LPWSTR domain, LPDWORD, PSID_NAME_USE)
{
    for (wchar_t* const name : {account, domain}) // too long to stand in a string object
        name[std::fill_n(name, 100, L'x') - name] = L'\0';
    g_allocationFails = true;
    return TRUE;
}

TEST_F(GpPipe, RefusesAStrangersPipeEvenWhenItCannotBeNamed)
{
    PipeCalls calls;
    const CkxGpPipe pipe;
    const CkxFileHandle server = PipeInstance();
    calls.PretendOwner(L"O:S-1-5-21-1-2-3-1001");
    {
        const ImportHook<&FindWithoutMemory> lookUp("LookupAccountSidW");
        const ImportHook<&AllocateOrFail> allocate("malloc");
        EXPECT_FALSE(pipe.Send(Document(3)));
    }
    EXPECT_EQ(Take(), "ERROR: The update pipe belongs to \n");
    EXPECT_FALSE(IsAnnounced());
}

TEST_F(GpPipe, TakesTurnsOnlyByAMutexThatCanBeTrusted)
{
    const auto mutex = [] { return ::CreateMutexW(nullptr, FALSE, kMutexName); };
    const auto abandoned = [] {
        const HANDLE made = ::CreateMutexW(nullptr, FALSE, kMutexName);
        std::thread([&] { ::WaitForSingleObject(made, INFINITE); }).join(); // never given back
        return made;
    };
    const auto event = [] { return ::CreateEventW(nullptr, FALSE, FALSE, kMutexName); };

    const struct {
        const char* why;
        HANDLE (*make)();
        std::wstring owner;
        const char* trace; ///< null: its turn is taken
    } rows[] = {
        {"ours", mutex, L"O:BA", nullptr},
        {"abandoned", abandoned, L"O:SY", nullptr},
        {"a stranger's", mutex, L"O:S-1-5-21-1-2-3-1001",
         "ERROR: The mutex KxGpPipeInUseMutex belongs to S-1-5-21-1-2-3-1001\n"},
        {"owner unknown", mutex, L"", nullptr},
        {"something else by that name", event, L"O:BA",
         "ERROR: Failed to create/open KxGpPipeInUseMutex. LastError=6\n"},
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const CkxHandle made(row.make());
        const CkxFileHandle server = PipeInstance();
        PipeCalls calls;
        calls.PretendOwner(row.owner);
        {
            const CkxGpPipe pipe;
            EXPECT_EQ(Take(), row.trace ? row.trace : "");
            calls.PretendOwner(L"O:BA");
            (void)calls.Take();
            EXPECT_TRUE(pipe.Send(Document(3)));
            EXPECT_THAT(calls.Take(), testing::StartsWith(row.trace ? "no-turn(ffffffff,0) " : kTurn));
        }
        EXPECT_EQ(calls.OpenHandles(), 0U);
        EXPECT_TRUE(row.trace || IsTurnFree());
        EXPECT_EQ(Take(), "");
    }
}

TEST_F(GpPipe, AnAbsentAgentIsNoError)
{
    _m_event.Reset();
    EXPECT_FALSE(CkxGpPipe().HasEvent());
    EXPECT_EQ(Take(), "");
    const CkxHandle other(::CreateMutexW(nullptr, FALSE, kEventName));
    EXPECT_FALSE(CkxGpPipe().HasEvent());
    EXPECT_EQ(Take(), "ERROR: Cannot open KxGroupPolicyUpdate event. LastError=6\n");
}

constexpr std::size_t kEach = 5;

// Each sender's documents tell who sent them and are long enough to be written in many pieces.
constexpr std::size_t UnitsOf(std::size_t sender, std::size_t document)
{
    return 1000 * sender + document * 7919 * 11;
}

bool SendSeveral(std::size_t sender)
{
    const CkxGpPipe pipe;
    bool sent = true;
    for (std::size_t i = 0; i < kEach; ++i)
        sent = pipe.Send(Document(UnitsOf(sender, i))) && sent;
    return sent;
}

const ChildRole c_sender(L"pipe sender",
                         [] { return SendSeveral(std::stoul(ChildVariable(L"KX_TEST_SENDER"))) ? 0 : 1; });

TEST_F(GpPipe, EveryMessageOfManySendersArrivesWhole)
{
    constexpr std::size_t kThreads = 8;
    constexpr std::size_t kSenders = kThreads + 2;
    _m_event.Reset();
    CkxAgentListener agent;
    ASSERT_EQ(agent.Start(), 0U);
    const Child first(L"pipe sender", {{L"KX_TEST_SENDER", std::to_wstring(kThreads)}});
    const Child second(L"pipe sender", {{L"KX_TEST_SENDER", std::to_wstring(kThreads + 1)}});
    bool sent[kThreads] = {};
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kThreads; ++i)
        threads.emplace_back([&, i] { sent[i] = SendSeveral(i); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_THAT(sent, testing::Each(true));
    EXPECT_EQ(first.Wait(), 0);
    EXPECT_EQ(second.Wait(), 0);
    std::multiset<std::size_t> expected;
    std::multiset<std::size_t> arrived;
    for (std::size_t i = 0; i < kSenders * kEach; ++i) {
        expected.insert(UnitsOf(i / kEach, i % kEach));
        const auto message = agent.WaitForMessage(10000);
        ASSERT_TRUE(message) << "only " << i;
        const std::size_t units = message->size() / 2 - 3;
        arrived.insert(units);
        EXPECT_TRUE(MessageOf(Document(units)) ==
                    std::string_view(reinterpret_cast<const char*>(message->data()), message->size()))
            << units;
    }
    EXPECT_EQ(arrived, expected);
    EXPECT_EQ(Take(), "");
}

} // namespace
