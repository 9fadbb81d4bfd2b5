// The trace library as a whole: each test begins with a library that nobody has used yet.
#pragma once

#include "Common_CPP/trace/trace.h"
#include "Common_CPP/trace/trace_control.h"
#include "Common_CPP/util/unique_handle.h"
#include "Common_CPP/util/utf8.h"
#include "Tests/support/hook.h"
#include "Tests/support/recorded_trace.h"
#include "Tests/support/temp_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The text's lines, without their ends.
inline std::vector<std::string> Lines(std::string_view text)
{
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = (std::min)(text.find('\n'), text.size());
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix((std::min)(end + 1, text.size()));
    }
    return lines;
}

/// A path as the configuration takes it.
inline std::string Narrow(const std::wstring& path)
{
    std::string text;
    EXPECT_TRUE(kx::WideToUtf8(path, text));
    return text;
}

/// Lets the system's tick jump, as far as the test program can see.
class TickJump {
  public:
    TickJump() { s_ahead = 0; }

    void Forward(ULONGLONG milliseconds) { s_ahead += milliseconds; }

  private:
    static ULONGLONG WINAPI _Tick() { return ImportHook<&_Tick>::Original() + s_ahead; }

    static inline ULONGLONG s_ahead = 0;
    ImportHook<&_Tick> _m_hook{"GetTickCount64"};
};

/// Runs `body` on a thread of its own, which tells the library when it ends, as the extension's threads do.
inline void OnThread(const std::function<void()>& body)
{
    struct Thread {
        static DWORD WINAPI Run(void* context)
        {
            (*static_cast<const std::function<void()>*>(context))();
            D_ThreadEnds();
            return 0;
        }
    };

    const CkxHandle thread(
        ::CreateThread(nullptr, 0, &Thread::Run, const_cast<std::function<void()>*>(&body), 0, nullptr));
    ::WaitForSingleObject(thread.Get(), INFINITE);
}

class TraceFixture : public testing::Test {
  protected:
    /// A configuration that is not there yet, and output to a sink of the test. Lines begin with the message.
    void SetUp() override
    {
        D_SetConfigFile(ConfigPath());
        _m_trace.emplace();
        Configure("");
        (void)Take();
    }

    void TearDown() override
    {
        _m_trace.reset();
        D_ModuleUnloads();
    }

    [[nodiscard]] std::wstring ConfigPath() const { return _m_folder / L"trace.cfg"; }

    [[nodiscard]] std::wstring TracePath() const { return _m_folder / L"x.trace"; }

    /// The same as the configuration takes it.
    [[nodiscard]] std::string TracePathText() const { return Narrow(TracePath()); }

    /// Makes `text` the configuration and has it read at once, without prefixes unless it sets one.
    void Configure(const std::string& text) const
    {
        _m_folder.Write(L"trace.cfg", "prefix@file@@all@\n" + text);
        D_SetConfigFile(ConfigPath());
    }

    /// Configures and forgets what the reading said.
    void ConfigureQuietly(const std::string& text)
    {
        Configure(text);
        (void)Take();
    }

    /// What went to the sink since the last time.
    std::string Take() { return _m_trace->Take(); }

    TempFolder _m_folder;

  private:
    std::optional<RecordedTrace> _m_trace;
};
