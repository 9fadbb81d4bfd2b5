// Any text as a configuration file: nothing breaks, and the dump of what came of it, read again, gives the
// same dump and the same decisions.
//
//   trace_config_fuzz -max_len=512
#include "Common_CPP/trace/directive_parser.h"
#include "Common_CPP/trace/line_reader.h"
#include "Common_CPP/trace/settings.h"
#include "Common_CPP/trace/settings_dump.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

class CkxTextSink final : public kx::MessageSink {
  public:
    void Print(std::string_view text) noexcept override { _m_text += text; }

    [[nodiscard]] const std::string& Text() const { return _m_text; }

  private:
    std::string _m_text;
};

struct Reading {
    kx::Settings settings;
    std::string said;
    int refused = 0; // lines that are no directive
};

Reading Read(std::string_view text)
{
    Reading reading;
    CkxTextSink sink;
    kx::LineReader reader(text);
    while (const auto line = reader.Next()) {
        const auto result = kx::ParseDirective(line->text, sink);
        if (line->isTooLong || !result.directive)
            ++reading.refused;
        else
            (void)kx::Apply(reading.settings, *result.directive, line->number, sink);
    }
    reading.said = sink.Text();
    return reading;
}

std::string Dump(const kx::Settings& settings)
{
    CkxTextSink sink;
    kx::DumpSettings(settings, {"err", "out", "x"}, sink);
    return sink.Text();
}

// What the rules decide for a few statements.
std::string Decisions(const kx::Settings& settings)
{
    std::string text;
    const char* const scopes[] = {"Send", "Generate"};
    for (const std::uint32_t level : {0U, 100U, 610U, 0xFFFFFFFFU})
        for (const char* className : {static_cast<const char*>(nullptr), "CkxGpXml"})
            for (const std::string_view file : {"gp_xml", "a"}) {
                const kx::RuleSubject subject{file, className, scopes, level};
                const bool* prints = settings.printRules.Find(subject);
                const bool* tests = settings.selftestRules.Find(subject);
                const kx::PrefixTemplate* prefix = settings.prefixRules.Find(subject);
                text += prints ? (*prints ? '1' : '0') : '-';
                text += tests ? (*tests ? '1' : '0') : '-';
                text += prefix ? prefix->Text() : "-";
            }
    return text;
}

void Require(bool condition, const char* what, const std::string& first, const std::string& second)
{
    if (condition)
        return;
    std::fprintf(stderr, "%s\n--- first\n%s\n--- second\n%s\n", what, first.c_str(), second.c_str());
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const Reading first = Read(std::string_view(reinterpret_cast<const char*>(data), size));
    const std::string dump = Dump(first.settings);

    const Reading second = Read(dump);
    const std::string secondDump = Dump(second.settings);
    Require(second.refused == 0, "the dump has a line that is no directive", dump, second.said);
    Require(dump == secondDump, "another dump", dump, secondDump);
    const std::string decided = Decisions(first.settings);
    const std::string decidedAgain = Decisions(second.settings);
    Require(decided == decidedAgain, "other decisions", decided, decidedAgain);
    return 0;
}
