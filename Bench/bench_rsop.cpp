// What logging policies in WMI costs: the logger, tracing at its default into a file, beside a bare program
// that defines the same classes, makes the same puts, takes the same text of each policy and appends one line
// to a file. Both write into stores in memory; each round's store is new, and neither making it nor dropping
// it counts.
#include "Agent/engine/kx_gpext/rsop_log.h"
#include "Bench/bare_rsop.h"
#include "Bench/bench_report.h"
#include "Common_CPP/xml/xml_document.h"
#include "Tests/support/temp_folder.h"
#include "Tools/rsop_store/rsop_store.h"
#include "Tools/rsop_store/swbem_date_time.h"

#include <windows.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int kGroups = 500;
constexpr double kMostAgainstBare = 1.3;
constexpr double kMostGrowth = 1.3;

// The text of policies with one group each, without the groups' names.
std::wstring PoliciesText(int count)
{
    std::wstring text = L"<GpoPolicies version=\"5\">";
    for (int i = 0; i < count; ++i) {
        const std::wstring number = std::to_wstring(i);
        text += L"<Policy name=\"Policy " + number + L"\" gpid=\"{11111111-2222-3333-4444-" + number +
                L"}\" action=\"3\" order=\"" + number + L"\" description=\"" + std::wstring(220, L'd') +
                L"\"><Targets><ApplicationGroup id=\"" + std::to_wstring(i % kGroups) +
                L"\"/></Targets><Messages><Message id=\"1\">Access was denied by policy.</Message></Messages>"
                L"</Policy>";
    }
    return text + L"</GpoPolicies>";
}

std::wstring GroupsText()
{
    std::wstring text = L"<ApplicationGroups version=\"5\">";
    for (int i = 0; i < kGroups; ++i)
        text += L"<ApplicationGroup id=\"" + std::to_wstring(i) + L"\" name=\"" + CkxBareRsop::GroupName(i) +
                L"\"/>";
    return text + L"</ApplicationGroups>";
}

// One round's policies, parsed anew since logging writes into them, and the store that they go to.
struct Stage {
    explicit Stage(int count)
    {
        Require(policies.Load(CString(PoliciesText(count).c_str())) && policies.GetRootElement(root) &&
                    groups.Load(CString(GroupsText().c_str())) && groups.GetRootElement(groupsRoot),
                "the policies");
    }

    CkxXMLDocument policies;
    CkxXMLDocument groups;
    CkxXMLNode root;
    CkxXMLNode groupsRoot;
    CkxRsopStore store;
};

wchar_t g_directoryPath[] = L"LDAP://CN=Machine,CN={A},CN=Policies,CN=System,DC=fernhill,DC=example";
wchar_t g_link[] = L"LDAP://DC=fernhill,DC=example";
wchar_t g_path[] = L"C:\\KX\\{A}\\Machine"; // nothing is read from there
constexpr FILETIME kTime = {1, 0x01DC0000};

GROUP_POLICY_OBJECTW Gpo()
{
    GROUP_POLICY_OBJECTW gpo{};
    gpo.lpDSPath = g_directoryPath;
    gpo.lpLink = g_link;
    gpo.lpFileSysPath = g_path;
    return gpo;
}

void LogOurs(Stage& stage)
{
    GROUP_POLICY_OBJECTW entry = Gpo();
    CkxKxGroupPolicyObject gpo(&entry, true);
    gpo.SetPoliciesFileTime(kTime); // as in a refresh, which has it from reading the policies
    CkxRsopLog log(stage.store.Services(), true);
    CkxRsopLogGroups groups(stage.groupsRoot);
    CkxXMLNode policy; // which the caller has at hand: finding it is no part of logging, on neither side
    for (bool more = stage.root.GetFirstChild(NODE_ELEMENT, policy); more;
         more = policy.GetNextSibling(NODE_ELEMENT, policy))
        Require(log.LogPolicy(gpo, policy, groups) == S_OK, "our side's logging");
    log.ProcessConfigMap();
}

// The same through a bare program.
void LogBare(Stage& stage, CkxBareRsop& bare)
{
    bare.DefineClasses(stage.store.Services());
    CComPtr<IXMLDOMNode> policy;
    Require(stage.root.Get()->get_firstChild(&policy) == S_OK, "the bare side's walk");
    for (int i = 0; policy; ++i) {
        wchar_t id[64];
        ::swprintf_s(id, 64, L"{11111111-2222-3333-4444-%d}", i);
        Require(bare.Log(policy, i, id, i), "the bare side's logging");
        CComPtr<IXMLDOMNode> next;
        (void)policy->get_nextSibling(&next);
        policy = next;
    }
}

template <class Log>
kx::BenchSide Side(int count, Log log)
{
    return [count, log] {
        const auto stage = std::make_unique<Stage>(count);
        double nanoseconds = kx::NanosecondsACall(1, [&] { log(*stage); }) / count;
        Require(stage->store.Instances().size() == static_cast<std::size_t>(count),
                "something was not logged");
        return nanoseconds;
    };
}

} // namespace

int main(int argc, char** argv)
{
    CkxBenchReport report(argc, argv);
    Require(SUCCEEDED(::CoInitializeEx(nullptr, COINIT_MULTITHREADED)), "COM");
    {
        const CkxDateTimeClass dateTimes;
        Require(dateTimes.Status() == S_OK, "the converter of times");
        const TempFolder folder;
        Require(TraceInto(folder / L"ours.trace"), "our side's trace file");
        CkxBareRsop bare(folder / L"bare.lines", kGroups);
        const auto bareSide = [&](int count) {
            return Side(count, [&](Stage& stage) { LogBare(stage, bare); });
        };
        const auto compare = [&](int rounds, int count, const std::vector<kx::BenchSide>& others = {}) {
            std::vector<kx::BenchSide> all = {Side(count, LogOurs), bareSide(count)};
            all.insert(all.end(), others.begin(), others.end());
            std::vector<kx::Samples> sides = kx::Interleave(rounds, all);
            report.Compare(std::to_string(count) + " policies, 500 groups", "ns/policy", sides[0], sides[1],
                           kMostAgainstBare);
            return sides;
        };
        (void)compare(41, 1000);
        (void)compare(15, 10000);
        const auto few = [side = Side(1000, LogOurs)] {
            kx::Samples samples(9);
            std::generate(samples.begin(), samples.end(), side);
            return kx::Median(samples);
        };
        const auto sides = compare(5, 100000, {few});
        report.Figure("cost a policy, 100000 to 1000", "times", kx::MedianRatio(sides[0], sides[2]),
                      kMostGrowth);
    }
    ::CoUninitialize();
    return report.Finish();
}
