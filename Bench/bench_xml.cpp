// What the XML wrappers cost above the parser's own calls, for each element: walking, reading, writing,
// moving, loading, taking the text; and how loading and text grow.
#include "Agent/engine/kx_gpext/policy_files.h"
#include "Bench/bare_parser.h"
#include "Bench/bench_gpos.h"
#include "Bench/bench_report.h"
#include "Common_CPP/xml/xml.h"

#include <cmath>
#include <string>
#include <vector>

namespace {

namespace bare = kx::bare;

constexpr double kGoalReused = 1.10;
constexpr double kGoalMade = 1.70;
constexpr double kGoalWhole = 1.15;
constexpr double kGoalGrowth = 1.10;
constexpr int kElements = 100'000;
constexpr int kRounds = 15;

volatile long long g_sum = 0; // keeps results alive

// A side that measures the nanoseconds an element of `work`, after `prepare`.
template <class Prepare, class Work>
kx::BenchSide Prepared(const Prepare& prepare, const Work& work)
{
    return [=] {
        prepare();
        return kx::NanosecondsACall(1, work) / kElements;
    };
}

template <class Work>
kx::BenchSide Side(const Work& work)
{
    return Prepared([] {}, work);
}

void Compare(CkxBenchReport& report, const std::string& what, double goal, const kx::BenchSide& ours,
             const kx::BenchSide& theirs, int rounds = kRounds)
{
    const std::vector<kx::Samples> sides = kx::Interleave(rounds, {ours, theirs});
    report.Compare(what, "ns", sides[0], sides[1], goal);
}

// ---- Single nodes

std::wstring SmallPolicies()
{
    std::wstring text = L"<Policies version=\"5\">";
    for (int i = 0; i < kElements; ++i) {
        const std::wstring number = std::to_wstring(i);
        text += L"<Policy name=\"policy " + number + L"\" order=\"" + number + L"\"><Targets/></Policy>";
    }
    return text + L"</Policies>";
}

struct Source {
    CkxXMLDocument document;
    CkxXMLNode root;

