// The library's memory: what a thread leaves behind, and what happens where there is none.
#include "Tests/support/memory_use.h"
#include "Tests/trace/trace_fixture.h"

#include <atomic>
#include <functional>
#include <memory>
#include <new>

KXT_CLASS("CkxMemory");

namespace {

class Memory : public TraceFixture {};

void SayLine(const char* who, int number)
{
    KXT_SCOPE("SayLine");
    KXT_OUT(KXT_INFO, who << " line " << number << " of many ");
    KXT_OUT(KXT_TRACE, "suppressed");
}

std::atomic<int> g_untilFailure{-1}; // calls that still succeed; -1: all
std::atomic<bool> g_onlyOne{false};  // the calls after the failing one succeed again

void* FailingMalloc(std::size_t size)
{
    if (g_untilFailure == 0) {
        if (g_onlyOne)
            g_untilFailure = -1;
        return nullptr;
    }
    if (g_untilFailure > 0)
        --g_untilFailure;
    return ImportHook<&FailingMalloc>::Original(size);
}

TEST_F(Memory, OfThreadsIsGivenBackWhenTheyEnd)
{
    const std::function<void()> body = [] {
        std::unique_ptr<D_Scope_c> scopes[100]; // more than a record holds without growing
        for (auto& scope : scopes)
            scope = std::make_unique<D_Scope_c>("x", nullptr);
        KXT_OUT(KXT_INFO, "x");
        D_SetThreadName("x");
    };
    OnThread(body);
    (void)Take();
    const std::size_t before = HeapBytes();
    for (int i = 0; i < 50; ++i) {
        OnThread(body);
        (void)Take();
    }
    EXPECT_LT(HeapBytes(), before + 5000) << "a record is larger than a hundred bytes";
}

void Throw()
{
    try {
        throw std::bad_alloc();
    } catch (const std::bad_alloc&) {
        return;
    }
}

// The first exception of a thread, and the first of the process that must do without memory, need memory for
// the compiler's own records and end the process where there is none.
void MakeExceptionsWork()
{
    const int left = g_untilFailure.exchange(-1);
    const bool onlyOne = g_onlyOne.exchange(true);
    Throw();
    g_untilFailure = 0;
    Throw();
    g_untilFailure = left;
    g_onlyOne = onlyOne;
}

// What the library is to be used with; made in advance, since only the library may run out of memory.
struct Usage {
    std::wstring config;
    std::string traceFile;
    std::string otherFile;
    std::string longText = std::string(20000, 'x');
    std::function<void()> onThread = [] {
        MakeExceptionsWork();
        SayLine("x", 1);
        D_SetThreadName("x");
    };
};

// One of everything, from the first use of the library on.
void UseEverything(const Usage& usage)
{
    D_SetConfigFile(usage.config);
    (void)D_ToFile(usage.traceFile);
    (void)D_Directive("rotation@2@10");
    (void)D_Directive("print@stack@(a|b)*c@400@on");
    (void)D_Directive("prefix@class@x{y}@@<%FILE>");
    (void)D_Directive("stacktrace@<%YEAR>@<%CLASS>");
    (void)D_AddPrintRule(kx::ScopeKind::File, "a*b", 400, true);
    OnThread(usage.onThread);
    SayLine(usage.longText.c_str(), 2);
    (void)D_Directive("dump");
    (void)D_ToFile(usage.otherFile);
    (void)D_ToFile("C:\\none\\none\\x");
    (void)D_ToAuxStream("dbg");
    (void)D_ToStream("nonsense", true);
    (void)D_ToStream("dbg", true);
    (void)D_IsSelfTestOn("x", nullptr, 1);
}

TEST_F(Memory, ThatEndsAnywhereIsSurvived)
{
    Usage usage;
    usage.config = _m_folder.Write(
        L"oom.cfg", "to_file@" + Narrow(_m_folder / L"first.trace") +
                        "\nprefix@file@x+@@p\nindent@  @\nprint@file@[a-c]@7@on\nselftest@file@x@1@on\n");
    usage.traceFile = TracePathText();
    usage.otherFile = Narrow(_m_folder / L"other.trace");
    const ImportHook<&FailingMalloc> hook("malloc");
    MakeExceptionsWork();
    int failures = 0;
    for (bool reached = true; reached && failures < 5000; ++failures) {
        reached = false;
        for (const bool onlyOne : {true, false}) {
            if (!onlyOne && failures % 5 != 0) // differs little from one to the next
                continue;
            D_ModuleUnloads();
            ::SetLastError(0x12345678);
            g_onlyOne = onlyOne;
            g_untilFailure = failures;
            UseEverything(usage);
            reached = reached || g_untilFailure <= 0;
            g_untilFailure = -1;
            EXPECT_EQ(::GetLastError(), 0x12345678U) << failures << " is the caller's";
        }
    }
    EXPECT_GT(failures, 50) << "the library needed memory";
    D_ModuleUnloads();
    D_SetConfigFile(usage.config);
    ASSERT_TRUE(D_Directive("to_new_file@" + usage.traceFile));
    SayLine("alive", 0);
    EXPECT_NE(ReadBytes(TracePath()).find("alive line 0 of many"), std::string::npos);
}

} // namespace
