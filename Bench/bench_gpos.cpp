#include "Bench/bench_gpos.h"

#include "Agent/engine/kx_gpext/policy_files.h"

#include <cwchar>
#include <utility>

namespace {

constexpr std::size_t kPolicySize = 585;

std::string Policy(int number, const std::string& targeting)
{
    const std::string text = std::to_string(number);
    const std::string head = "<Policy name=\"Policy " + text + "\" gpid=\"{11111111-2222-3333-4444-" +
                             std::string(12 - text.size(), '0') + text + "}\" action=\"3\" order=\"" + text +
                             "\" description=\"";
    const std::string tail = "\"><Targets><ApplicationGroup id=\"" +
                             std::to_string(number % CkxBenchGpos::c_groups) +
                             "\"/></Targets><Messages><Message id=\"1\">Access was denied by "
                             "policy.</Message></Messages>";
    const std::string end = "</Policy>";
    const std::string filler(kPolicySize - head.size() - tail.size() - end.size(), 'd');
    return head + filler + tail + targeting + end;
}

std::string PoliciesText(int count, const std::string& targeting)
{
    std::string text = "<GpoPolicies version=\"5\">";
    for (int i = 1; i <= count; ++i)
        text += Policy(i, targeting);
    return text + "</GpoPolicies>";
}

std::string GroupsText()
{
    std::string text = "<ApplicationGroups version=\"5\">";
    for (int i = 0; i < CkxBenchGpos::c_groups; ++i) {
        const std::string number = std::to_string(i);
        text += "<ApplicationGroup id=\"" + number + "\" name=\"Group number " + number + "\"/>";
    }
    return text + "</ApplicationGroups>";
}

std::wstring GpoName(int number)
{
    const std::wstring digits = std::to_wstring(number);
    return L"{00000000-0000-0000-0000-" + std::wstring(12 - digits.size(), L'0') + digits + L"}";
}

// The places where the text stands, each handed to `take`.
template <class Take>
void ForEach(std::wstring_view document, std::wstring_view text, const Take& take)
{
    for (auto at = document.find(text); at != std::wstring_view::npos; at = document.find(text, at + 1))
        take(at);
}

std::size_t Count(std::wstring_view document, std::wstring_view text)
{
    std::size_t count = 0;
    ForEach(document, text, [&](std::size_t) { ++count; });
    return count;
}

} // namespace

CkxBenchGpos::CkxBenchGpos(int gpos, int policies, const std::string& targeting) : _m_policies(policies)
{
    const std::string policiesText = PoliciesText(policies, targeting);
    const std::string groupsText = GroupsText();
    const auto write = [&](const std::wstring& gpo, kx::PolicyFile file, const std::string& text) {
        _m_folder.Write(kx::PolicyFilePath(gpo, false, file), text);
    };
    for (int i = 1; i <= gpos; ++i) {
        CkxListedGpo gpo;
        gpo.name = GpoName(i);
        gpo.displayName = L"GPO " + std::to_wstring(i);
        gpo.folder = _m_folder / gpo.name;
        write(gpo.name, kx::PolicyFile::Policies, policiesText);
        write(gpo.name, kx::PolicyFile::ApplicationGroups, groupsText);
        _m_list.push_back(std::move(gpo));
    }
}

CkxUpdateContent::CkxUpdateContent(std::wstring_view document)
    : gpos(Count(document, L"<GPO ")), groups(Count(document, L"<ApplicationGroup "))
{
    ForEach(document, L"<Policy ", [&](std::size_t at) {
        const std::wstring_view tag = document.substr(at, document.find(L'>', at) - at);
        const std::wstring order = FirstAttribute(tag, L"order");
        orders.push_back(order.empty() ? -1 : std::wcstoll(order.c_str(), nullptr, 10));
    });
}

std::wstring FirstAttribute(std::wstring_view document, std::wstring_view name)
{
    const std::wstring before = L" " + std::wstring(name) + L"=\"";
    const auto found = document.find(before);
    if (found == std::wstring_view::npos)
        return {};
    const auto begin = found + before.size();
    return std::wstring(document.substr(begin, document.find(L'"', begin) - begin));
}
