// An agent that fails at some step of the protocol, in a process of its own as the real one is.

#include "Tests/support/hook.h"
#include "Tests/support/rsop_fixture.h"
#include "Tests/trace/child_role.h"
#include "Tools/host/appended_call.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

namespace {

using testing::HasSubstr;

constexpr const wchar_t* kAgentEvent = L"Global\\KxGroupPolicyUpdate";
constexpr const wchar_t* kPipeName = L"\\\\.\\pipe\\KxGroupPolicyUpdate";
constexpr const wchar_t* kReadyEvent = L"KxTestAgentIsReady";
constexpr const wchar_t* kStoppedEvent = L"KxTestAgentHasStopped";
constexpr const wchar_t* kEndEvent = L"KxTestAgentMayEnd";

constexpr DWORD kRoom = 4096; // what the pipe takes without a reader: far less than the documents below
constexpr DWORD kGuardMs = 60000;

// ---- the agent's process ------------------------------------------------------------------------------

// How far the agent comes.
enum Step : int {
    NoPipe,       // its event is there, its pipe not yet or no more
    Announcement, // the sender is connected and has said so; nothing is read
    Length,
    HalfTheBody,
    AllButOneByte, // as the length tells; the byte is still in the pipe
    Body
};

enum End : int { Dies, Closes, Disconnects };

CkxHandle NamedEvent(const wchar_t* name)
{
    return CkxHandle(::CreateEventW(nullptr, TRUE, FALSE, name));
}

bool ReadExactly(HANDLE pipe, void* bytes, std::size_t size)
{
    auto* next = static_cast<char*>(bytes);
    while (size > 0) {
        DWORD count = 0;
        if (!::ReadFile(pipe, next, static_cast<DWORD>(size), &count, nullptr) || count == 0)
            return false;
        next += count;
        size -= count;
    }
    return true;
}

// Reads as far as the step says. False when the sender had less.
bool Take(HANDLE pipe, Step step)
{
    if (step <= Announcement)
        return true;
    std::uint32_t length = 0;
    if (!ReadExactly(pipe, &length, sizeof length))
        return false;
    const std::size_t sizes[] = {0, 0, 0, length / 2, length - 1, length};
    std::string body(sizes[step], '\0');
    return ReadExactly(pipe, body.data(), body.size());
}

int PlayAgent()
{
    const auto step = static_cast<Step>(std::stoi(ChildVariable(L"KX_TEST_STEP")));
    const auto end = static_cast<End>(std::stoi(ChildVariable(L"KX_TEST_END")));
    const CkxHandle announced(::CreateEventW(nullptr, FALSE, FALSE, kAgentEvent));
    CkxFileHandle pipe(step == NoPipe
                           ? INVALID_HANDLE_VALUE
                           : ::CreateNamedPipeW(kPipeName, PIPE_ACCESS_INBOUND, PIPE_TYPE_BYTE | PIPE_WAIT, 1,
                                                0, kRoom, 0, nullptr));
    ::SetEvent(NamedEvent(kReadyEvent).Get());
    bool done = true;
    if (pipe) {
        (void)::ConnectNamedPipe(pipe.Get(), nullptr); // fails for a sender who was faster
        done = ::WaitForSingleObject(announced.Get(), kGuardMs) == WAIT_OBJECT_0 && Take(pipe.Get(), step);
    }
    ::SetEvent(NamedEvent(kStoppedEvent).Get());
    ::WaitForSingleObject(NamedEvent(kEndEvent).Get(), kGuardMs);
    if (end == Dies)
        ::TerminateProcess(::GetCurrentProcess(), done ? 0 : 1);
    if (end == Disconnects)
        ::DisconnectNamedPipe(pipe.Get());
    pipe.Reset();
    return done ? 0 : 1;
}

const ChildRole c_agent(L"faulty agent", &PlayAgent);

// The process; it stops at its step until Let it end.
class Agent {
  public:
    Agent(Step step, End end)
        : _m_ready(NamedEvent(kReadyEvent)),
          _m_stopped(NamedEvent(kStoppedEvent)),
          _m_end(NamedEvent(kEndEvent)),
          _m_process(L"faulty agent",
                     {{L"KX_TEST_STEP", std::to_wstring(step)}, {L"KX_TEST_END", std::to_wstring(end)}})
    {
        EXPECT_EQ(::WaitForSingleObject(_m_ready.Get(), kGuardMs), WAIT_OBJECT_0);
        _m_announced.Reset(::OpenEventW(SYNCHRONIZE, FALSE, kAgentEvent));
    }

