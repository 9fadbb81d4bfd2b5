// What all benchmarks share: sides that take turns in one process, and a table of ratios with their goals.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kx {

/// One figure a round, in whatever unit the side measures.
using Samples = std::vector<double>;

/// The middle of the values; of an even number of them, the upper one. 0 for none.
[[nodiscard]] double Median(Samples samples);

/// The middle of the ratios of samples that were taken in the same round.
[[nodiscard]] double MedianRatio(const Samples& ours, const Samples& theirs);

/// Does one short batch and answers what it measured, usually nanoseconds a call.
using BenchSide = std::function<double()>;

/// Lets the sides take turns, so that a busy machine troubles all of them alike. Every other round goes the
/// other way round, since a side may profit from what stood before it. A first round, to warm up, is not
/// counted. Returns the samples of each side.
[[nodiscard]] std::vector<Samples> Interleave(int rounds, const std::vector<BenchSide>& sides);

/// Nanoseconds that one of `calls` calls takes.
template <class Call>
[[nodiscard]] double NanosecondsACall(int calls, const Call& call)
{
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < calls; ++i)
        call();
    const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - begin;
    return taken.count() / calls;
}

/// Keeps `value` alive, so that the compiler does not leave out the work that it comes from.
inline void Keep(bool value) noexcept
{
    static volatile bool kept;
    kept = value;
    (void)kept;
}

/// A side that measures NanosecondsACall() of `call`.
template <class Call>
[[nodiscard]] BenchSide Batch(int calls, Call call)
{
    return [=] { return NanosecondsACall(calls, call); };
}

} // namespace kx

/// Ends the program, with a word why, unless `holds`: what is to be measured cannot be set up, or went wrong.
void Require(bool holds, const char* what);

/// Gathers what a benchmark has measured, and says at the end what met its goal: as a table, and as JSON
/// where the command line has "--json FILE".
class CkxBenchReport {
  public:
    /// Takes what is its own from the command line; the other arguments are in Arguments().
    CkxBenchReport(int argc, const char* const* argv);

    CkxBenchReport(const CkxBenchReport&) = delete;
    CkxBenchReport& operator=(const CkxBenchReport&) = delete;

    /// The arguments that are the benchmark's own.
    [[nodiscard]] const std::vector<std::string>& Arguments() const noexcept { return _m_arguments; }

    /// Compares two sides that took turns. The ratio is the median of the rounds' ratios, the spread goes
    /// from their lower to their upper quartile. Without a goal it is shown only.
    void Compare(std::string_view name, std::string_view unit, const kx::Samples& ours,
                 const kx::Samples& theirs, std::optional<double> mostRatio = std::nullopt);

    /// A figure of our own, against a fixed bound if there is one.
    void Figure(std::string_view name, std::string_view unit, double value,
                std::optional<double> most = std::nullopt);

    /// Notes that the benchmark itself went wrong: the sides did not do the same, or could not be set up.
    void Fail(std::string_view why);

    /// Prints the table and writes the file. The process's exit code: 0 when every goal is met and nothing
    /// has failed.
    [[nodiscard]] int Finish() const;

  private:
    struct Line {
        std::string name;
        std::string unit;
        double ours = 0;
        std::optional<double> theirs;
        double ratio = 0; // these three only beside theirs
        double lowRatio = 0;
        double highRatio = 0;
        std::optional<double> goal;

        [[nodiscard]] std::string_view Verdict() const noexcept;
    };

    void _PrintTable() const;
    [[nodiscard]] bool _WriteJson() const;
    [[nodiscard]] bool _IsAllMet() const noexcept;

    std::vector<std::string> _m_arguments;
    std::string _m_jsonPath;
    std::vector<Line> _m_lines;
    std::vector<std::string> _m_failures;
};
