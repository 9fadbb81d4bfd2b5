#include "Tools/kx_gpsim/lint_sink.h"

#include "Tools/kx_gpsim/return_code_text.h"
#include "Tools/kx_gpsim/text_case.h"

#include <algorithm>
#include <tuple>

namespace kx {

namespace {

std::string PathOf(const LintWhere& where)
{
    if (where.file)
        return where.file->path;
    return where.folder ? where.folder->path : where.gpo->path;
}

} // namespace

std::string LintWhere::Text() const
{
    std::string text;
    if (file) {
        const std::wstring_view name = PolicyFileName(file->which);
        for (const wchar_t unit : name) // these names are plain ASCII
            text += static_cast<char>(unit);
        text += " of ";
    }
    text += gpo->displayName.empty() ? gpo->name : gpo->displayName;
    return folder ? text + " (" + ScopeText(folder->scope) + ")" : text;
}

std::string PlaceText(const LintWhere& where, XmlPlace place)
{
    return "line " + std::to_string(place.line) + " of " + where.Text();
}

void CkxLintSink::Add(std::string_view id, const LintWhere& where, XmlPlace place, std::string message)
{
    LintFinding finding;
    finding.rule = FindLintRule(id);
    finding.gpo = where.gpo->name;
    finding.label = where.gpo->displayName;
    finding.scope = where.folder ? ScopeText(where.folder->scope) : std::string();
    finding.file = PathOf(where);
    finding.line = place.line;
    finding.column = place.column;
    finding.message = std::move(message);
    _m_findings.push_back({where.rank, std::move(finding)});
}

std::vector<LintFinding> CkxLintSink::Take()
{
    const auto key = [](const Ranked& each) {
        const LintFinding& finding = each.finding;
        return std::tuple(each.rank, finding.line, finding.column, finding.rule->id);
    };
    std::stable_sort(_m_findings.begin(), _m_findings.end(),
                     [&](const Ranked& a, const Ranked& b) { return key(a) < key(b); });
    std::vector<LintFinding> findings;
    for (Ranked& each : _m_findings)
        findings.push_back(std::move(each.finding));
    return findings;
}

void ForEachFile(const LintInput& input, const std::function<void(const LintWhere&)>& visit)
{
    std::size_t rank = 0;
    for (const LintGpo& gpo : input.gpos)
        for (const LintFolder& folder : gpo.folders)
            for (const LintFile& file : folder.files)
                if (const LintWhere where{&gpo, &folder, &file, rank++}; file.root)
                    visit(where);
}

const XmlAttribute* WantAttribute(const XmlElement& element, std::string_view name,
                                  std::string_view missingId, const LintWhere& where, CkxLintSink& sink)
{
    if (const XmlAttribute* const found = element.Find(name))
        return found;
    for (const XmlAttribute& other : element.attributes)
        if (EqualNoCase(other.name, name)) {
            sink.Add("KX1703", where, other.place,
                     "the attribute " + other.name + " is not seen; it is written " + std::string(name));
            return nullptr;
        }
    if (!missingId.empty())
        sink.Add(missingId, where, element.place,
                 CallOf(element, element.name == "Policy" ? "gpid" : "id") + " has no " + std::string(name));
    return nullptr;
}

std::string CallOf(const XmlElement& element, std::string_view idAttribute)
{
    for (const std::string_view attribute : {std::string_view("name"), idAttribute})
        if (const std::string_view value = element.Value(attribute); !value.empty())
            return '"' + std::string(value) + '"';
    return "<" + element.name + ">";
}

} // namespace kx
