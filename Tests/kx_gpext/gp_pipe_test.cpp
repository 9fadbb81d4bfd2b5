// The way to the agent, over real pipes, events and mutexes under their real names.
#include "Agent/engine/kx_gpext/gp_pipe.h"
#include "Tests/kx_gpext/pipe_calls.h"
#include "Tests/trace/child_role.h"
#include "Tests/trace/trace_fixture.h"
#include "Tools/host/agent_listener.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <set>
#include <thread>

namespace {

constexpr const wchar_t* kMutexName = L"Global\\KxGpPipeInUseMutex";
constexpr const wchar_t* kEventName = L"Global\\KxGroupPolicyUpdate";
constexpr const wchar_t* kPipeName = L"\\\\.\\pipe\\KxGroupPolicyUpdate";

constexpr DWORD kRoom = 4096;
constexpr const char* kTurn = "turn(ffffffff,0) ";
constexpr const char* kUpToOpen = "turn(ffffffff,0) instance(10000) open(20002,0,0,3,40000000,0) ";

CComBSTR Document(std::size_t units)
{
    std::wstring text(units, L'\0');
    for (std::size_t i = 0; i < units; ++i)
        text[i] = static_cast<wchar_t>(i * 7 + i / 65536); // NUL and lone surrogates included
    return {static_cast<int>(units), text.data()};
}

// What must arrive, byte for byte.
bool IsMessage(std::string_view bytes, const CComBSTR& document)
{
    const std::size_t size = document.Length() * sizeof(wchar_t) + 2;
    const std::string length = {static_cast<char>(size), static_cast<char>(size >> 8),
                                static_cast<char>(size >> 16), static_cast<char>(size >> 24)};
    return bytes.size() == 4 + size && bytes.substr(0, 4) == length &&
           (document.Length() == 0 || std::memcmp(bytes.data() + 4, document.m_str, size - 2) == 0) &&
           bytes.substr(2 + size) == std::string_view("\0\0", 2);
}

CkxFileHandle PipeInstance(DWORD room = kRoom)
{
    return CkxFileHandle(::CreateNamedPipeW(kPipeName, PIPE_ACCESS_INBOUND, PIPE_TYPE_BYTE | PIPE_WAIT, 1, 0,
                                            room, 0, nullptr));
}

// Everything up to the end, in pieces.
std::string ReadAll(HANDLE pipe, DWORD piece)
{
    std::string bytes;
    std::string room(piece, '\0');
    DWORD count = 0;
    while (::ReadFile(pipe, room.data(), piece, &count, nullptr) && count != 0)
        bytes.append(room, 0, count);
    return bytes;
}

// An agent for one sender: what it does with the pipe, on a thread of its own.
class OneSender {
  public:
    OneSender(DWORD room, std::function<std::string(HANDLE)> serve)
        : _m_pipe(PipeInstance(room)), _m_thread([this, serve = std::move(serve)] {
              (void)::ConnectNamedPipe(_m_pipe.Get(), nullptr); // fails for a sender who was faster
              _m_bytes = serve(_m_pipe.Get());
              _m_pipe.Reset();
          })
    {
    }

    ~OneSender() { (void)Received(); }

    OneSender(const OneSender&) = delete;
    OneSender& operator=(const OneSender&) = delete;

    std::string Received()
    {
        if (_m_thread.joinable()) {
            // Frees the agent where no sender ever came.
            const CkxFileHandle nobody(
                ::CreateFileW(kPipeName, FILE_WRITE_DATA, 0, nullptr, OPEN_EXISTING, 0, nullptr));
            _m_thread.join();
        }
        return _m_bytes;
    }

