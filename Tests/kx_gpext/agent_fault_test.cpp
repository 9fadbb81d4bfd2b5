// An agent that ends, or reads no more, at some step of the protocol.

#include "Tests/support/com_scope.h"
#include "Tests/support/hook.h"
#include "Tests/support/rsop_fixture.h"
#include "Tools/host/appended_call.h"

#include <gmock/gmock.h>

#include <future>
#include <thread>

namespace {

using testing::EndsWith;
using testing::HasSubstr;

constexpr const wchar_t* kAgentEvent = L"Global\\KxGroupPolicyUpdate";
constexpr const wchar_t* kPipeName = L"\\\\.\\pipe\\KxGroupPolicyUpdate";

constexpr DWORD kRoom = 4096; // what the pipe takes without a reader: far less than the documents below
constexpr DWORD kGuardMs = 60000;

// How far the agent comes.
enum Step : int {
    NoPipe,       // its event is there, its pipe not yet or no more
    Announcement, // the sender is connected and has said so; nothing is read
    Length,
    HalfTheBody,
    AllButOneByte, // as the length tells; the byte is still in the pipe
    Body
};

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

// On a thread of its own; it stops at its step until Let it end.
class Agent {
  public:
    explicit Agent(Step step) : _m_step(step)
    {
        if (step != NoPipe)
            _m_pipe.Reset(::CreateNamedPipeW(kPipeName, PIPE_ACCESS_INBOUND, PIPE_TYPE_BYTE | PIPE_WAIT, 1, 0,
                                             kRoom, 0, nullptr));
        _m_thread = std::thread([this] { _Play(); });
    }

