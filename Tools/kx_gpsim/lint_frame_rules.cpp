// What is wrong with a file as a whole, and with a GPO as a whole.
#include "Tools/kx_gpsim/lint_sink.h"

#include "Common_CPP/util/number_text.h"
#include "Tools/kx_gpsim/text_case.h"

#include <map>

namespace kx {

namespace {

constexpr std::int32_t kVersion = 5;

// Of these two any number is taken.
bool NeedsVersion5(PolicyFile which)
{
    return which != PolicyFile::RestrictionRules && which != PolicyFile::Migration;
}

void LintVersion(const LintWhere& where, CkxLintSink& sink)
{
    const XmlAttribute* const version = WantAttribute(*where.file->root, "version", "KX1003", where, sink);
    if (!version)
        return;
    std::int32_t number = 0;
    if (!ScanInt32<char>(version->value, number))
        sink.Add("KX1004", where, version->place, "the version \"" + version->value + "\" is no number");
    else if (number != kVersion && NeedsVersion5(where.file->which))
        sink.Add("KX1005", where, version->place,
                 "the version is " + version->value + "; with another than 5 none of the GPO's files counts");
}

void LintFaults(const LintInput& input, CkxLintSink& sink)
{
    std::size_t rank = 0;
    for (const LintGpo& gpo : input.gpos)
        for (const LintFolder& folder : gpo.folders)
            for (const LintFile& file : folder.files)
                if (const LintWhere where{&gpo, &folder, &file, rank++}; file.fault)
                    sink.Add(file.fault->unreadable ? "KX1002" : "KX1001", where, file.fault->place,
                             file.fault->reason);
}

void LintGpoFrame(const LintGpo& gpo, std::size_t rank, CkxLintSink& sink)
{
    bool hasFiles = false;
    for (const LintFolder& folder : gpo.folders) {
        hasFiles = hasFiles || !folder.files.empty();
        if (!folder.files.empty() && folder.version == 0U)
            sink.Add("KX1006", {&gpo, &folder, nullptr, rank}, {},
                     "GPT.INI has version 0 for this scope: the engine leaves the GPO out of its list");
    }
    if (!hasFiles)
        sink.Add("KX1007", {&gpo, nullptr, nullptr, rank}, {},
                 "none of the extension's files stands in the folder that it looks into");
}

} // namespace

void LintFileFrames(const LintInput& input, CkxLintSink& sink)
{
    LintFaults(input, sink);
    ForEachFile(input, [&](const LintWhere& where) { LintVersion(where, sink); });
    std::size_t rank = 0;
    std::map<std::string, const LintGpo*> seen;
    for (const LintGpo& gpo : input.gpos) {
        LintGpoFrame(gpo, rank, sink);
        if (!seen.try_emplace(LowerAscii(gpo.name), &gpo).second)
            sink.Add("KX1008", {&gpo, nullptr, nullptr, rank}, {},
                     gpo.name + " stands in the list before: only the policies of its first place count");
        for (const LintFolder& folder : gpo.folders)
            rank += folder.files.size();
    }
}

} // namespace kx
