// Where the time of one large refresh goes: the parts of the fastest bare way, which no program can do
// without, and what the extension adds to them.
#include "Bench/bare_refresh.h"
#include "Bench/bench_gpos.h"
#include "Bench/bench_report.h"
#include "Bench/refresh_stage.h"

#include <chrono>
#include <cstddef>
#include <iterator>
#include <string>
#include <vector>

namespace {

constexpr int kRounds = 25;
constexpr int kPolicies = 10000;

using Clock = std::chrono::steady_clock;

double MillisecondsSince(Clock::time_point begin)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

// The fastest way, with a clock beside its parts. In milliseconds.
class TimedRefresh : public CkxFastestRefresh {
  public:
    using CkxFastestRefresh::CkxFastestRefresh;

    double load = 0;
    double merge = 0;
    double text = 0;
    double send = 0;

    // False where the refresh failed.
    bool Time(const std::vector<CkxListedGpo>& gpos)
    {
        const Clock::time_point begin = Clock::now();
        const bool done = Run(gpos);
        const double all = MillisecondsSince(begin);
        send = MillisecondsSince(_m_textTaken);
        merge = all - load - text - send;
        return done;
    }

  protected:
    Document _LoadFile(const std::wstring& path) override
    {
        const Clock::time_point begin = Clock::now();
        Document document = CkxFastestRefresh::_LoadFile(path);
        load += MillisecondsSince(begin);
        return document;
    }

    void _TakeText(IXMLDOMDocument* document, CComBSTR& taken) override
    {
        const Clock::time_point begin = Clock::now();
        CkxFastestRefresh::_TakeText(document, taken);
        text = MillisecondsSince(begin);
        _m_textTaken = Clock::now();
    }

  private:
    Clock::time_point _m_textTaken = Clock::now();
};

} // namespace

int main(int argc, char** argv)
{
    CkxBenchReport report(argc, argv);
    CkxRefreshStage stage;
    const CkxBenchGpos gpos(1, kPolicies);
    const CkxBareUser user{L"S-1-5-21-1-2-3-1001", L"LAB\\user"};
    kx::Samples load;
    kx::Samples merge;
    kx::Samples text;
    kx::Samples send;
    const auto fastest = [&] {
        TimedRefresh refresh(user);
        const double time = stage.TimeOf([&] { return refresh.Time(gpos.List()); });
        load.push_back(refresh.load);
        merge.push_back(refresh.merge);
        text.push_back(refresh.text);
        send.push_back(refresh.send);
        return time;
    };
    const auto sides = kx::Interleave(kRounds, {[&] { return stage.TimeOfExtension(gpos.List()); }, fastest});
    if (HasFailed(sides))
        report.Fail("a refresh failed");
    const double all = kx::Median(sides[1]) / 1000;
    const double parts[] = {kx::Median(load), kx::Median(merge), kx::Median(text), kx::Median(send)};
    const char* const names[] = {"reading and parsing", "walk, orders, moves", "the document's text",
                                 "releasing it, and sending"};
    for (std::size_t i = 0; i < std::size(parts); ++i)
        report.Figure(names[i], "ms", parts[i]);
    report.Figure("the fastest way in all", "ms", all);
    report.Figure("what the extension adds", "ms", (kx::MedianRatio(sides[0], sides[1]) - 1) * all);
    return report.Finish();
}
