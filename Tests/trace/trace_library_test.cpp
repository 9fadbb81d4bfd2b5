// Statements and scopes: what prints, what a line says, and what the caller notices (nothing).
#include "Tests/trace/trace_fixture.h"

#include <stdexcept>

KXT_CLASS("CkxSample");

namespace {

class Statement : public TraceFixture {};

class Scope : public TraceFixture {};

int g_built = 0;

int Built()
{
    return ++g_built;
}

// One call site: what it has decided once is remembered.
void SayDetail()
{
    KXT_OUT(KXT_TRACE, "detail " << Built());
}

void Say(std::uint32_t level, std::string_view text = "x")
{
    KXT_OUT_AT(level, text);
}

TEST_F(Statement, WithoutARuleItPrintsAndTheLibraryWonders)
{
    Say(610, "d");
    EXPECT_EQ(Take(), "D_Lib: could not find flag for: file [Tests/trace/trace_library_test.cpp], class "
                      "[CkxSample], level [610] - assumed value 1\nd\n");
}

TEST_F(Statement, TheDefaultPrefixNamesProcessFileAndLine)
{
    D_SetConfigFile(_m_folder / L"none.cfg");
    (void)Take();
    static const int line = __LINE__ + 1;
    KXT_OUT(KXT_INFO, "INFO: x");
    EXPECT_EQ(Take(), std::to_string(::GetCurrentProcessId()) + ":Tests/trace/trace_library_test.cpp(" +
                          std::to_string(line) + "): INFO: x\n");
}

TEST_F(Statement, TheMessageIsBuiltOnlyWhenItPrintsAlsoAfterEachChange)
{
    const char* const off = "print@class@CkxSample@400@off\n";
    const char* const on = "print@class@CkxSample@400@on\n";
    g_built = 0;
    ConfigureQuietly(off);
    SayDetail();
    SayDetail();
    EXPECT_EQ(g_built, 0);
    ConfigureQuietly(on);
    SayDetail();
    SayDetail();
    EXPECT_EQ(Take(), "detail 1\ndetail 2\n");
    ConfigureQuietly(off);
    SayDetail();
    EXPECT_EQ(g_built, 2);
}

TEST_F(Statement, ARuleOfTheProgramOutranksThoseOfTheFile)
{
    const auto said = [this] {
        ConfigureQuietly("print@file@@all@off\n"); // a reading drops the file's rules only
        for (const std::uint32_t level : {KXT_ERROR, KXT_WARNING, KXT_INFO, KXT_TRACE})
            Say(level, std::to_string(level));
        return Take();
    };
    EXPECT_EQ(said(), "100\n200\n300\n") << "the library's own";
    ASSERT_TRUE(D_AddPrintRule(kx::ScopeKind::Class, "Sample", KXT_TRACE, true));
    EXPECT_FALSE(D_AddPrintRule(kx::ScopeKind::Class, "(", KXT_TRACE, true));
    EXPECT_EQ(said(), "100\n200\n300\n400\n");
}

TEST_F(Statement, StackRulesAreAskedEachTime)
{
    ConfigureQuietly("print@file@@400@off\nprint@stack@Send@400@on\nprefix@stack@Send@@S:\n");
    SayDetail();
    EXPECT_EQ(Take(), "");
    {
        KXT_SCOPE("Send");
        KXT_SCOPE("Inner"); // any name on the stack will do
        SayDetail();
    }
    EXPECT_EQ(Take().substr(0, 9), "S: detail");
    SayDetail();
    EXPECT_EQ(Take(), "");
}

TEST_F(Statement, SelftestRulesAnswerTheProgram)
{
    EXPECT_FALSE(D_IsSelfTestOn("a/gp_xml.cpp", nullptr, 1));
    ConfigureQuietly("selftest@file@gp_xml@1@on\nselftest@class@Off@@no\n");
    EXPECT_TRUE(D_IsSelfTestOn("a\\GP_XML.cpp", nullptr, 1));
    EXPECT_FALSE(D_IsSelfTestOn("a/gp_xml.cpp", nullptr, 2));
    EXPECT_FALSE(D_IsSelfTestOn("a/gp_xml.cpp", "Off", 1)) << "the later rule wins";
}

struct Tracer { // a value that traces while it is printed

