// Groups: those that a GPO has, and those that its policies name. The extension compares their ids exactly,
// and looks in the same GPO and scope only.
#include "Tools/kx_gpsim/lint_sink.h"

#include "Tools/kx_gpsim/text_case.h"

#include <map>
#include <set>

namespace kx {

namespace {

// Id in small letters, and how each is written where it is defined.
using Defined = std::map<std::string, const XmlElement*>;

constexpr std::string_view kGroup = "ApplicationGroup";

Defined DefinedIn(const LintFile* file)
{
    Defined defined;
    if (file)
        for (const XmlElement& group : file->root->children)
            if (group.name == kGroup && group.Find("id"))
                defined.try_emplace(LowerAscii(group.Value("id")), &group);
    return defined;
}

template <class Visit>
void ForEachTarget(const LintFile* policies, const Visit& visit)
{
    if (!policies)
        return;
    for (const XmlElement& policy : policies->root->children) {
        if (policy.name != "Policy")
            continue;
        for (const XmlElement& targets : policy.children)
            for (const XmlElement& group : targets.children)
                if (targets.name == "Targets" && group.name == kGroup)
                    visit(policy, group);
    }
}

void LintTarget(const XmlElement& policy, const XmlElement& target, const Defined& defined,
                const LintWhere& where, CkxLintSink& sink)
{
    const XmlAttribute* const id = WantAttribute(target, "id", "KX1303", where, sink);
    if (!id)
        return;
    const auto found = defined.find(LowerAscii(id->value));
    if (found == defined.end())
        sink.Add("KX1301", where, id->place,
                 CallOf(policy, "gpid") + " names the group " + id->value +
                     ", which is not in the ApplicationGroups.xml beside it");
    else if (const std::string_view written = found->second->Value("id"); written != id->value)
        sink.Add("KX1301", where, id->place,
                 CallOf(policy, "gpid") + " names the group " + id->value + ", which is written " +
                     std::string(written) + " where it is defined");
}

std::set<std::string> UsedIn(const LintFile* policies)
{
    std::set<std::string> used;
    ForEachTarget(policies, [&](const XmlElement&, const XmlElement& group) {
        used.insert(LowerAscii(group.Value("id")));
    });
    return used;
}

} // namespace

void LintGroups(const LintWhere& where, CkxLintSink& sink)
{
    std::map<std::string, const XmlElement*> seen;
    for (const XmlElement& group : where.file->root->children) {
        if (group.name != kGroup) {
            if (EqualNoCase(group.name, kGroup))
                sink.Add("KX1703", where, group.place,
                         "<" + group.name + "> is not seen; it is written <ApplicationGroup>");
            continue;
        }
        (void)WantAttribute(group, "name", "KX1305", where, sink);
        const XmlAttribute* const id = WantAttribute(group, "id", "KX1303", where, sink);
        if (!id)
            continue;
        if (const auto [first, isNew] = seen.try_emplace(LowerAscii(id->value), &group); !isNew)
            sink.Add("KX1304", where, id->place,
                     CallOf(group, "id") + " has the id of " + CallOf(*first->second, "id") + " in line " +
                         std::to_string(first->second->place.line) + ", which counts");
    }
    // A file of policies that cannot be read says nothing about what they use.
    for (const LintFile& file : where.folder->files)
        if (file.which == PolicyFile::Policies && !file.root)
            return;
    const std::set<std::string> used = UsedIn(where.folder->Find(PolicyFile::Policies));
    for (const auto& [id, group] : seen)
        if (!used.contains(id))
            sink.Add("KX1302", where, group->place,
                     "no policy beside it uses the group " + CallOf(*group, "id"));
}

void LintTargets(const LintWhere& where, CkxLintSink& sink)
{
    // Nor does a file of groups that cannot be read say which there are.
    for (const LintFile& file : where.folder->files)
        if (file.which == PolicyFile::ApplicationGroups && !file.root)
            return;
    const Defined defined = DefinedIn(where.folder->Find(PolicyFile::ApplicationGroups));
    ForEachTarget(where.file, [&](const XmlElement& policy, const XmlElement& target) {
        LintTarget(policy, target, defined, where, sink);
    });
}

} // namespace kx