  private:
    CkxFileHandle _m_pipe;
    std::string _m_bytes;
    std::thread _m_thread;
};

CkxHandle MakeEvent()
{
    return CkxHandle(::CreateEventW(nullptr, FALSE, FALSE, kEventName));
}

bool IsSet(const CkxHandle& event)
{
    return ::WaitForSingleObject(event.Get(), 0) == WAIT_OBJECT_0;
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
};

TEST_F(GpPipe, SendsInTheseSteps)
{
    PipeCalls calls;
    const CkxHandle event = MakeEvent();
    const CComBSTR document = Document(1000);
    OneSender agent(kRoom, [](HANDLE pipe) { return ReadAll(pipe, kRoom); });
    {
        const CkxGpPipe pipe;
        EXPECT_EQ(calls.Take(), "mutex(0,0) event(2,0) ");
        EXPECT_TRUE(pipe.HasEvent());
        EXPECT_TRUE(pipe.Send(document));
        EXPECT_EQ(calls.Take(),
                  std::string(kUpToOpen) + "owner announce write(4) write(2002) close-pipe release ");
        EXPECT_EQ(calls.LastWritten(), document.m_str) << "the document is not copied";
        EXPECT_TRUE(IsTurnFree());
    }
    EXPECT_EQ(calls.Take(), "close-mutex close-event ");
    const std::string bytes = agent.Received();
    EXPECT_EQ(bytes.substr(0, 4), std::string("\xD2\x07\x00\x00", 4));
    EXPECT_TRUE(IsMessage(bytes, document));
    EXPECT_TRUE(IsSet(event));
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
        {"a byte at a time", 6000, kRoom, 1, 0},
        {"an agent without a buffer", 6000, 0, 100, 0},
        {"an agent that is busy with something else first", 100000, kRoom, 65536, 200},
        {"64 MiB", 32 * 1024 * 1024 - 3, 65536, 1024 * 1024, 0},
    };

    const CkxHandle event = MakeEvent();
    const CkxGpPipe pipe;
    for (const auto& row : rows) {
        OneSender agent(row.room, [&](HANDLE server) {
            ::Sleep(row.pauseMs);
            return ReadAll(server, row.piece);
        });
        const CComBSTR document = Document(row.units);
        EXPECT_TRUE(pipe.Send(document)) << row.why;
        EXPECT_TRUE(IsMessage(agent.Received(), document)) << row.why;
    }
    OneSender agent(kRoom, [](HANDLE server) { return ReadAll(server, kRoom); });
    EXPECT_TRUE(pipe.Send(CComBSTR()));
    EXPECT_TRUE(IsMessage(agent.Received(), CComBSTR())) << "a null text counts as empty";
    EXPECT_EQ(Take(), "");
}

