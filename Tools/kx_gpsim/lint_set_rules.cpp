// What is wrong between the files of a set, though each by itself may be right.
#include "Tools/kx_gpsim/lint_sink.h"

#include "Agent/engine/kx_gpext/policy_order.h"
#include "Common_CPP/util/number_text.h"
#include "Tools/kx_gpsim/text_case.h"

#include <array>
#include <map>

namespace kx {

namespace {

// ---- migration ----------------------------------------------------------------------------------------

// The extension takes the file for a command as soon as its version is a number.
bool IsTaken(const LintFile& migration)
{
    std::int32_t version = 0;
    const XmlAttribute* const attribute = migration.root->Find("version");
    return attribute && ScanInt32<char>(attribute->value, version);
}

// True when the command is complete.
bool LintCommand(const LintWhere& where, CkxLintSink& sink)
{
    const XmlElement& root = *where.file->root;
    if (root.name != "AgentParameters") {
        sink.Add("KX1503", where, root.place, "the root is <" + root.name + ">, not <AgentParameters>");
        return false;
    }
    bool complete = true;
    for (const std::string_view name : {std::string_view("setId"), std::string_view("dispatcherUrl")})
        if (root.Value(name).empty()) {
            sink.Add("KX1503", where, root.place, std::string(name) + " is missing or empty");
            complete = false;
        }
    return complete;
}

bool HasOtherFiles(const LintFolder& folder)
{
    return folder.files.size() > 1;
}

// How many folders of the scope hold anything.
std::size_t FoldersWithFiles(const LintInput& input, Scope scope)
{
    std::size_t count = 0;
    for (const LintGpo& gpo : input.gpos)
        for (const LintFolder& folder : gpo.folders)
            count += folder.scope == scope && !folder.files.empty() ? 1U : 0U;
    return count;
}

} // namespace

void LintMigrations(const LintInput& input, CkxLintSink& sink)
{
    ForEachFile(input, [&](const LintWhere& where) {
        if (where.file->which != PolicyFile::Migration || !IsTaken(*where.file))
            return;
        const XmlPlace place = where.file->root->place;
        if (HasOtherFiles(*where.folder))
            sink.Add("KX1501", where, place, "the other files of its folder are not read while it is there");
        const std::size_t others = FoldersWithFiles(input, where.folder->scope) - 1;
        if (LintCommand(where, sink) && others > 0)
            sink.Add(
                "KX1502", where, place,
                "where this GPO applies, the agent gets the command and no policy of " +
                    (others == 1 ? std::string("the other GPO") : std::to_string(others) + " other GPOs"));
    });
}

// ---- ids and places -----------------------------------------------------------------------------------

namespace {

struct FirstOf {
    LintWhere where;
    const XmlElement* element = nullptr;
};

// Called for each policy with the number of GPOs in its scope's list and the GPO's place there.
template <class Visit>
void ForEachPolicy(const LintInput& input, const Visit& visit)
{
    const auto scopeIndex = [](const LintFolder& folder) { return folder.scope == Scope::Machine ? 0U : 1U; };
    std::array<std::uint32_t, 2> counts{};
    for (const LintGpo& gpo : input.gpos)
        for (const LintFolder& folder : gpo.folders)
            ++counts[scopeIndex(folder)];
    std::array<std::uint32_t, 2> places{};
    std::map<const LintFolder*, std::uint32_t> placeOf;
    for (const LintGpo& gpo : input.gpos)
        for (const LintFolder& folder : gpo.folders)
            placeOf[&folder] = ++places[scopeIndex(folder)];
    ForEachFile(input, [&](const LintWhere& where) {
        if (where.file->which != PolicyFile::Policies)
            return;
        for (const XmlElement& policy : where.file->root->children)
            if (policy.name == "Policy")
                visit(where, policy, counts[scopeIndex(*where.folder)], placeOf[where.folder]);
    });
}

void LintPlaceInAll(const LintWhere& where, const XmlElement& policy, std::int32_t place,
                    std::map<std::int32_t, FirstOf>& seen, CkxLintSink& sink)
{
    const auto [first, isNew] = seen.try_emplace(place, FirstOf{where, &policy});
    if (!isNew && first->second.where.file != where.file)
        sink.Add("KX1106", where, policy.Find("order")->place,
                 CallOf(policy, "gpid") + " gets the place " + std::to_string(place) + " that " +
                     CallOf(*first->second.element, "gpid") + " has, in " +
                     PlaceText(first->second.where, first->second.element->place));
}

void LintIdInAll(const LintWhere& where, const XmlElement& policy, std::map<std::string, FirstOf>& seen,
                 CkxLintSink& sink)
{
    const XmlAttribute* const id = policy.Find("gpid");
    if (!id)
        return;
    const auto [first, isNew] = seen.try_emplace(LowerAscii(id->value), FirstOf{where, &policy});
    if (!isNew && first->second.where.file != where.file)
        sink.Add("KX1204", where, id->place,
                 CallOf(policy, "gpid") + " has the gpid of " + CallOf(*first->second.element, "gpid") +
                     " in " + PlaceText(first->second.where, first->second.element->place));
}

} // namespace

void LintAcrossPolicies(const LintInput& input, CkxLintSink& sink)
{
    std::map<std::int32_t, FirstOf> places;
    std::map<std::string, FirstOf> ids;
    ForEachPolicy(input, [&](const LintWhere& where, const XmlElement& policy, std::uint32_t count,
                             std::uint32_t place) {
        std::int32_t order = 0;
        if (ScanInt32<char>(policy.Value("order"), order))
            LintPlaceInAll(where, policy,
                           GlobalOrder(order, count, place, where.folder->scope == Scope::Machine), places,
                           sink);
        LintIdInAll(where, policy, ids, sink);
    });
}

// ---- names --------------------------------------------------------------------------------------------

namespace {

// How a name was first written.
struct FirstName {
    LintWhere where;
    XmlPlace place;
    std::string name;
};

using Names = std::map<std::string, FirstName>;

// Whether the name was written otherwise before; the first way of writing stays.
const FirstName* WrittenOtherwise(const FirstName& here, Names& names)
{
    const FirstName& first = names.try_emplace(LowerAscii(here.name), here).first->second;
    return first.name == here.name ? nullptr : &first;
}

void LintName(const LintWhere& where, const XmlElement& element, Names& inFile, Names& inAll,
              CkxLintSink& sink)
{
    const XmlAttribute* const name = element.Find("name");
    if (!name || name->value.empty())
        return;
    const FirstName here{where, name->place, name->value};
    const FirstName* const before = WrittenOtherwise(here, inFile);
    const FirstName* const elsewhere = WrittenOtherwise(here, inAll);
    if (const FirstName* const first = before ? before : elsewhere)
        sink.Add(before ? "KX1701" : "KX1702", where, name->place,
                 "\"" + name->value + "\" differs only in case from \"" + first->name + "\" in " +
                     PlaceText(first->where, first->place));
}

} // namespace

void LintNames(const LintInput& input, CkxLintSink& sink)
{
    Names policies;
    Names groups;
    ForEachFile(input, [&](const LintWhere& where) {
        const bool isPolicies = where.file->which == PolicyFile::Policies;
        if (!isPolicies && where.file->which != PolicyFile::ApplicationGroups)
            return;
        Names inFile;
        for (const XmlElement& element : where.file->root->children)
            if (element.name == (isPolicies ? "Policy" : "ApplicationGroup"))
                LintName(where, element, inFile, isPolicies ? policies : groups, sink);
    });
}

} // namespace kx
