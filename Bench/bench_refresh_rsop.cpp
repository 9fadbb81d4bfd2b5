// What a whole refresh with RSoP costs: the shipped extension, logging into a store in memory, beside a bare
// program that makes and sends the document the fastest way and logs each policy as barely. Each round's
// stores are new, and neither making nor dropping them counts. Arguments: names of the sizes to measure, such
// as 10x100; all without any.
#include "Bench/bare_refresh.h"
#include "Bench/bare_rsop.h"
#include "Bench/bench_gpos.h"
#include "Bench/bench_report.h"
#include "Bench/refresh_stage.h"
#include "Tools/rsop_store/rsop_store.h"
#include "Tools/rsop_store/swbem_date_time.h"

#include <algorithm>
#include <string>

namespace {

constexpr double kMostToBare = 1.3;

struct Size {
    const char* name;
    int gpos;
    int policies;
    int rounds;
};

constexpr Size kSizes[] = {
    {"1x100", 1, 100, 31},  {"10x100", 10, 100, 15},  {"100x100", 100, 100, 7},
    {"999x20", 999, 20, 9}, {"1x10000", 1, 10000, 7}, {"1x100000", 1, 100000, 3},
};

// The fastest way to the document, with each policy logged as it is merged.
class LoggedRefresh : public CkxFastestRefresh {
  public:
    LoggedRefresh(const CkxBareUser& user, CkxBareRsop& rsop) : CkxFastestRefresh(user), _m_rsop(rsop) {}

  protected:
    void _Merged(IXMLDOMNode* policy, int order) override
    {
        wchar_t id[64];
        ::swprintf_s(id, 64, L"{11111111-2222-3333-4444-%012d}", _m_number);
        if (!_m_rsop.Log(policy, _m_number, id, order))
            AtlThrow(E_FAIL);
        ++_m_number;
    }

  private:
    CkxBareRsop& _m_rsop;
    int _m_number = 1;
};

// Gives `log` a new store; the time that it answers, once everything has been logged.
template <class Log>
double Logged(const Size& size, const Log& log)
{
    CkxRsopStore store;
    const double time = log(store);
    const auto expected = static_cast<std::size_t>(size.gpos) * static_cast<std::size_t>(size.policies);
    return store.Instances().size() == expected ? time : CkxRefreshStage::c_failed;
}

void Measure(CkxBenchReport& report, CkxRefreshStage& stage, CkxBareRsop& rsop, const Size& size)
{
    const CkxBareUser user{L"S-1-5-21-1-2-3-1001", L"LAB\\user"};
    const CkxBenchGpos gpos(size.gpos, size.policies);
    const auto ours = [&](CkxRsopStore& store) {
        return stage.TimeOfExtension(gpos.List(), store.Services());
    };
    const auto bare = [&](CkxRsopStore& store) {
        return stage.TimeOf([&] {
            return rsop.DefineClasses(store.Services()) && LoggedRefresh(user, rsop).Run(gpos.List());
        });
    };
    const auto sides =
        kx::Interleave(size.rounds, {[&] { return Logged(size, ours); }, [&] { return Logged(size, bare); }});
    if (HasFailed(sides))
        report.Fail(std::string(size.name) + ": a refresh failed, or did not log everything");
    const double policy = 1.0 / size.gpos / size.policies;
    report.Compare(std::string(size.name) + ", a policy, with RSoP", "us", Scaled(sides[0], policy),
                   Scaled(sides[1], policy), kMostToBare);
}

} // namespace

int main(int argc, char** argv)
{
    CkxBenchReport report(argc, argv);
    const auto& names = report.Arguments();
    CkxRefreshStage stage;
    const CkxDateTimeClass dateTimes;
    Require(dateTimes.Status() == S_OK, "the converter of times");
    Require(TraceInto(stage / L"bare.trace"), "the bare side's trace file");
    CkxBareRsop rsop(stage / L"bare.lines", CkxBenchGpos::c_groups);
    for (const Size& size : kSizes)
        if (names.empty() || std::find(names.begin(), names.end(), size.name) != names.end())
            Measure(report, stage, rsop, size);
    return report.Finish();
}