TEST_F(GpPipe, AFailedStepEndsTheSendAndSaysWhy)
{
    constexpr const char* kNoPipe = "ERROR: WaitNamedPipe() failed. Pipe doesn't exist\n";

    enum Agent { Absent, Busy, Ready };

    const struct {
        const char* why;
        Agent agent;
        const char* failing;
        DWORD error;
        const char* trace;
        std::string steps;
    } rows[] = {
        {"no agent", Absent, "", 2, "ERROR: WaitNamedPipe(10000) failed. Timeout.\n", "instance(10000) "},
        {"an agent with other senders", Busy, "", 121, kNoPipe, "instance(10000) "},
        {"waiting fails otherwise", Ready, "instance(10000)", 676, kNoPipe, "instance(10000) "},
        {"another sender was faster", Ready, "open(20002,0,0,3,40000000,0)", 231,
         "ERROR: Cannot open pipe. LastError=231. Update skipped till next time.\n",
         "instance(10000) open(20002,0,0,3,40000000,0) "},
        {"no announcement", Ready, "announce", 6,
         "INFO: SetEvent failed. LastError=6. Update skipped till next time.\n",
         "instance(10000) open(20002,0,0,3,40000000,0) owner announce close-pipe "},
        {"no length", Ready, "write(4)", 233,
         "INFO: WriteFile(size) failed. LastError=233. Update skipped till next time.\n",
         "instance(10000) open(20002,0,0,3,40000000,0) owner announce write(4) close-pipe "},
        {"half a length", Ready, "write(4)", 0,
         "INFO: WriteFile(size) failed. LastError=0. Update skipped till next time.\n",
         "instance(10000) open(20002,0,0,3,40000000,0) owner announce write(4) close-pipe "},
        {"no text", Ready, "write(202)", 109,
         "INFO: WriteFile(size) failed. LastError=109. Update skipped till next time.\n",
         "instance(10000) open(20002,0,0,3,40000000,0) owner announce write(4) write(202) close-pipe "},
        {"half a text", Ready, "write(202)", 0,
         "INFO: WriteFile(size) failed. LastError=0. Update skipped till next time.\n",
         "instance(10000) open(20002,0,0,3,40000000,0) owner announce write(4) write(202) close-pipe "},
    };

    PipeCalls calls;
    const CkxHandle event = MakeEvent();
    const CkxGpPipe pipe;
    const std::size_t handles = calls.OpenHandles();
    for (const auto& row : rows) {
        const CkxFileHandle server = row.agent == Absent ? CkxFileHandle() : PipeInstance();
        const CkxFileHandle other(row.agent != Busy ? INVALID_HANDLE_VALUE
                                                    : ::CreateFileW(kPipeName, FILE_WRITE_DATA, 0, nullptr,
                                                                    OPEN_EXISTING, 0, nullptr));
        (void)calls.Take();
        calls.Fail(row.failing, row.error);
        const bool sent = pipe.Send(Document(100));
        EXPECT_EQ(::GetLastError(), row.error) << row.why;
        EXPECT_FALSE(sent) << row.why;
        EXPECT_EQ(calls.Take(), kTurn + row.steps + "release ") << row.why;
        EXPECT_EQ(Take(), row.trace) << row.why;
        EXPECT_EQ(calls.OpenHandles(), handles + (row.agent == Busy ? 1 : 0)) << row.why;
        EXPECT_EQ(IsSet(event), row.steps.find("write") != std::string::npos) << row.why;
        EXPECT_TRUE(IsTurnFree()) << row.why;
    }
}

TEST_F(GpPipe, AnAgentThatLeavesAfterTheLengthIsAFailedSend)
{
    const CkxHandle event = MakeEvent();
    const CkxGpPipe pipe;
    OneSender agent(16, [](HANDLE server) {
        char length[4];
        DWORD count = 0;
        return ::ReadFile(server, length, 4, &count, nullptr) ? std::string(length, count) : std::string();
    });
    EXPECT_FALSE(pipe.Send(Document(100000)));
    const DWORD error = ::GetLastError();
    EXPECT_THAT(error, testing::AnyOf(ERROR_BROKEN_PIPE, ERROR_NO_DATA, ERROR_PIPE_NOT_CONNECTED));
    EXPECT_EQ(Take(), "INFO: WriteFile(size) failed. LastError=" + std::to_string(error) +
                          ". Update skipped till next time.\n");
    EXPECT_EQ(agent.Received().size(), 4U);
}

