// How many requests a refresh makes to the system's server, which is what it waits for: the extension beside
// the two bare programs. Counted, so the same on a busy machine. Two runs: the first, without arguments,
// makes the refreshes while Wine logs the requests (WINEDEBUG=+server); the second, with the log's path,
// counts.
#include "Bench/bare_refresh.h"
#include "Bench/bench_gpos.h"
#include "Bench/bench_report.h"
#include "Bench/refresh_stage.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <string>
#include <utility>

namespace {

constexpr double kMostAFile = 6;
constexpr double kMostToFastest = 1.3;
constexpr int kFewGpos = 1;
constexpr int kManyGpos = 10;
constexpr int kPolicies = 100;
constexpr int kFilesAGpo = 2; // that are there; four more are looked for

constexpr const char* kMarker = "kx-trips-";

std::string SectionName(const char* side, int gpos)
{
    return std::string(side) + "-" + std::to_string(gpos);
}

// Whether somebody has to be waited for differs by a request or two: the fewest of some refreshes count.
constexpr int kRefreshes = 5;

// The marks are requests themselves: for an event of that name.
template <class Refresh>
void Mark(const std::string& section, const Refresh& refresh)
{
    const auto mark = [&](const char* edge) {
        const CkxHandle event(::CreateEventA(nullptr, FALSE, FALSE, (kMarker + section + edge).c_str()));
        Require(static_cast<bool>(event), "the marks in the log");
    };
    (void)refresh(); // what is done once a process is done
    for (int i = 0; i < kRefreshes; ++i) {
        mark("-begin");
        const bool done = refresh();
        mark("-end");
        Require(done, "a refresh");
    }
}

void MakeRefreshes()
{
    CkxRefreshStage stage;
    for (const int count : {kFewGpos, kManyGpos}) {
        const CkxBenchGpos gpos(count, kPolicies);
        const auto bare = [&](auto refresh) { return stage.TimeOf(refresh) != CkxRefreshStage::c_failed; };
        const CkxBareUser user{L"S-1-5-21-1-2-3-1001", L"LAB\\user"};
        Mark(SectionName("ours", count), [&] { return stage.TimeOfExtension(gpos.List()) > 0; });
        Mark(SectionName("plain", count),
             [&] { return bare([&] { return CkxPlainRefresh(user).Run(gpos.List()); }); });
        Mark(SectionName("fastest", count),
             [&] { return bare([&] { return CkxFastestRefresh(user).Run(gpos.List()); }); });
    }
}

// Not an answer ("request() = 0"), nor what the server tells of its own accord ("*wakeup*").
bool IsRequest(const std::string& line, const std::string& thread)
{
    const std::string begin = thread + ": ";
    return line.starts_with(begin) && line.size() > begin.size() && line[begin.size()] != '*' &&
           line.find("( ") != line.npos && line.find(") = ") == line.npos;
}

// The fewest requests between each section's marks, of the thread that made the marks.
std::map<std::string, double> CountRequests(const std::string& log)
{
    std::ifstream file(log);
    std::map<std::string, double> requests;
    std::string line;
    std::string section;
    std::string thread;
    double count = 0;
    while (std::getline(file, line)) {
        const std::size_t mark = line.find(kMarker);
        if (mark != line.npos && line.find("create_event(") != line.npos) {
            const std::string name = line.substr(mark + std::string_view(kMarker).size());
            section = name.substr(0, name.rfind('-'));
            thread = line.substr(0, line.find(':'));
            if (name.find("-begin") != name.npos) {
                count = -1; // the mark's own handle is closed inside
            } else {
                double& fewest = requests.try_emplace(section, count).first->second;
                fewest = std::min(fewest, count);
                section.clear();
            }
        } else if (!section.empty() && IsRequest(line, thread)) {
            ++count;
        }
    }
    return requests;
}

void Report(CkxBenchReport& report, std::map<std::string, double> requests)
{
    const auto of = [&](const char* side, int gpos) { return requests[SectionName(side, gpos)]; };
    const auto aFile = [&](const char* side) {
        return (of(side, kManyGpos) - of(side, kFewGpos)) / (kManyGpos - kFewGpos) / kFilesAGpo;
    };
    if (requests.size() != 6)
        report.Fail("the log does not hold every refresh");
    report.Figure("a loaded policy file", "requests", aFile("ours"), kMostAFile);
    report.Figure("a loaded policy file, the fastest way", "requests", aFile("fastest"));
    report.Figure("a loaded policy file, the plain way", "requests", aFile("plain"));
    report.Compare("a refresh of 10 GPOs, to the fastest way", "requests", {of("ours", kManyGpos)},
                   {of("fastest", kManyGpos)}, kMostToFastest);
    report.Compare("a refresh of 10 GPOs, to the plain way", "requests", {of("ours", kManyGpos)},
                   {of("plain", kManyGpos)});
    report.Compare("a refresh of 1 GPO, to the fastest way", "requests", {of("ours", kFewGpos)},
                   {of("fastest", kFewGpos)});
}

} // namespace

int main(int argc, char** argv)
{
    CkxBenchReport report(argc, argv);
    if (report.Arguments().empty()) {
        MakeRefreshes();
        return 0;
    }
    Report(report, CountRequests(report.Arguments().front()));
    return report.Finish();
}
