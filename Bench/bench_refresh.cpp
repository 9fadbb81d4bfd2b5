// What a whole refresh costs: the shipped extension as the engine calls it, tracing at its default, beside
// two bare programs that make the same document from the same files and send it to the same agent: the plain
// way to make the parser's calls, and the fastest one known. They take turns. Arguments: names of the sizes
// to measure, such as 10x100; all without any.
#include "Bench/bare_refresh.h"
#include "Bench/bench_gpos.h"
#include "Bench/bench_report.h"
#include "Bench/refresh_stage.h"
#include "Tests/support/xml_meaning.h"

#include <algorithm>
#include <span>
#include <string>
#include <vector>

namespace {

constexpr double kMostToPlain = 1.0;
constexpr double kMostToFastest = 1.3;
constexpr double kMostForTenfold = 12; // ten times the policies
constexpr double kMostGpoGrowth = 1.3;
constexpr std::size_t kMostByMeaning = 4'000'000; // characters; larger documents are compared by content

struct Size {
    const char* name;
    int gpos;
    int policies;
    int rounds;
    int plainRounds;   // the plain way takes up to 25 times as long
    int refreshes = 1; // in each round, so that a short one is not all noise
};

constexpr Size kSmallSizes[] = {
    {"1x100", 1, 100, 31, 15, 10},
    {"10x100", 10, 100, 21, 11, 3},
    {"100x100", 100, 100, 11, 5},
    {"1x10000", 1, 10000, 11, 5},
};
constexpr Size kManyGpos = {"999x20", 999, 20, 7, 2};
constexpr int kFewGpos = 100;
constexpr Size kManyPolicies = {"1x100000", 1, 100000, 5, 1};
constexpr int kFewPolicies = 10000;

// The three ways over the same GPOs.
class Contest {
  public:
    Contest(CkxRefreshStage& stage, const CkxBareUser& user, std::span<const CkxListedGpo> gpos,
            int refreshes = 1)
        : _m_stage(stage), _m_user(user), _m_gpos(gpos), _m_refreshes(refreshes)
    {
    }

    // Microseconds a refresh; c_failed where one failed.
    double Ours()
    {
        return _Mean([this] { return _m_stage.TimeOfExtension(_m_gpos); });
    }

    double Plain() { return _MeanOf<CkxPlainRefresh>(); }

    double Fastest() { return _MeanOf<CkxFastestRefresh>(); }

    std::wstring LastDocument() const { return _m_stage.LastDocument(); }

  private:
    template <class Time>
    double _Mean(const Time& timeOfOne) const
    {
        double sum = 0;
        for (int i = 0; i < _m_refreshes; ++i) {
            const double time = timeOfOne();
            if (time < 0)
                return CkxRefreshStage::c_failed;
            sum += time;
        }
        return sum / _m_refreshes;
    }

    template <class Bare>
    double _MeanOf()
    {
        return _Mean([this] { return _m_stage.TimeOf([this] { return Bare(_m_user).Run(_m_gpos); }); });
    }

