// What the XML wrappers cost above the parser's own calls, both sides in turns in one process and run, so
// that a busy machine troubles both alike; medians are compared. Ends with 1 if a goal is missed.
#include "Common_CPP/util/scope_exit.h"
#include "Common_CPP/xml/xml.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cwchar>
#include <string>
#include <vector>

namespace {

constexpr double kGoalReused = 1.10;
constexpr double kGoalMade = 1.70;
constexpr double kGoalWhole = 1.15;
constexpr double kGoalGrowth = 1.10;
constexpr int kElements = 100000;

bool g_allMet = true;
volatile long long g_sum = 0; // keeps results alive

const char* Verdict(bool met)
{
    g_allMet = g_allMet && met;
    return met ? "met" : "missed";
}

void Require(bool holds, const char* what)
{
    if (holds)
        return;
    std::printf("failed: %s\n", what);
    std::exit(2);
}

double Median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Nanoseconds that each element took.
template <class Work>
double TimeOf(int elements, const Work& work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - begin;
    return taken.count() / elements;
}

/// Prints both sides' medians and the median of the ratios of neighbouring rounds; `prepare` runs before
/// each side, untimed.
template <class Prepare, class Ours, class Raw>
void Compare(const char* what, double goal, int elements, int rounds, const Prepare& prepare,
             const Ours& ours, const Raw& raw)
{
    std::vector<double> ourTimes;
    std::vector<double> rawTimes;
    std::vector<double> ratios;
    for (int round = 0; round < rounds; ++round) {
        double our = 0;
        if (round % 2 == 0) {
            prepare();
            our = TimeOf(elements, ours);
        }
        prepare();
        const double their = TimeOf(elements, raw);
        if (round % 2 != 0) {
            prepare();
            our = TimeOf(elements, ours);
        }
        ourTimes.push_back(our);
        rawTimes.push_back(their);
        ratios.push_back(our / their);
    }
    const double ratio = Median(ratios);
    std::printf("%-38s %7.0f ns, raw %7.0f ns an element, ratio %.2f, goal <= %.2f: %s\n", what,
                Median(ourTimes), Median(rawTimes), ratio, goal, Verdict(ratio <= goal));
}

std::wstring Policies(int count, bool whole)
{
    std::wstring text = L"<Policies version=\"5\">";
    for (int i = 0; i < count; ++i) {
        const std::wstring number = std::to_wstring(i);
        text += L"<Policy name=\"policy " + number + L"\" order=\"" + number + L"\"";
        if (whole)
            text += L" action=\"3\" gpid=\"{11111111-2222-3333-4444-555555555555}\" description=\"" +
                    std::wstring(220, L'd') +
                    L"\"><Targets><ApplicationGroup id=\"17\"/><ApplicationGroup id=\"18\"/></Targets>"
                    L"<Messages><Message id=\"1\">Access was denied by policy.</Message></Messages></Policy>";
        else
            text += L"><Targets/></Policy>";
    }
    return text + L"</Policies>";
}

CComPtr<IXMLDOMElement> ElementOf(IXMLDOMNode* node)
{
    CComPtr<IXMLDOMElement> element;
    Require(node->QueryInterface(__uuidof(IXMLDOMElement), reinterpret_cast<void**>(&element)) == S_OK,
            "element");
    return element;
}

bool IsPolicy(IXMLDOMNode* node)
{
    BSTR name = nullptr;
    const bool is = node->get_nodeName(&name) == S_OK && std::wcscmp(name, L"Policy") == 0;
    ::SysFreeString(name);
    return is;
}

/// Calls `visit` with every policy below `root`, as plainly as the parser's calls allow; `visit` may move it.
template <class Visit>
void WalkRaw(IXMLDOMNode* root, const Visit& visit)
{
    IXMLDOMNode* node = nullptr;
    if (root->get_firstChild(&node) != S_OK)
        return;
    while (node != nullptr) {
        IXMLDOMNode* next = nullptr;
        if (node->get_nextSibling(&next) != S_OK)
            next = nullptr;
        if (IsPolicy(node))
            visit(node);
        node->Release();
        node = next;
    }
}

/// The same through wrappers, a new one for each policy.
template <class Visit>
void Walk(const CkxXMLNode& root, const Visit& visit)
{
    CkxXMLNode next;
    bool more = root.GetFirstChild(L"Policy", next);
    while (more) {
        const CkxXMLNode policy = next;
        more = policy.GetNextSibling(L"Policy", next);
        visit(policy);
    }
}

int RawAttribute(IXMLDOMElement* element, BSTR name)
{
    VARIANT value;
    ::VariantInit(&value);
    const int number =
        element->getAttribute(name, &value) == S_OK ? std::wcstol(value.bstrVal, nullptr, 10) : -1;
    ::VariantClear(&value);
    return number;
}

void SetRawAttribute(IXMLDOMElement* element, BSTR name, int number)
{
    wchar_t text[16];
    (void)::_itow(number, text, 10);
    VARIANT value;
    ::VariantInit(&value);
    value.vt = VT_BSTR;
    value.bstrVal = ::SysAllocString(text);
    (void)element->setAttribute(name, value);
    ::VariantClear(&value);
}

/// The documents that the steps of a refresh are measured on.
struct Source {
    CkxXMLDocument document;
    CkxXMLNode root;