    ~Agent() { LetEnd(); }

    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;

    /// Until it has come to its step and reads no more.
    void WaitUntilItStops() const
    {
        EXPECT_EQ(::WaitForSingleObject(_m_stopped.Get(), kGuardMs), WAIT_OBJECT_0);
    }

    void LetEnd() const { ::SetEvent(_m_end.Get()); }

    /// 0 when it came to its step.
    [[nodiscard]] int Wait()
    {
        const int code = _m_process.Wait();
        _m_announced.Reset();
        return code;
    }

  private:
    CkxHandle _m_ready;
    CkxHandle _m_stopped;
    CkxHandle _m_end;
    Child _m_process;
    CkxHandle _m_announced; ///< the agent's event: it ends after the sender has found it, not before
};

// ---- the senders --------------------------------------------------------------------------------------

// How often a sender has begun to wait for its turn.
CkxHandle g_atTheirSend;

DWORD WINAPI NoteWait(HANDLE object, DWORD milliseconds, BOOL alertable)
{
    if (milliseconds == INFINITE)
        ::ReleaseSemaphore(g_atTheirSend.Get(), 1, nullptr);
    return ImportHook<&NoteWait>::Original(object, milliseconds, alertable);
}

// One call of the module on a thread of its own.
class Sender {
  public:
    template <class Call>
    explicit Sender(Call call)
        : _m_thread([this, call] {
              (void)::CoInitializeEx(nullptr, COINIT_MULTITHREADED);
              _m_code = call();
              ::CoUninitialize();
              _m_done = true;
          })
    {
    }

    ~Sender() { (void)Code(); }

    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;

    [[nodiscard]] bool IsDone() const { return _m_done; }

    DWORD Code()
    {
        if (_m_thread.joinable())
            _m_thread.join();
        return _m_code;
    }

  private:
    std::atomic<DWORD> _m_code{0};
    std::atomic<bool> _m_done{false};
    std::thread _m_thread;
};

class AgentFaults : public RsopFixture {
  protected:
    void SetUp() override
    {
        RsopFixture::SetUp();
        _m_agent.Stop();
        _m_large = MakeGpo(kGpoA, std::vector<std::string>(500, "1"));
    }

    DWORD RefreshLarge(DWORD flags) const { return RefreshOnly(_m_large, flags); }

    void ExpectTheNextRefreshToArrive(const char* why)
    {
        ASSERT_EQ(_m_agent.Start(), 0U) << why;
        EXPECT_EQ(RefreshLarge(kMachine), 0U) << why;
        EXPECT_THAT(ReceivedMeaning(), HasSubstr("GPUpdate")) << why;
        _m_agent.Stop();
    }