    friend D_Line_c& operator<<(D_Line_c& line, const Tracer&)
    {
        KXT_SCOPE("Inside");
        KXT_OUT(KXT_ERROR, "inner");
        return line << "outer";
    }
};

TEST_F(Statement, InsideAStatementNothingElsePrints)
{
    ConfigureQuietly("stacktrace@>@<\n");
    KXT_OUT(KXT_ERROR, Tracer{});
    EXPECT_EQ(Take(), "outer\n");
    Say(KXT_ERROR);
    EXPECT_EQ(Take(), "x\n") << "the next statement prints again";
}

TEST_F(Statement, ASinkThatTracesGetsNothingOfItsOwn)
{
    struct Sink {
        static void Write(void* context, const char*, std::size_t)
        {
            ++*static_cast<int*>(context);
            KXT_OUT(KXT_ERROR, "from the sink");
            throw std::runtime_error("a sink may fail");
        }
    };

    int calls = 0;
    D_ToGeneric(&Sink::Write, &calls);
    calls = 0;
    Say(KXT_ERROR);
    EXPECT_EQ(calls, 1);
    calls = 0;
    D_SetConfigFile(ConfigPath()); // says that it reads, of which file, what it found, in a frame
    EXPECT_EQ(calls, 5);
}

struct Thrower {
    friend D_Line_c& operator<<(D_Line_c& line, const Thrower&)
    {
        line << "half";
        throw std::runtime_error("x");
    }
};

TEST_F(Statement, AValueThatThrowsCostsTheRestOfItsLineOnly)
{
    KXT_OUT(KXT_ERROR, "a " << Thrower{} << " b");
    Say(KXT_ERROR);
    EXPECT_EQ(Take(), "a half...\nx\n");
}

TEST_F(Statement, PrintsValuesAsTheyAre)
{
    const wchar_t* noText = nullptr;
    ::SetLastError(5);
    KXT_OUT(KXT_INFO, 'c' << -1 << ' ' << 4000000000U << ' ' << static_cast<HRESULT>(0x80070005) << ' '
                          << D_LastError << ' ' << noText);
    EXPECT_EQ(Take(), "c-1 4000000000 -2147024891 5 <NULL>\n");
}

TEST_F(Statement, WideTextIsUtf8)
{
    std::wstring manyPairs = L"."; // odd, so that a pair stands across every border of pieces
    std::string manyPairsNarrow = ".";
    for (int i = 0; i < 5000; ++i) {
        manyPairs += L"\U0001F600";
        manyPairsNarrow += "\xF0\x9F\x98\x80";
    }

    const struct {
        const char* why;
        std::wstring text;
        std::string expected;
    } rows[] = {
        {"two, three and four bytes", L"\u00E4\u20AC\U0001F600", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"},
        {"many pairs", manyPairs, manyPairsNarrow},
        {"half a pair", std::wstring(1, static_cast<wchar_t>(0xD800)), "???unconvertable UNICODE string???"},
        {"half a pair far behind", std::wstring(5000, L'x') + static_cast<wchar_t>(0xDC00),
         "???unconvertable UNICODE string???"},
        {"a NUL inside", std::wstring(L"a\0b", 3), std::string("a\0b", 3)},
    };

    for (const auto& row : rows) {
        KXT_OUT(KXT_INFO, "[" << std::wstring_view(row.text) << "]");
        EXPECT_EQ(Take(), "[" + row.expected + "]\n") << row.why;
    }
}

void Inner()
{
    KXT_SCOPE("Inner");
    Say(KXT_INFO, "in");
}

void Outer()
{
    KXT_SCOPE("Outer");
    Inner();
    Say(KXT_INFO, "out");
}

TEST_F(Scope, LinesAreIndentedByDepthAndNameTheInnermostScope)
{
    ConfigureQuietly("indent@. @\nprefix@file@@all@<%STACK>:<%INDENT>\n");
    Say(KXT_INFO);
    Outer();
    Say(KXT_INFO);
    EXPECT_EQ(Take(), "<no stack name>: x\nInner:. . in\nOuter:. out\n<no stack name>: x\n");
}

TEST_F(Scope, EnterAndLeaveLinesStandAtTheSameIndentation)
{
    ConfigureQuietly("indent@.@\nstacktrace@<%INDENT>> <%CLASS>::<%STACK> <%LINE>@<%INDENT>< <%STACK>@\n");
    Outer();
    EXPECT_EQ(Take(),
              ".> CkxSample::Outer <%LINE>\n..> CkxSample::Inner <%LINE>\nin\n..< Inner\nout\n.< Outer\n");
    ConfigureQuietly("stacktrace@<%CLASS>@<%PID>/<%TID>\n");
    {
        const D_Scope_c ofNoClass("f", nullptr);
    }
    EXPECT_EQ(Take(), "<no class name>\n" + std::to_string(::GetCurrentProcessId()) + "/" +
                          std::to_string(::GetCurrentThreadId()) + "\n");
    ConfigureQuietly("stacktrace@off\n");
    Outer();
    EXPECT_EQ(Take(), "in\nout\n");
}

TEST_F(Scope, DeepRecursionPairs)
{
    ConfigureQuietly("prefix@file@@all@<%STACK>\n");
    std::vector<std::unique_ptr<D_Scope_c>> scopes;
    for (int i = 0; i < 2000; ++i)
        scopes.push_back(std::make_unique<D_Scope_c>(i % 2 ? "odd" : "even", nullptr));
    while (scopes.size() > 1)
        scopes.pop_back();
    Say(KXT_INFO);
    scopes.clear();
    Say(KXT_INFO);
    EXPECT_EQ(Take(), "even x\n<no stack name> x\n");
}

TEST_F(Scope, LeavingWhatWasNeverEnteredIsReported)
{
    auto outer = std::make_unique<D_Scope_c>("outer", nullptr);
    auto inner = std::make_unique<D_Scope_c>("inner", nullptr);
    outer.reset(); // takes the inner one along
    inner.reset();
    EXPECT_EQ(Take(), "D_Lib: could not find stack information for leaving stack [inner] - internal error\n");
}

} // namespace
