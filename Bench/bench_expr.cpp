// How fast rule expressions compile and search, against std::regex in the same
// process and run: both sides take turns in short batches, and medians over all
// rounds are compared, so that a busy machine troubles both alike. Then the
// cases that make a backtracking matcher blow up, against fixed bounds. Ends
// with 1 if a goal is missed.
#include "Bench/bench_report.h"
#include "Common_CPP/trace/expr.h"

#include <array>
#include <regex>
#include <string>
#include <vector>

namespace {

constexpr double kGoalRatio = 0.50;
constexpr int kRounds = 201;

// Compares both sides in batches of `calls`.
template <class Ours, class Theirs>
void Compare(CkxBenchReport& report, const std::string& name, int calls, const Ours& ours,
             const Theirs& theirs)
{
    const auto samples = kx::Interleave(kRounds, {kx::Batch(calls, [&] { kx::Keep(ours()); }),
                                                  kx::Batch(calls, [&] { kx::Keep(theirs()); })});
    report.Compare(name, "ns", samples[0], samples[1], kGoalRatio);
}

void CompareWithStandard(CkxBenchReport& report, const char* pattern)
{
    constexpr auto kFlags = std::regex::ECMAScript | std::regex::optimize;
    static const std::array<std::string, 6> kSubjects = {
        "gp_xml_targeting", "gp_xml", "rsop_log_generate", "kx_gpo", "path_forms", "config_watch"};
    const kx::Expr ours = *kx::Expr::Compile(pattern);
    const std::regex theirs(pattern, kFlags);
    for (const std::string& subject : kSubjects)
        if (ours.Search(subject) != std::regex_search(subject, theirs))
            report.Fail("different answers: " + std::string(pattern) + " on " + subject);

    std::size_t next = 0;
    const auto subject = [&]() -> const std::string& { return kSubjects[next++ % kSubjects.size()]; };
    Compare(
        report, std::string("search ") + pattern, 120, [&] { return ours.Search(subject()); },
        [&] { return std::regex_search(subject(), theirs); });
    Compare(
        report, std::string("compile ") + pattern, 20, [&] { return kx::Expr::Compile(pattern).has_value(); },
        [&] { return std::regex(pattern, kFlags).mark_count() == 0; });
}

std::string Times(const std::string& text, std::size_t count)
{
    std::string all;
    for (std::size_t i = 0; i < count; ++i)
        all += text;
    return all;
}

struct HardCase {
    const char* name;
    std::string expression;
    std::string subject;
    double mostMilliseconds;
};

void Run(CkxBenchReport& report, const HardCase& hard)
{
    const auto samples = kx::Interleave(9, {kx::Batch(1, [&] {
                                            const auto expression = kx::Expr::Compile(hard.expression);
                                            kx::Keep(expression && expression->Search(hard.subject));
                                        })});
    const std::string sizes =
        " (" + std::to_string(hard.expression.size()) + " x " + std::to_string(hard.subject.size()) + ")";
    report.Figure(hard.name + sizes, "ms", kx::Median(samples[0]) / 1e6, hard.mostMilliseconds);
}

void RunHardCases(CkxBenchReport& report)
{
    constexpr double kSmall = 2;
    constexpr double kLarge = 100;
    const std::string a260 = Times("a", 260);
    const std::string a16000 = Times("a", 16'000);
    const HardCase kCases[] = {
        {"(a*)*b", "(a*)*b", a260, kSmall},
        {"(a|a)*b", "(a|a)*b", a260, kSmall},
        {"(a+)+b", "(a+)+b", a260, kSmall},
        // Searches run from the end; these cannot see at once that nothing begins
        // there.
        {"b(a*)*.", "b(a*)*.", a260, kSmall},
        {"b(a|a)*.", "b(a|a)*.", a260, kSmall},
        {"b(a+)+.", "b(a+)+.", a260, kSmall},
        {"b(a|aa)+.", "b(a|aa)+.", a260, kSmall},
        {"b(a?...)(a...)", "b" + Times("a?", 86) + Times("a", 86), a260, kSmall},
        {"groups in each other", "b" + Times("(", 128) + "." + Times(")", 128), a260, kSmall},
        {"repetitions in each other", "b" + Times("(", 85) + "a" + Times(")*", 85) + ".", a260, kSmall},
        {"negations in each other", "b" + Times("!(.*", 50) + "b" + Times(")", 50), a260, kSmall},
        {"long: b(a?...).", "b" + Times("a?", 510) + ".", a16000, kLarge},
        {"long: b(a|...)*.", "b(" + Times("a|", 508) + "a)*.", a16000, kLarge},
        {"long: b(.*...).", "b" + Times(".*", 510) + ".", a16000, kLarge},
        {"long: b([^b]*...).", "b" + Times("[^b]*", 204) + ".", a16000, kLarge},
        {"long: b((a|.)?...).", "b" + Times("(a|.)?", 170) + ".", a16000, kLarge},
        {"long: repetitions in each other", "b" + Times("(a?", 203) + Times(")*", 203) + ".", a16000, kLarge},
        {"long: negations in a row", "b" + Times("!a*b", 255), a16000, kLarge},
        {"long: negations in each other", "b" + Times("!(a*", 204) + "b" + Times(")", 204), a16000, kLarge},
        {"long: quoted strings", "x" + Times("\\q", 166), Times("\"'", 8'000), kLarge},
        {"long: optional quoted strings", "x" + Times("\\q?", 149) + ".", Times("\"'", 8'000), kLarge},
        {"reference: ({a*})*\\1b", "({a*})*\\1b", a16000, kLarge},
        {"reference: {.*}{.*}\\1\\2b", "{.*}{.*}\\1\\2b", a16000, kLarge},
        {"reference: differs late", "{a*b?}.*\\1d", Times("a", 7'999) + "b" + Times("a", 7'999) + "cd",
         kLarge},
        {"reference: long", "{a*}" + Times("a?", 400) + Times("\\1", 109) + "b", a16000, kLarge},
        {"reference: nullable repetitions in each other",
         "{a?}" + Times("(", 250) + "\\1a?" + Times(")*", 250) + "b", a16000, kLarge},
        {"reference: negations", "{a*}" + Times("!(a*", 200) + "b\\1" + Times(")", 200) + "c", a16000,
         kLarge},
    };
    for (const HardCase& hard : kCases)
        Run(report, hard);
}

} // namespace

int main(int argc, char** argv)
{
    CkxBenchReport report(argc, argv);
    for (const char* pattern : {"gp_xml", "gp_.*", "kx_|gp_", "[a-z]+_log", ".*xml.*"})
        CompareWithStandard(report, pattern);
    RunHardCases(report);
    return report.Finish();
}