    ~Agent()
    {
        LetEnd();
        // Frees the agent where no sender ever came.
        const CkxFileHandle nobody(
            ::CreateFileW(kPipeName, FILE_WRITE_DATA, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        _m_thread.join();
        EXPECT_TRUE(_m_step == NoPipe || _m_came) << "the sender did not come so far";
    }

    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;

    void WaitUntilItStops() const
    {
        EXPECT_EQ(::WaitForSingleObject(_m_stopped.Get(), kGuardMs), WAIT_OBJECT_0);
    }

    void LetEnd() const { ::SetEvent(_m_end.Get()); }

  private:
    void _Play()
    {
        if (_m_pipe) {
            (void)::ConnectNamedPipe(_m_pipe.Get(), nullptr); // fails for a sender who was faster
            _m_came = ::WaitForSingleObject(_m_announced.Get(), kGuardMs) == WAIT_OBJECT_0 &&
                      Take(_m_pipe.Get(), _m_step);
        }
        ::SetEvent(_m_stopped.Get());
        ::WaitForSingleObject(_m_end.Get(), kGuardMs);
        _m_pipe.Reset();
    }

    const Step _m_step;
    CkxHandle _m_announced{::CreateEventW(nullptr, FALSE, FALSE, kAgentEvent)};
    CkxHandle _m_stopped{::CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    CkxHandle _m_end{::CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    CkxFileHandle _m_pipe;
    bool _m_came = false;
    std::thread _m_thread;
};

// How often a sender has begun to wait for its turn.
CkxHandle g_atTheirSend;

DWORD WINAPI NoteWait(HANDLE object, DWORD milliseconds, BOOL alertable)
{
    if (milliseconds == INFINITE)
        ::ReleaseSemaphore(g_atTheirSend.Get(), 1, nullptr);
    return ImportHook<&NoteWait>::Original(object, milliseconds, alertable);
}

// One call of the module on a thread of its own, which has come to its send.
template <class Call>
std::future<DWORD> StartSender(Call call)
{
    std::future<DWORD> sender = std::async(std::launch::async, call);
    EXPECT_EQ(::WaitForSingleObject(g_atTheirSend.Get(), kGuardMs), WAIT_OBJECT_0);
    return sender;
}

bool IsDone(const std::future<DWORD>& sender)
{
    return sender.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

class AgentFaults : public RsopFixture {
  protected:
    void SetUp() override
    {
        RsopFixture::SetUp();
        _m_agent.Stop();
        _m_large = MakeGpo(kGpoA, std::vector<std::string>(500, "1"));
    }

    DWORD RefreshLarge(DWORD flags) const { return RefreshOnly(_m_large, flags); }

    void ExpectTheNextRefreshToArrive()
    {
        ASSERT_EQ(_m_agent.Start(), 0U);
        EXPECT_EQ(RefreshLarge(kMachine), 0U);
        EXPECT_THAT(ReceivedMeaning(), HasSubstr("GPUpdate"));
        _m_agent.Stop();
    }

    CkxListedGpo _m_large;
};

TEST_F(AgentFaults, ADocumentThatTheAgentDidNotGetWholeIsSentAgainNextTime)
{
    const struct {
        const char* why;
        Step step;
        DWORD code;
    } rows[] = {
        {"before anybody connects", NoPipe, kAgain},
        {"at the announcement", Announcement, kAgain},
        {"after the length", Length, kAgain},
        {"in the body", HalfTheBody, kAgain},
        {"after the body", Body, 0},
        // The channel has no answer: what lies in the agent's own pipe counts as taken.
        {"before a last byte that its pipe holds", AllButOneByte, 0},
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        {
            const Agent agent(row.step);
            agent.LetEnd(); // as soon as it has come to its step
            EXPECT_EQ(RefreshLarge(kUser), row.code);
        }
        EXPECT_THAT(Trace(), EndsWith(row.code == 0 ? "INFO: GP update sent to agent.\n"
                                                    : "ERROR: Failed to send update to the agent. "
                                                      "Update skipped till next time.\n"));
        ExpectTheNextRefreshToArrive();
    }
}

TEST_F(AgentFaults, AnAgentThatStopsReadingHoldsUpSendersOnly)
{
    g_atTheirSend.Reset(::CreateSemaphoreW(nullptr, 0, 100, nullptr));
    const ImportHook<&NoteWait> wait(_m_extension.Get(), "WaitForSingleObjectEx");
    const LocalSystemCaller system(_m_extension.Get());

    for (const Step step : {Announcement, Length, HalfTheBody}) {
        SCOPED_TRACE(step);
        std::optional<Agent> agent(step);
        auto first = StartSender([&] { return RefreshLarge(kMachine); });
        agent->WaitUntilItStops();
        auto second = StartSender([&] { return RefreshLarge(kUser); });
        auto third = StartSender([&] {
            const ComScope com;
            const kx::AppendedUpdate request = {nullptr, 0, true, {}, nullptr};
            return CallAppendedUpdate(_m_extension.Get(), &request);
        });

        // Everything else goes on, and is traced.
        const std::size_t before = Trace().size();
        _m_changed.Add(MakeFiles(kGpoB, "<GpoPolicies version='5'><Policy name='n' gpid='i' action='1' "
                                        "order='7'/></GpoPolicies>"));
        EXPECT_EQ(PlanFor(true), 0U);
        EXPECT_THAT(Trace().substr(before), HasSubstr("INFO: Comp Target is "));
        EXPECT_EQ(Logged(kPolicyClass, {L"precedence"}), "precedence=1000000007\n");
        _m_abort = TRUE;
        EXPECT_EQ(Refresh(kUser), static_cast<DWORD>(ERROR_OPERATION_ABORTED)) << "a pass that sends nothing";
        _m_abort = FALSE;
        EXPECT_FALSE(IsDone(first) || IsDone(second) || IsDone(third));

        // One end frees them all: the first one's document was cut short, the others find no pipe.
        agent.reset();
        EXPECT_EQ(first.get(), kAgain);
        EXPECT_EQ(second.get(), kAgain);
        EXPECT_EQ(third.get(), static_cast<DWORD>(ERROR_WRITE_FAULT));
        ExpectTheNextRefreshToArrive();
        EXPECT_EQ(::WaitForSingleObject(g_atTheirSend.Get(), kGuardMs), WAIT_OBJECT_0) << "that one's turn";
    }
}

} // namespace
