// How fast the update pipe client delivers a message, with its turn, its checks and its announcement, against
// a bare client that opens the pipe in the same way, writes the same bytes in two calls and closes it, and
// against a client that makes the system's calls of the protocol and nothing else, with the same reader; for
// comparison also against the two writes alone. The bare client runs twice: what it differs from itself by is
// noise.
//
// The turn, the wait for an instance and the announcement cost the same for every message: some hundred
// microseconds on an idle machine. There they alone are a tenth and more of what a bare client takes for 1
// MiB, as the row of the protocol's calls shows, so that no sender can be sure of the goal against the bare
// client; a message of that size is judged against those calls.
#include "Agent/engine/kx_gpext/gp_pipe.h"
#include "Agent/engine/kx_gpext/kx_gpext.h"
#include "Bench/bench_report.h"
#include "Common_CPP/trace/trace_control.h"
#include "Tools/host/patched_import.h"

#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

// The extension's own module is this program here.
HMODULE KxModule() noexcept
{
    return nullptr;
}

namespace {

constexpr const wchar_t* kMutexName = L"Global\\KxGpPipeInUseMutex";
constexpr const wchar_t* kEventName = L"Global\\KxGroupPolicyUpdate";
constexpr const wchar_t* kPipeName = L"\\\\.\\pipe\\KxGroupPolicyUpdate";

constexpr std::size_t kKiB = 1024;
constexpr std::size_t kMiB = 1024 * kKiB;
constexpr double kGoal = 1.10;
constexpr double kFailed = -1;

// An agent for one message: takes it in large pieces and throws it away.
class Reader {
  public:
    Reader()
        : _m_pipe(::CreateNamedPipeW(kPipeName, PIPE_ACCESS_INBOUND | FILE_FLAG_FIRST_PIPE_INSTANCE,
                                     PIPE_TYPE_BYTE | PIPE_WAIT, 1, 0, 65536, 0, nullptr)),
          _m_thread([this] { _Read(); })
    {
        ::Sleep(2); // until it waits for a sender: how fast a thread starts is not the question
    }

    ~Reader() { _m_thread.join(); }

    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    /// Bytes of the whole message. REQUIRES: the sender has closed its end.
    std::size_t Wait()
    {
        _m_thread.join();
        _m_thread = std::thread([] {});
        return _m_count;
    }

  private:
    void _Read()
    {
        static std::vector<char> room(kMiB);
        (void)::ConnectNamedPipe(_m_pipe.Get(), nullptr);
        DWORD count = 0;
        while (::ReadFile(_m_pipe.Get(), room.data(), static_cast<DWORD>(room.size()), &count, nullptr))
            _m_count += count;
        _m_pipe.Reset();
    }

