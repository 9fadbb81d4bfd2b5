#include "Tools/kx_gpsim/saved_side.h"

#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/json_reader.h"
#include "Tools/kx_gpsim/return_code_text.h"
#include "Tools/kx_gpsim/secrets.h"
#include "Tools/kx_gpsim/sent_document.h"
#include "Tools/kx_gpsim/xml_encoding.h"
#include "Tools/kx_gpsim/xml_fault.h"

#include <algorithm>

namespace kx {

namespace {

std::string WhyNoDocument(const PassResult& pass)
{
    const std::string scope = ScopeText(pass.scope);
    if (!pass.called)
        return "the " + scope + " pass made no call";
    if (pass.call == "plan")
        return "planning sends no document";
    return "no document came of the " + scope + " pass; the call returned " + std::to_string(pass.code);
}

bool IsFaulty(const GpoOutcome& outcome)
{
    return std::any_of(outcome.complaints.begin(), outcome.complaints.end(),
                       [](const Complaint& complaint) { return complaint.severity == "error"; });
}

std::string WhyNoXml(const std::string& xml)
{
    const auto fault = FindXmlFault(xml);
    if (!fault)
        return ": is no XML document";
    return ':' + std::to_string(fault->line) + ':' + std::to_string(fault->column) + ": " + fault->reason;
}

} // namespace

SideFile KindOfSideFile(std::string_view text, const std::string& file)
{
    const std::string utf8 = Utf8OfXmlFile(text);
    const std::size_t first = utf8.find_first_not_of(" \t\r\n");
    if (first != std::string::npos && utf8[first] == '<')
        return SideFile::Document;
    const nlohmann::json json = ParseJson(utf8, file);
    if (!json.is_object())
        throw UsageError(file + ": is neither a document, a saved run nor a manifest");
    return json.contains("passes") ? SideFile::SavedRun : SideFile::Manifest;
}

DiffSide SideOfRun(const RunResult& run, const std::string& label)
{
    DiffSide side;
    side.label = label;
    for (const PassResult& pass : run.passes) {
        if (pass.document.empty())
            throw UsageError(label + ": " + WhyNoDocument(pass));
        side.documents.push_back({pass.scope, pass.document});
        const auto faulty = std::count_if(pass.gpos.begin(), pass.gpos.end(), IsFaulty);
        if (faulty > 0)
            side.notes.push_back(std::to_string(faulty) + (faulty == 1 ? " GPO has" : " GPOs have") +
                                 " errors for the " + ScopeText(pass.scope) + "; kx_gpsim apply tells which");
    }
    return side;
}

DiffSide SideOfDocument(std::string_view bytes, const std::string& label, Scope scope)
{
    const std::string xml = MaskXml(Utf8OfXmlFile(bytes));
    const std::optional<XmlElement> root = ParseXmlTree(xml);
    if (!root)
        throw UsageError(label + WhyNoXml(xml));
    return {label, {{ScopeOf(*root).value_or(scope), xml}}, {}};
}

} // namespace kx