TEST_F(GpPipe, ATextTooLongForTheLengthIsNotAnnounced)
{
    PipeCalls calls;
    const CkxHandle event = MakeEvent();
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

    const struct {
        std::wstring owner;
        const char* shown; // null: trusted
    } rows[] = {
        {L"O:S-1-5-18", nullptr},
        {L"O:S-1-5-32-544", nullptr},
        {L"O:S-1-5-19", nullptr},
        {L"O:S-1-5-20", nullptr},
        {L"O:S-1-5-80-1-2-3-4-5", nullptr},
        {std::wstring(L"O:") + user.Sid(), nullptr},
        {L"", nullptr},     // cannot be read
        {L"G:WD", nullptr}, // has none
        {L"O:S-1-5-21-1-2-3-1001", "S-1-5-21-1-2-3-1001"},
        {L"O:S-1-5-80", "S-1-5-80"}, // of no service
        {L"O:S-1-3-80-1", "S-1-3-80-1"},
        {L"O:S-1-5-32-545", "BUILTIN\\Users"},
        {L"O:S-1-1-0", "Everyone"},
    };

    PipeCalls calls;
    const CkxHandle event = MakeEvent();
    const CkxGpPipe pipe;
    const std::size_t handles = calls.OpenHandles();
    for (const auto& row : rows) {
        const std::string why = Narrow(row.owner);
        const CkxFileHandle server = PipeInstance();
        calls.PretendOwner(row.owner);
        (void)calls.Take();
        EXPECT_EQ(pipe.Send(Document(3)), !row.shown) << why;
        EXPECT_EQ(calls.Take(), std::string(kUpToOpen) + (row.shown ? "owner close-pipe release "
                                                                    : "owner announce write(4) write(8) "
                                                                      "close-pipe release "))
            << why;
        EXPECT_EQ(IsSet(event), !row.shown) << why;
        const std::string line =
            row.shown ? std::string("ERROR: The update pipe belongs to ") + row.shown : "";
        EXPECT_EQ(Take(), line + (row.shown ? "\n" : "")) << why;
        EXPECT_EQ(calls.OpenHandles(), handles) << why;
    }
}

// The system finds the owner's name, and there is no memory for it.
class OwnersNameWithoutMemory {
  public:
    OwnersNameWithoutMemory()
        : _m_lookUp("LookupAccountSidW", reinterpret_cast<void*>(&_LookUp)),
          _m_allocate("malloc", reinterpret_cast<void*>(&_Allocate))
    {
        s_allocate = _m_allocate.Original<decltype(s_allocate)>();
    }

  private:
    static BOOL WINAPI _LookUp(LPCWSTR, PSID, LPWSTR account, LPDWORD, LPWSTR domain, LPDWORD, PSID_NAME_USE)
    {
        for (wchar_t* const name : {account, domain}) // too long to stand in a string object
            name[std::fill_n(name, 100, L'x') - name] = L'\0';
        s_fails = true;
        return TRUE;
    }

    static void* _Allocate(std::size_t size)
    {
        return std::exchange(s_fails, false) ? nullptr : s_allocate(size);
    }

    static inline void* (*s_allocate)(std::size_t) = nullptr;
    static inline bool s_fails = false; // not of a thread each: such storage allocates
    PatchedImport _m_lookUp;
    PatchedImport _m_allocate;
};

TEST_F(GpPipe, RefusesAStrangersPipeEvenWhenItCannotBeNamed)
{
    PipeCalls calls;
    const CkxHandle event = MakeEvent();
    const CkxGpPipe pipe;
    const CkxFileHandle server = PipeInstance();
    calls.PretendOwner(L"O:S-1-5-21-1-2-3-1001");
    {
        const OwnersNameWithoutMemory noMemory;
        EXPECT_FALSE(pipe.Send(Document(3)));
    }
    EXPECT_EQ(Take(), "ERROR: The update pipe belongs to \n");
    EXPECT_FALSE(IsSet(event));
}