    CkxListedGpo _m_large;
};

TEST_F(AgentFaults, ADocumentThatTheAgentDidNotGetWholeIsSentAgainNextTime)
{
    constexpr DWORD again = ERROR_OVERRIDE_NOCHANGES;

    const struct {
        const char* why;
        Step step;
        End end;
        DWORD code;
    } rows[] = {
        {"dies before anybody connects", NoPipe, Dies, again},
        {"closes before anybody connects", NoPipe, Closes, again},
        {"dies at the announcement", Announcement, Dies, again},
        {"closes at the announcement", Announcement, Closes, again},
        {"disconnects at the announcement", Announcement, Disconnects, again},
        {"dies after the length", Length, Dies, again},
        {"closes after the length", Length, Closes, again},
        {"disconnects after the length", Length, Disconnects, again},
        {"dies in the body", HalfTheBody, Dies, again},
        {"closes in the body", HalfTheBody, Closes, again},
        {"disconnects in the body", HalfTheBody, Disconnects, again},
        {"dies after the body", Body, Dies, 0},
        {"closes after the body", Body, Closes, 0},
        {"disconnects after the body", Body, Disconnects, 0},
        // The channel has no answer: what lies in the agent's own pipe counts as taken.
        {"dies before a last byte that its pipe holds", AllButOneByte, Dies, 0},
    };

    for (const auto& row : rows) {
        Agent agent(row.step, row.end);
        agent.LetEnd(); // as soon as it has come to its step
        EXPECT_EQ(RefreshLarge(kUser), row.code) << row.why;
        EXPECT_EQ(agent.Wait(), 0) << row.why;
        const std::string trace = Trace();
        EXPECT_EQ(trace.ends_with("INFO: GP update sent to agent.\n"), row.code == 0) << row.why;
        EXPECT_EQ(
            trace.ends_with("ERROR: Failed to send update to the agent. Update skipped till next time.\n"),
            row.code != 0)
            << row.why;
        ExpectTheNextRefreshToArrive(row.why);
    }
}

// The module in another place, which starts, refreshes nobody and ends.
void StartAndEndAnother(const TempFolder& folder)
{
    folder.Write(L"other\\empty", "");
    const std::wstring path = folder / L"other\\kx_gpext.dll";
    ASSERT_TRUE(::CopyFileW(KX_STAGE L"\\kx_gpext.dll", path.c_str(), FALSE));
    {
        CkxExtensionModule other;
        ASSERT_EQ(other.Load(path.c_str()), 0U);
    }
    EXPECT_THAT(ReadBytes(folder / L"other\\Trace\\kx_gpext.trace"), HasSubstr("DLL_PROCESS_DETACH"));
}

TEST_F(AgentFaults, AnAgentThatStopsReadingHoldsUpSendersOnly)
{
    g_atTheirSend.Reset(::CreateSemaphoreW(nullptr, 0, 100, nullptr));
    const ImportHook<&NoteWait> wait(_m_extension.Get(), "WaitForSingleObjectEx");
    const LocalSystemCaller system(_m_extension.Get());
    const auto waitForASend = [] { return ::WaitForSingleObject(g_atTheirSend.Get(), kGuardMs); };

    const struct {
        const char* why;
        Step step;
        End end;
    } rows[] = {
        {"reads nothing, then dies", Announcement, Dies},
        {"stops after the length, then closes", Length, Closes},
        {"stops in the body, then dies", HalfTheBody, Dies},
        {"stops in the body, then disconnects and closes", HalfTheBody, Disconnects},
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        Agent agent(row.step, row.end);
        Sender first([&] { return RefreshLarge(kMachine); });
        agent.WaitUntilItStops();
        ASSERT_EQ(waitForASend(), WAIT_OBJECT_0);

        // The others do their work up to their send.
        Sender second([&] { return RefreshLarge(kUser); });
        ASSERT_EQ(waitForASend(), WAIT_OBJECT_0);
        Sender third([&] {
            const kx::AppendedUpdate request = {nullptr, 0, true, {}, nullptr};
            return CallAppendedUpdate(_m_extension.Get(), &request);
        });
        ASSERT_EQ(waitForASend(), WAIT_OBJECT_0);

        // Everything else goes on, and is traced.
        const std::size_t before = Trace().size();
        _m_changed.Add(MakeFiles(kGpoB, "<GpoPolicies version='5'><Policy name='n' gpid='i' action='1' "
                                        "order='7'/></GpoPolicies>"));
        EXPECT_EQ(PlanFor(true), 0U);
        EXPECT_THAT(Trace().substr(before), HasSubstr("INFO: Comp Target is "));
        EXPECT_EQ(Logged(kPolicyClass, {L"precedence"}), "precedence=1000000007\n");
        StartAndEndAnother(_m_folder);
        _m_abort = TRUE;
        EXPECT_EQ(Refresh(kUser), static_cast<DWORD>(ERROR_OPERATION_ABORTED)) << "a pass that sends nothing";
        _m_abort = FALSE;
        EXPECT_FALSE(first.IsDone() || second.IsDone() || third.IsDone());

        // One end frees them all: the first one's document was cut short, the others find no pipe.
        agent.LetEnd();
        EXPECT_EQ(first.Code(), static_cast<DWORD>(ERROR_OVERRIDE_NOCHANGES));
        EXPECT_EQ(second.Code(), static_cast<DWORD>(ERROR_OVERRIDE_NOCHANGES));
        EXPECT_EQ(third.Code(), static_cast<DWORD>(ERROR_WRITE_FAULT));
        EXPECT_EQ(agent.Wait(), 0);
        ExpectTheNextRefreshToArrive(row.why);
        ASSERT_EQ(waitForASend(), WAIT_OBJECT_0); // that one's turn
    }
}

} // namespace