    CkxFileHandle _m_pipe;
    std::size_t _m_count = 0;
    std::thread _m_thread;
};

CkxFileHandle Open()
{
    return CkxFileHandle(::CreateFileW(kPipeName, READ_CONTROL | FILE_WRITE_DATA, 0, nullptr, OPEN_EXISTING,
                                       FILE_FLAG_OVERLAPPED, nullptr));
}

bool WriteBare(const CkxFileHandle& pipe, const CComBSTR& document)
{
    const DWORD size = document.Length() * 2 + 2;
    DWORD written = 0;
    return ::WriteFile(pipe.Get(), &size, sizeof size, &written, nullptr) &&
           ::WriteFile(pipe.Get(), document.m_str, size, &written, nullptr);
}

// Microseconds that `write` took to deliver a whole message to a new reader; kFailed where it did not.
template <class Write>
double TimeOf(const CComBSTR& document, const Write& write)
{
    Reader reader;
    bool written = false;
    const double time = kx::NanosecondsACall(1, [&] { written = write(); }) / 1000;
    return written && reader.Wait() == document.Length() * 2 + 6 ? time : kFailed;
}

double TimeOfClient(const CkxGpPipe& client, const CComBSTR& document)
{
    return TimeOf(document, [&] { return client.Send(document); });
}

double TimeOfBareClient(const CComBSTR& document)
{
    return TimeOf(document, [&] { return WriteBare(Open(), document); });
}

double TimeOfProtocolCalls(const CComBSTR& document)
{
    static const CkxHandle mutex(::CreateMutexW(nullptr, FALSE, kMutexName));
    static const CkxHandle event(::OpenEventW(EVENT_MODIFY_STATE, FALSE, kEventName));
    return TimeOf(document, [&] {
        (void)::WaitForSingleObjectEx(mutex.Get(), INFINITE, FALSE);
        bool written = ::WaitNamedPipeW(kPipeName, 10000) != FALSE;
        {
            const CkxFileHandle pipe = Open();
            written = written && ::SetEvent(event.Get()) && WriteBare(pipe, document);
        }
        ::ReleaseMutex(mutex.Get());
        return written;
    });
}

double TimeOfWritesAlone(const CComBSTR& document)
{
    double time = 0;
    const double whole = TimeOf(document, [&] {
        const CkxFileHandle pipe = Open();
        bool written = false;
        time = kx::NanosecondsACall(1, [&] { written = WriteBare(pipe, document); }) / 1000;
        return written;
    });
    return whole < 0 ? kFailed : time;
}

int g_writes = 0;
decltype(&::WriteFile) g_writeFile = nullptr;

BOOL WINAPI CountWrite(HANDLE file, LPCVOID bytes, DWORD size, LPDWORD written, LPOVERLAPPED state)
{
    ++g_writes;
    return g_writeFile(file, bytes, size, written, state);
}

int WritesOf(const CkxGpPipe& client, const CComBSTR& document)
{
    PatchedImport patch("WriteFile", reinterpret_cast<void*>(&CountWrite));
    g_writeFile = patch.Original<decltype(g_writeFile)>();
    g_writes = 0;
    return TimeOfClient(client, document) < 0 ? 0 : g_writes;
}

bool HasFailed(const std::vector<kx::Samples>& sides)
{
    for (const kx::Samples& side : sides)
        for (const double time : side)
            if (time < 0)
                return true;
    return false;
}

void CompareSize(CkxBenchReport& report, const CkxGpPipe& client, const char* name, std::size_t bytes,
                 int rounds)
{
    const std::wstring text(bytes / 2 - 3, L'x'); // the whole message is of that size
    const CComBSTR document(static_cast<int>(text.size()), text.data());
    const auto bare = [&] { return TimeOfBareClient(document); };
    const std::vector<kx::Samples> sides = kx::Interleave(
        rounds, {[&] { return TimeOfClient(client, document); }, bare, bare,
                 [&] { return TimeOfProtocolCalls(document); }, [&] { return TimeOfWritesAlone(document); }});
    if (HasFailed(sides))
        report.Fail(std::string(name) + ": a message did not arrive whole");
    const auto goalFrom = [&](std::size_t least) {
        return bytes >= least ? std::optional<double>(kGoal) : std::nullopt;
    };
    report.Compare(std::string(name) + ", Send", "us", sides[0], sides[1], goalFrom(16 * kMiB));
    report.Compare(std::string(name) + ", noise: bare client twice", "us", sides[2], sides[1]);
    report.Compare(std::string(name) + ", protocol's calls to bare client", "us", sides[3], sides[1]);
    report.Compare(std::string(name) + ", Send to protocol's calls", "us", sides[0], sides[3],
                   goalFrom(kMiB));
    report.Compare(std::string(name) + ", Send to writes alone", "us", sides[0], sides[4]);
    const int writes = WritesOf(client, document);
    report.Figure(std::string(name) + ", writes a message", "calls", writes, 2);
    if (writes != 2)
        report.Fail(std::string(name) + ": not exactly two writes");
}

// Errors only: what the client traces otherwise is switched off, as in the extension.
void ShowTrace(void*, const char* text, std::size_t length)
{
    std::fwrite(text, 1, length, stderr);
}

} // namespace

int main(int argc, char** argv)
{
    CkxBenchReport report(argc, argv);
    D_Directive("prefix@file@@all@");
    D_Directive("print@file@@all@off");
    D_ToGeneric(&ShowTrace, nullptr);
    const CkxHandle event(::CreateEventW(nullptr, FALSE, FALSE, kEventName));
    {
        const CkxGpPipe client;
        CompareSize(report, client, "64 KiB", 64 * kKiB, 151);
        CompareSize(report, client, "1 MiB", kMiB, 151);
        CompareSize(report, client, "16 MiB", 16 * kMiB, 75);
        CompareSize(report, client, "64 MiB", 64 * kMiB, 25);
    }
    D_ToGeneric(nullptr, nullptr);
    return report.Finish();
}