    CkxRefreshStage& _m_stage;
    const CkxBareUser& _m_user;
    std::span<const CkxListedGpo> _m_gpos;
    int _m_refreshes;
};

bool IsSame(const std::wstring& document, const std::wstring& other)
{
    if (CkxUpdateContent(document) != CkxUpdateContent(other))
        return false;
    return document.size() > kMostByMeaning || XmlMeaning(document) == XmlMeaning(other);
}

// That `ours` holds every policy of every GPO, once.
bool IsWhole(const std::wstring& ours, const Size& size)
{
    const CkxUpdateContent content(ours);
    const auto gpos = static_cast<std::size_t>(size.gpos);
    const auto policies = gpos * static_cast<std::size_t>(size.policies);
    return content.gpos == gpos && content.orders.size() == policies &&
           content.groups == policies + gpos * CkxBenchGpos::c_groups;
}

// The plain way sends it last, right after it was measured.
void CheckDocuments(CkxBenchReport& report, Contest& contest, const Size& size)
{
    const std::wstring plain = contest.LastDocument();
    (void)contest.Ours();
    const std::wstring ours = contest.LastDocument();
    (void)contest.Fastest();
    if (!IsWhole(ours, size) || !IsSame(ours, plain) || !IsSame(ours, contest.LastDocument()))
        report.Fail(std::string(size.name) + ": the three ways did not send the same document");
}

void CheckTimes(CkxBenchReport& report, const Size& size, const std::vector<kx::Samples>& sides)
{
    if (HasFailed(sides))
        report.Fail(std::string(size.name) + ": a refresh failed");
}

void CompareToFastest(CkxBenchReport& report, const Size& size, const kx::Samples& ours,
                      const kx::Samples& fastest)
{
    const double policy = 1.0 / size.gpos / size.policies;
    report.Compare(std::string(size.name) + ", a policy, to the fastest way", "us", Scaled(ours, policy),
                   Scaled(fastest, policy), kMostToFastest);
}

// In rounds of its own, which are few and without one to warm up: everybody has been there before.
void CompareToPlain(CkxBenchReport& report, Contest& contest, const Size& size)
{
    std::vector<kx::Samples> sides(2);
    for (int round = 0; round < size.plainRounds; ++round) {
        sides[0].push_back(contest.Ours());
        sides[1].push_back(contest.Plain());
    }
    CheckTimes(report, size, sides);
    CheckDocuments(report, contest, size);
    const double policy = 1.0 / size.gpos / size.policies;
    report.Compare(std::string(size.name) + ", a policy, to the plain way", "us", Scaled(sides[0], policy),
                   Scaled(sides[1], policy), kMostToPlain);
}

void MeasureSmall(CkxBenchReport& report, CkxRefreshStage& stage, const CkxBareUser& user, const Size& size)
{
    const CkxBenchGpos gpos(size.gpos, size.policies);
    Contest contest(stage, user, gpos.List(), size.refreshes);
    const auto sides =
        kx::Interleave(size.rounds, {[&] { return contest.Ours(); }, [&] { return contest.Fastest(); }});
    CheckTimes(report, size, sides);
    CompareToFastest(report, size, sides[0], sides[1]);
    CompareToPlain(report, contest, size);
}

// How a refresh grows from a small contest to a large one, for us and for the fastest way.
struct Growth {
    std::string name;
    const char* unit;
    double largeScale; // from the microseconds of a refresh to the figure that is compared
    double smallScale;
    double most;
};

void MeasureLarge(CkxBenchReport& report, Contest& large, Contest& small, const Size& size,
                  const Growth& growth)
{
    const auto sides =
        kx::Interleave(size.rounds, {[&] { return large.Ours(); }, [&] { return large.Fastest(); },
                                     [&] { return small.Ours(); }, [&] { return small.Fastest(); }});
    CheckTimes(report, size, sides);
    CompareToFastest(report, size, sides[0], sides[1]);
    CompareToPlain(report, large, size);
    report.Compare(growth.name + ", ours", growth.unit, Scaled(sides[0], growth.largeScale),
                   Scaled(sides[2], growth.smallScale), growth.most);
    report.Compare(growth.name + ", the fastest way", growth.unit, Scaled(sides[1], growth.largeScale),
                   Scaled(sides[3], growth.smallScale));
}

void MeasureManyGpos(CkxBenchReport& report, CkxRefreshStage& stage, const CkxBareUser& user)
{
    const CkxBenchGpos gpos(kManyGpos.gpos, kManyGpos.policies);
    Contest many(stage, user, gpos.List());
    Contest few(stage, user, std::span(gpos.List()).first(kFewGpos));
    MeasureLarge(
        report, many, few, kManyGpos,
        {"a GPO of 999 to a GPO of 100", "us", 1.0 / kManyGpos.gpos, 1.0 / kFewGpos, kMostGpoGrowth});
}

void MeasureManyPolicies(CkxBenchReport& report, CkxRefreshStage& stage, const CkxBareUser& user)
{
    const CkxBenchGpos manyGpos(1, kManyPolicies.policies);
    const CkxBenchGpos fewGpos(1, kFewPolicies);
    Contest many(stage, user, manyGpos.List());
    Contest few(stage, user, fewGpos.List());
    MeasureLarge(report, many, few, kManyPolicies,
                 {"a refresh of 100000 policies to one of 10000", "ms", 0.001, 0.001, kMostForTenfold});
}

CkxBareUser LookUpUser(CkxRefreshStage& stage)
{
    const CkxBenchGpos gpos(1, 1);
    Require(stage.TimeOfExtension(gpos.List()) > 0, "a first refresh");
    const std::wstring document = stage.LastDocument();
    return {FirstAttribute(document, L"SID"), FirstAttribute(document, L"user")};
}

} // namespace

int main(int argc, char** argv)
{
    CkxBenchReport report(argc, argv);
    const auto& names = report.Arguments();
    const auto wanted = [&](const Size& size) {
        return names.empty() || std::find(names.begin(), names.end(), size.name) != names.end();
    };
    CkxRefreshStage stage;
    const CkxBareUser user = LookUpUser(stage);
    for (const Size& size : kSmallSizes)
        if (wanted(size))
            MeasureSmall(report, stage, user, size);
    if (wanted(kManyGpos))
        MeasureManyGpos(report, stage, user);
    if (wanted(kManyPolicies))
        MeasureManyPolicies(report, stage, user);
    return report.Finish();
}