    void Load(const std::wstring& text)
    {
        Require(document.Load(text.c_str()) && document.GetRootElement(root), "load");
    }
};

void CompareReused()
{
    Source source;
    source.Load(Policies(kElements, false));
    CkxXMLNode policy;
    Require(source.root.GetFirstChild(L"Policy", policy), "first policy");
    const CComPtr<IXMLDOMElement> element = ElementOf(policy.Get());
    const CComBSTR name(L"order");
    const auto nothing = [] {};

    Compare(
        "walk, wrapper reused", kGoalReused, kElements, 15, nothing,
        [&] {
            CkxXMLNode node;
            bool more = source.root.GetFirstChild(L"Policy", node);
            for (; more; more = node.GetNextSibling(L"Policy", node))
                g_sum = g_sum + 1;
        },
        [&] { WalkRaw(source.root.Get(), [](IXMLDOMNode*) { g_sum = g_sum + 1; }); });
    Compare(
        "read attribute, wrapper reused", kGoalReused, kElements, 15, nothing,
        [&] {
            for (int i = 0; i < kElements; ++i) {
                int order = 0;
                Require(policy.GetAttribute(L"order", order), "order");
                g_sum = g_sum + order;
            }
        },
        [&] {
            for (int i = 0; i < kElements; ++i)
                g_sum = g_sum + RawAttribute(element, name);
        });
    Compare(
        "write attribute, wrapper reused", kGoalReused, kElements, 15, nothing,
        [&] {
            for (int i = 0; i < kElements; ++i)
                Require(policy.SetAttribute(L"order", 1000000000 + i), "order");
        },
        [&] {
            for (int i = 0; i < kElements; ++i)
                SetRawAttribute(element, name, 1000000000 + i);
        });
}

void CompareMade()
{
    Source source;
    source.Load(Policies(kElements, false));
    const CComBSTR name(L"order");
    const auto nothing = [] {};

    Compare(
        "walk, wrapper made each step", kGoalMade, kElements, 15, nothing,
        [&] { Walk(source.root, [](const CkxXMLNode&) { g_sum = g_sum + 1; }); },
        [&] { WalkRaw(source.root.Get(), [](IXMLDOMNode*) { g_sum = g_sum + 1; }); });
    Compare(
        "walk, read and write, made each step", kGoalMade, kElements, 15, nothing,
        [&] {
            Walk(source.root, [](const CkxXMLNode& policy) {
                int order = 0;
                Require(policy.GetAttribute(L"order", order) && policy.SetAttribute(L"order", order + 1),
                        "order");
            });
        },
        [&] {
            WalkRaw(source.root.Get(), [&](IXMLDOMNode* node) {
                const CComPtr<IXMLDOMElement> element = ElementOf(node);
                SetRawAttribute(element, name, RawAttribute(element, name) + 1);
            });
        });
}

/// Moves all policies of one document into another, four levels deep, as the refresh does.
void CompareMoves()
{
    const std::wstring text = Policies(kElements, false);
    Source source;
    Source target;
    CkxXMLNode place;
    std::vector<CkxXMLNode> policies; // wrappers made before the clock starts
    const auto prepare = [&] {
        policies.clear();
        source.Load(text);
        target.Load(L"<GPUpdate><ChangedGPOs><GPO><Policies/></GPO></ChangedGPOs></GPUpdate>");
        Require(target.root.SelectSingleNode(L"ChangedGPOs/GPO/Policies", place), "place");
    };
    const auto prepareWrappers = [&] {
        prepare();
        policies.reserve(kElements);
        Walk(source.root, [&](const CkxXMLNode& policy) { policies.push_back(policy); });
    };
    Compare(
        "move, wrappers reused", kGoalReused, kElements, 15, prepareWrappers,
        [&] {
            for (const CkxXMLNode& policy : policies)
                Require(place.AppendChild(policy), "move");
        },
        [&] {
            for (const CkxXMLNode& policy : policies)
                Require(place.Get()->appendChild(policy.Get(), nullptr) == S_OK, "move");
        });
    Compare(
        "walk and move, made each step", kGoalMade, kElements, 9, prepare,
        [&] {
            Walk(source.root, [&](const CkxXMLNode& policy) { Require(place.AppendChild(policy), "move"); });
        },
        [&] {
            WalkRaw(source.root.Get(), [&](IXMLDOMNode* policy) {
                Require(place.Get()->appendChild(policy, nullptr) == S_OK, "move");
            });
        });
}

CString TemporaryFile(const std::wstring& text, const wchar_t* name)
{
    wchar_t folder[MAX_PATH] = {};
    Require(::GetTempPathW(MAX_PATH, folder) != 0, "temporary folder");
    CString path;
    path.Format(L"%skx_bench_xml_%lu_%s.xml", folder, ::GetCurrentProcessId(), name);
    std::string bytes; // all ASCII
    for (const wchar_t character : text)
        bytes += static_cast<char>(character);
    const HANDLE file = ::CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written = 0;
    Require(::WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) != FALSE,
            "write");
    ::CloseHandle(file);
    return path;
}