    void Load(const std::wstring& text)
    {
        Require(document.Load(text.c_str()) && document.GetRootElement(root), "a document");
    }
};

// Through wrappers, a new one for each policy.
template <class Visit>
void ForEachPolicy(const CkxXMLNode& root, const Visit& visit)
{
    CkxXMLNode next;
    bool more = root.GetFirstChild(L"Policy", next);
    while (more) {
        const CkxXMLNode policy = next;
        more = policy.GetNextSibling(L"Policy", next);
        visit(policy);
    }
}

template <class Visit>
void ForEachBarePolicy(const CkxXMLNode& root, const Visit& visit)
{
    bare::ForEachChild(root.Get(), L"Policy", visit);
}

void CountBarePolicies(const CkxXMLNode& root)
{
    ForEachBarePolicy(root, [](IXMLDOMNode*) { g_sum = g_sum + 1; });
}

void CompareReused(CkxBenchReport& report, const Source& source)
{
    CkxXMLNode policy;
    Require(source.root.GetFirstChild(L"Policy", policy), "the first policy");
    const CComPtr<IXMLDOMElement> element = bare::ElementOf(policy.Get());
    const CComBSTR name(L"order");

    Compare(report, "walk, wrapper reused", kGoalReused, Side([&] {
                CkxXMLNode node;
                for (bool more = source.root.GetFirstChild(L"Policy", node); more;
                     more = node.GetNextSibling(L"Policy", node))
                    g_sum = g_sum + 1;
            }),
            Side([&] { CountBarePolicies(source.root); }));
    Compare(report, "read attribute, wrapper reused", kGoalReused, Side([&] {
                for (int i = 0; i < kElements; ++i) {
                    int order = 0;
                    Require(policy.GetAttribute(L"order", order), "an order");
                    g_sum = g_sum + order;
                }
            }),
            Side([&] {
                for (int i = 0; i < kElements; ++i)
                    g_sum = g_sum + bare::NumberOf(element, name);
            }));
    Compare(report, "write attribute, wrapper reused", kGoalReused, Side([&] {
                for (int i = 0; i < kElements; ++i)
                    Require(policy.SetAttribute(L"order", 1'000'000'000 + i), "an order");
            }),
            Side([&] {
                for (int i = 0; i < kElements; ++i)
                    bare::SetNumber(element, name, 1'000'000'000 + i);
            }));
}

void CompareMade(CkxBenchReport& report, const Source& source)
{
    const CComBSTR name(L"order");

    Compare(report, "walk, wrapper made each step", kGoalMade,
            Side([&] { ForEachPolicy(source.root, [](const CkxXMLNode&) { g_sum = g_sum + 1; }); }),
            Side([&] { CountBarePolicies(source.root); }));
    Compare(report, "walk, read and write, made each step", kGoalMade, Side([&] {
                ForEachPolicy(source.root, [](const CkxXMLNode& policy) {
                    int order = 0;
                    Require(policy.GetAttribute(L"order", order) && policy.SetAttribute(L"order", order + 1),
                            "an order");
                });
            }),
            Side([&] {
                ForEachBarePolicy(source.root, [&](IXMLDOMNode* policy) {
                    const CComPtr<IXMLDOMElement> element = bare::ElementOf(policy);
                    bare::SetNumber(element, name, bare::NumberOf(element, name) + 1);
                });
            }));
}

// All policies of one document go into another, four levels deep, as in a refresh.
void CompareMoves(CkxBenchReport& report, const std::wstring& text)
{
    Source source;
    Source target;
    CkxXMLNode place;
    std::vector<CkxXMLNode> policies; // wrappers made before the clock starts
    const auto prepare = [&] {
        policies.clear();
        source.Load(text);
        target.Load(L"<GPUpdate><ChangedGPOs><GPO><Policies/></GPO></ChangedGPOs></GPUpdate>");
        Require(target.root.SelectSingleNode(L"ChangedGPOs/GPO/Policies", place), "the place");
    };
    const auto prepareWrappers = [&] {
        prepare();
        policies.reserve(kElements);
        ForEachPolicy(source.root, [&](const CkxXMLNode& policy) { policies.push_back(policy); });
    };
    const auto move = [&](const CkxXMLNode& policy) { Require(place.AppendChild(policy), "a move"); };
    const auto moveBare = [&](IXMLDOMNode* policy) { bare::Must(place.Get()->appendChild(policy, nullptr)); };

    Compare(report, "move, wrappers reused", kGoalReused,
            Prepared(prepareWrappers,
                     [&] {
                         for (const CkxXMLNode& policy : policies)
                             move(policy);
                     }),
            Prepared(prepareWrappers,
                     [&] {
                         for (const CkxXMLNode& policy : policies)
                             moveBare(policy.Get());
                     }),
            3 * kRounds); // their times spread most
    Compare(report, "walk and move, made each step", kGoalMade,
            Prepared(prepare, [&] { ForEachPolicy(source.root, move); }),
            Prepared(prepare, [&] { ForEachBarePolicy(source.root, moveBare); }));
}

// ---- Whole documents

// A policy file, and ways to load it and take its text. Each side measures nanoseconds a policy.
class WholeFile {
  public:
    explicit WholeFile(int policies)
        : _m_gpos(1, policies),
          _m_path(kx::PolicyFilePath(_m_gpos.List().front().folder, false, kx::PolicyFile::Policies))
    {
        CkxXMLNode root;
        Require(_m_document.LoadFromFile(_m_path.c_str()) && _m_document.GetRootElement(root), "a file");
        _m_root = bare::ElementOf(root.Get());
    }

    [[nodiscard]] kx::BenchSide Loads(int times) const
    {
        return _Side(times, [this] {
            CkxXMLDocument document(_m_ourFactory);
            Require(document.LoadFromFile(_m_path.c_str()), "a file");
        });
    }

    [[nodiscard]] kx::BenchSide BareLoad() const
    {
        return _Side(1, [this] { (void)bare::LoadByBytes(_m_ourFactory.Get(), _m_path); });
    }

    [[nodiscard]] kx::BenchSide Texts(int times) const
    {
        return _Side(times, [this] {
            CComBSTR text;
            Require(_m_document.SaveToString(text), "a text");
            g_sum = g_sum + text.Length();
        });
    }

    [[nodiscard]] kx::BenchSide BareText() const
    {
        return _Side(1, [this] {
            CComBSTR text;
            bare::Must(_m_root->get_xml(&text));
            g_sum = g_sum + text.Length();
        });
    }

    [[nodiscard]] kx::BenchSide TextCopy() const
    {
        return _Side(1, [this] {
            CString text;
            Require(_m_document.SaveToString(text), "a text");
            g_sum = g_sum + text.GetLength();
        });
    }

  private:
    template <class Work>
    [[nodiscard]] kx::BenchSide _Side(int times, const Work& work) const
    {
        return [=, this] { return kx::NanosecondsACall(times, work) / _m_gpos.Policies(); };
    }

    CkxBenchGpos _m_gpos;
    std::wstring _m_path;
    CkxXMLDocumentFactory _m_ourFactory;
    CkxXMLDocument _m_document;
    CComPtr<IXMLDOMElement> _m_root;
};

void CompareWhole(CkxBenchReport& report, const WholeFile& file, const std::string& size, int rounds)
{
    Compare(report, "load and release, " + size, kGoalWhole, file.Loads(1), file.BareLoad(), rounds);
    const auto texts = kx::Interleave(rounds, {file.Texts(1), file.BareText(), file.TextCopy()});
    report.Compare("text, " + size, "ns", texts[0], texts[1], kGoalWhole);
    report.Compare("text copied into a CString, " + size, "ns", texts[2], texts[1]);
}

// The small amount ten times takes turns with the large one.
void CompareGrowth(CkxBenchReport& report, const char* what, const kx::BenchSide& small,
                   const kx::BenchSide& large)
{
    const std::vector<kx::Samples> sides = kx::Interleave(5, {large, small});
    report.Figure(what, "power", 1 + std::log10(kx::MedianRatio(sides[0], sides[1])), kGoalGrowth);
}

void CompareDocuments(CkxBenchReport& report)
{
    const WholeFile small(kElements / 10);
    const WholeFile large(kElements);
    CompareWhole(report, small, "10,000 policies", kRounds);
    CompareWhole(report, large, "100,000 policies", 9);
    CompareGrowth(report, "load against policies, 10,000 to 100,000", small.Loads(10), large.Loads(1));
    CompareGrowth(report, "text against policies, 10,000 to 100,000", small.Texts(10), large.Texts(1));
}

void CompareAll(CkxBenchReport& report)
{
    const std::wstring text = SmallPolicies();
    {
        Source source;
        source.Load(text);
        CompareReused(report, source);
        CompareMade(report, source);
    }
    CompareMoves(report, text);
    CompareDocuments(report);
}

} // namespace

int main(int argc, char** argv)
{
    CkxBenchReport report(argc, argv);
    Require(SUCCEEDED(::CoInitializeEx(nullptr, COINIT_MULTITHREADED)), "COM");
    CompareAll(report);
    ::CoUninitialize();
    return report.Finish();
}