TEST_F(GpPipe, TakesTurnsOnlyByAMutexThatCanBeTrusted)
{
    const auto mutexOf = [](bool owned) {
        CkxHandle mutex(::CreateMutexW(nullptr, FALSE, kMutexName));
        if (owned) // by a thread that ends without giving it back
            std::thread([&] { ::WaitForSingleObject(mutex.Get(), INFINITE); }).join();
        return mutex;
    };

    const struct {
        const char* why;
        std::function<CkxHandle()> make;
        std::wstring owner;
        const char* trace;
        bool turn;
    } rows[] = {
        {"ours", [&] { return mutexOf(false); }, L"O:BA", "", true},
        {"abandoned", [&] { return mutexOf(true); }, L"O:SY", "", true},
        {"a stranger's", [&] { return mutexOf(false); }, L"O:S-1-5-21-1-2-3-1001",
         "ERROR: The mutex KxGpPipeInUseMutex belongs to S-1-5-21-1-2-3-1001\n", false},
        {"owner unknown", [&] { return mutexOf(false); }, L"", "", true},
        {"something else by that name",
         [] { return CkxHandle(::CreateEventW(nullptr, FALSE, FALSE, kMutexName)); }, L"O:BA",
         "ERROR: Failed to create/open KxGpPipeInUseMutex. LastError=6\n", false},
    };

    const CkxHandle event = MakeEvent();
    for (const auto& row : rows) {
        const CkxHandle made = row.make();
        const CkxFileHandle server = PipeInstance();
        PipeCalls calls;
        calls.PretendOwner(row.owner);
        {
            const CkxGpPipe pipe;
            EXPECT_EQ(Take(), row.trace) << row.why;
            calls.PretendOwner(L"O:BA");
            (void)calls.Take();
            EXPECT_TRUE(pipe.Send(Document(3))) << row.why;
            EXPECT_THAT(calls.Take(), testing::StartsWith(row.turn ? kTurn : "no-turn(ffffffff,0) "))
                << row.why;
        }
        EXPECT_EQ(calls.OpenHandles(), 0U) << row.why;
        EXPECT_TRUE(!row.turn || IsTurnFree()) << row.why;
        EXPECT_EQ(Take(), "") << row.why;
    }
}

TEST_F(GpPipe, AnAbsentAgentIsNoError)
{
    EXPECT_FALSE(CkxGpPipe().HasEvent());
    EXPECT_EQ(Take(), "");
    const CkxHandle other(::CreateMutexW(nullptr, FALSE, kEventName));
    EXPECT_FALSE(CkxGpPipe().HasEvent());
    EXPECT_EQ(Take(), "ERROR: Cannot open KxGroupPolicyUpdate event. LastError=6\n");
}

// Each sender's documents tell who sent them and are long enough to be written in many pieces.
constexpr std::size_t kEach = 5;

bool SendSeveral(int sender)
{
    const CkxGpPipe pipe;
    bool sent = true;
    for (std::size_t i = 0; i < kEach; ++i)
        sent = pipe.Send(Document(1000 * static_cast<std::size_t>(sender) + i * 7919 * 11)) && sent;
    return sent;
}

int PlaySender()
{
    return SendSeveral(std::stoi(ChildVariable(L"KX_TEST_SENDER"))) ? 0 : 1;
}

const ChildRole c_sender(L"pipe sender", &PlaySender);

TEST_F(GpPipe, EveryMessageOfManySendersArrivesWhole)
{
    constexpr int kThreads = 8;
    constexpr int kSenders = kThreads + 2;
    CkxAgentListener agent;
    ASSERT_EQ(agent.Start(), 0U);
    const Child first(L"pipe sender", {{L"KX_TEST_SENDER", std::to_wstring(kThreads)}});
    const Child second(L"pipe sender", {{L"KX_TEST_SENDER", std::to_wstring(kThreads + 1)}});
    bool sent[kThreads] = {};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([&, i] { sent[i] = SendSeveral(i); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_THAT(sent, testing::Each(true));
    EXPECT_EQ(first.Wait(), 0);
    EXPECT_EQ(second.Wait(), 0);
    std::multiset<std::size_t> expected;
    std::multiset<std::size_t> arrived;
    for (std::size_t i = 0; i < kSenders * kEach; ++i) {
        expected.insert(1000 * (i / kEach) + i % kEach * 7919 * 11);
        const auto message = agent.WaitForMessage(10000);
        ASSERT_TRUE(message) << "only " << i;
        const std::size_t units = message->size() / 2 - 3;
        arrived.insert(units);
        EXPECT_TRUE(
            IsMessage({reinterpret_cast<const char*>(message->data()), message->size()}, Document(units)))
            << units;
    }
    EXPECT_EQ(arrived, expected);
    EXPECT_EQ(Take(), "");
}

} // namespace
