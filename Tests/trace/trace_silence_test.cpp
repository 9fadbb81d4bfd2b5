// The switches that quieten the library: registry and environment.
#include "Tests/trace/child_role.h"
#include "Tests/trace/trace_fixture.h"

#include <map>

KXT_NO_CLASS;

namespace {

class Silence : public TraceFixture {
  protected:
    void Say(std::string_view text) { KXT_OUT(KXT_ERROR, text); }
};

// A registry of the test's own in place of the machine's, for this process.
class MachineKey {
  public:
    MachineKey()
    {
        ::RegCreateKeyExW(HKEY_CURRENT_USER, kPath, 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr,
                          _m_key.Put(), nullptr);
        ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, _m_key.Get());
    }

    ~MachineKey()
    {
        ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        ::RegDeleteTreeW(HKEY_CURRENT_USER, kPath);
    }

    MachineKey(const MachineKey&) = delete;
    MachineKey& operator=(const MachineKey&) = delete;

    void Set(DWORD silence) const
    {
        CkxRegKeyHandle agent;
        ::RegCreateKeyExW(_m_key.Get(), L"SOFTWARE\\Korvex\\Agent", 0, nullptr, REG_OPTION_VOLATILE,
                          KEY_ALL_ACCESS, nullptr, agent.Put(), nullptr);
        ::RegSetValueExW(agent.Get(), L"TotalTraceSilence", 0, REG_DWORD,
                         reinterpret_cast<const BYTE*>(&silence), sizeof silence);
    }

  private:
    static constexpr const wchar_t* kPath = L"Software\\KxTraceOutputTest";
    CkxRegKeyHandle _m_key;
};

TEST_F(Silence, TheRegistrySilencesWithinTenSecondsAndEmptiesTheFile)
{
    const MachineKey machine;
    TickJump clock;
    ConfigureQuietly("refresh@7\n"); // must not delay the registry's ten seconds
    ASSERT_TRUE(D_ToFile(TracePathText()));
    clock.Forward(10000);
    Say("1");
    machine.Set(1);
    clock.Forward(9000);
    Say("2");
    EXPECT_EQ(Lines(ReadBytes(TracePath())).back(), "2") << "not yet read again";
    clock.Forward(1000);
    Say("3");
    D_Directive("fstrip@1");
    {
        const D_Scope_c scope("x", nullptr);
    }
    EXPECT_EQ(ReadBytes(TracePath()), "");
    machine.Set(0);
    Say("4");
    clock.Forward(10000);
    Say("5");
    EXPECT_EQ(ReadBytes(TracePath()), "5\n");
}

TEST_F(Silence, AThreadWithoutFileOperationsLeavesTheEmptyingToOthers)
{
    const MachineKey machine;
    TickJump clock;
    ASSERT_TRUE(D_ToFile(TracePathText()));
    machine.Set(1);
    clock.Forward(10000);
    {
        const D_NoFileOperations_c noFiles;
        Say("1");
        EXPECT_EQ(Lines(ReadBytes(TracePath())).size(), 1U) << "silent, and still there";
    }
    Say("2");
    EXPECT_EQ(ReadBytes(TracePath()), "");
}

int PlayPrintEverything()
{
    if (!D_ToFile(Narrow(ChildVariable(L"KX_TEST_TRACE"))))
        return 1;
    KXT_OUT(KXT_ERROR, "error");
    KXT_OUT(KXT_TRACE, "detail");
    return 0;
}

const ChildRole c_printEverything(L"print everything", &PlayPrintEverything);

TEST_F(Silence, TheEnvironmentDecidesForAProcess)
{
    const std::wstring config =
        _m_folder.Write(L"env.cfg", "prefix@file@@all@p:\nprint@file@@100@off\nprint@file@@400@off\n");
    const std::wstring tooLong(260, L'x');
    const std::string switched = "D_Lib: output is switched to file " + TracePathText() + "\n";

    const struct {
        const char* why;
        std::map<std::wstring, std::wstring> variables;
        std::string expected;
    } rows[] = {
        {"the program's rules outrank the file's", {}, switched + "p: error\n"},
        {"without them", {{L"DLIB_NO_KX_DEFAULTS", L"1"}}, switched},
        {"silence, by an empty value too", {{L"DLIB_SILENCE", L""}}, "p: error\n"},
        {"silence that is too long", {{L"DLIB_SILENCE", tooLong}}, switched + "p: error\n"},
        {"shut up", {{L"DLIB_SHUT_UP", L"0"}}, switched},
        {"both", {{L"DLIB_SHUT_UP", L"0"}, {L"DLIB_SILENCE", L"0"}}, ""},
    };

    for (const auto& row : rows) {
        std::map<std::wstring, std::wstring> variables = row.variables;
        variables.insert({{L"KX_TEST_TRACE", TracePath()}, {L"DLIB_CONFIG", config}});
        ASSERT_EQ(Child(L"print everything", variables).Wait(), 0) << row.why;
        EXPECT_EQ(ReadBytes(TracePath()), row.expected) << row.why;
        ::DeleteFileW(TracePath().c_str());
    }
}

} // namespace