/// Reads the file into a byte array and has a document of the factory parse it.
void LoadRaw(IClassFactory* factory, const wchar_t* path, CComPtr<IXMLDOMDocument>& document)
{
    Require(factory->CreateInstance(nullptr, __uuidof(IXMLDOMDocument),
                                    reinterpret_cast<void**>(&document)) == S_OK,
            "document");
    (void)document->put_async(VARIANT_FALSE);
    const HANDLE file =
        ::CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    LARGE_INTEGER size{};
    DWORD read = 0;
    VARIANT bytes;
    ::VariantInit(&bytes);
    Require(::GetFileSizeEx(file, &size) != FALSE, "size");
    bytes.vt = VT_ARRAY | VT_UI1;
    bytes.parray = ::SafeArrayCreateVector(VT_UI1, 0, size.LowPart);
    Require(::ReadFile(file, bytes.parray->pvData, size.LowPart, &read, nullptr) != FALSE, "read");
    ::CloseHandle(file);
    VARIANT_BOOL parsed = VARIANT_FALSE;
    Require(document->load(bytes, &parsed) == S_OK, "parse");
    ::VariantClear(&bytes);
}

void CompareWhole(int policies, int rounds)
{
    std::printf("-- %d policies\n", policies);
    const CString path = TemporaryFile(Policies(policies, true), L"whole");
    const kx::ScopeExit remove([&]() noexcept { ::DeleteFileW(path); });
    const CkxXMLDocumentFactory factory;
    const auto nothing = [] {};
    Compare(
        "load and release a file", kGoalWhole, policies, rounds, nothing,
        [&] {
            CkxXMLDocument document(factory);
            Require(document.LoadFromFile(path), "load");
        },
        [&] {
            CComPtr<IXMLDOMDocument> document;
            LoadRaw(factory.Get(), path, document);
        });

    CkxXMLDocument document(factory);
    Require(document.LoadFromFile(path), "load");
    CComPtr<IXMLDOMElement> root;
    CkxXMLNode rootNode;
    Require(document.GetRootElement(rootNode), "root");
    root = ElementOf(rootNode.Get());
    const auto rawText = [&] {
        BSTR text = nullptr;
        Require(root->get_xml(&text) == S_OK, "text");
        g_sum = g_sum + ::SysStringLen(text);
        ::SysFreeString(text);
    };
    Compare(
        "text of a document", kGoalWhole, policies, rounds, nothing,
        [&] {
            CComBSTR text;
            Require(document.SaveToString(text), "text");
            g_sum = g_sum + text.Length();
        },
        rawText);
    const double copied = TimeOf(policies, [&] {
        CString text;
        Require(document.SaveToString(text), "text");
        g_sum = g_sum + text.GetLength();
    });
    std::printf("%-38s %7.0f ns an element, for comparison\n", "text, copied into a CString", copied);
}

/// Times ten times the small amount and once the large one in turns, for the same reason as above.
template <class Small, class Large>
void CompareGrowth(const char* what, const Small& small, const Large& large)
{
    std::vector<double> ratios;
    for (int round = 0; round < 5; ++round) {
        const double smallTime = TimeOf(kElements, [&] {
            for (int i = 0; i < 10; ++i)
                small();
        });
        ratios.push_back(TimeOf(kElements, large) / smallTime);
    }
    const double exponent = 1 + std::log10(Median(ratios));
    std::printf("%-38s exponent %.2f from %d to %d, goal <= %.2f: %s\n", what, exponent, kElements / 10,
                kElements, kGoalGrowth, Verdict(exponent <= kGoalGrowth));
}

void CompareGrowthOfLoad()
{
    const CkxXMLDocumentFactory factory;
    const CString small = TemporaryFile(Policies(kElements / 10, true), L"small");
    const CString large = TemporaryFile(Policies(kElements, true), L"large");
    const auto load = [&](const CString& path) {
        CkxXMLDocument document(factory);
        Require(document.LoadFromFile(path), "load");
    };
    CompareGrowth(
        "load", [&] { load(small); }, [&] { load(large); });
    ::DeleteFileW(small);
    ::DeleteFileW(large);
}

void CompareGrowthOfText()
{
    Source small;
    Source large;
    small.Load(Policies(kElements / 10, true));
    large.Load(Policies(kElements, true));
    const auto save = [](const Source& source) {
        CComBSTR text;
        Require(source.document.SaveToString(text), "text");
    };
    CompareGrowth(
        "text", [&] { save(small); }, [&] { save(large); });
}

} // namespace

int main()
{
    Require(SUCCEEDED(::CoInitializeEx(nullptr, COINIT_MULTITHREADED)), "COM");
    std::printf("%d elements\n", kElements);
    CompareReused();
    CompareMade();
    CompareMoves();
    CompareWhole(kElements / 10, 15);
    CompareWhole(kElements, 3);
    CompareGrowthOfLoad();
    CompareGrowthOfText();
    ::CoUninitialize();
    return g_allMet ? 0 : 1;
}
