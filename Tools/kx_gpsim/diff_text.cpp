#include "Tools/kx_gpsim/diff_text.h"

#include "Tools/kx_gpsim/return_code_text.h"
#include "Tools/kx_gpsim/text_width.h"

namespace kx {

namespace {

Ink InkOf(ChangeKind kind)
{
    switch (kind) {
    case ChangeKind::Added:
        return Ink::Good;
    case ChangeKind::Removed:
        return Ink::Bad;
    case ChangeKind::Changed:
    case ChangeKind::Moved:
        break;
    }
    return Ink::Warning;
}

std::string_view MarkOf(ChangeKind kind)
{
    constexpr std::string_view marks[] = {"+", "-", "~", "~"};
    return marks[static_cast<std::size_t>(kind)];
}

std::string Line(ChangeKind kind, std::size_t indent, const std::string& text, const TextStyle& style)
{
    return std::string(indent, ' ') +
           style.paint(InkOf(kind), std::string(MarkOf(kind)) + ' ' + VisibleText(text)) + '\n';
}

std::string ChangeLine(const ElementChange& change, const TextStyle& style)
{
    const std::string path = change.path.empty() ? "text" : change.path;
    switch (change.kind) {
    case ChangeKind::Added:
        return Line(change.kind, 4, path + ": " + change.after, style);
    case ChangeKind::Removed:
        return Line(change.kind, 4, path + ": " + change.before, style);
    case ChangeKind::Moved:
        return Line(change.kind, 4, path + ": moved among its neighbours", style);
    case ChangeKind::Changed:
        break;
    }
    return Line(change.kind, 4, path + ": " + change.before + " \xE2\x86\x92 " + change.after, style);
}

std::string ChangeLines(const std::vector<ElementChange>& changes, const TextStyle& style)
{
    std::string lines;
    for (const ElementChange& change : changes)
        lines += ChangeLine(change, style);
    return lines;
}

std::string GpoText(const GpoDiff& gpo)
{
    const std::string what = gpo.deleted ? "deleted GPO " : "GPO ";
    const std::string name = gpo.label.empty() ? gpo.name : gpo.label + ' ' + gpo.name;
    return what + name + (gpo.kind == ChangeKind::Moved ? ": moved in the list" : "");
}

ChangeKind KindOf(const PolicyDiff& policy)
{
    if (!policy.before)
        return ChangeKind::Added;
    return policy.after ? ChangeKind::Changed : ChangeKind::Removed;
}

std::string PolicyText(const PolicyDiff& policy)
{
    const PolicyPlace& place = policy.after ? *policy.after : *policy.before;
    std::string text = place.name.empty() ? "(a policy without a name)" : place.name;
    if (!policy.id.empty())
        text += ' ' + policy.id;
    return text + ", " + (place.label.empty() ? place.gpo : place.label);
}

std::string PolicyLines(const PolicyDiff& policy, const TextStyle& style)
{
    std::string lines = Line(KindOf(policy), 2, PolicyText(policy), style);
    if (policy.moved)
        lines += Line(ChangeKind::Moved, 4,
                      "moved in the agent's order: " + std::to_string(policy.before->order) +
                          " \xE2\x86\x92 " + std::to_string(policy.after->order),
                      style);
    return lines + ChangeLines(policy.changes, style);
}

std::string ScopeLines(const ScopeDiff& scope, const TextStyle& style)
{
    std::string lines = style.paint(Ink::Heading, ScopeText(scope.scope)) + '\n';
    if (!scope.document.empty())
        lines += Line(ChangeKind::Changed, 2, "the document", style) + ChangeLines(scope.document, style);
    for (const GpoDiff& gpo : scope.gpos)
        lines += Line(gpo.kind, 2, GpoText(gpo), style) + ChangeLines(gpo.changes, style);
    for (const PolicyDiff& policy : scope.policies)
        lines += PolicyLines(policy, style);
    return lines + '\n';
}

struct Sums {
    std::size_t added = 0;
    std::size_t removed = 0;
    std::size_t changed = 0;
    std::size_t moved = 0;
};

std::string SumsLine(const DocumentDiff& diff)
{
    Sums sums;
    for (const ScopeDiff& scope : diff.scopes)
        for (const PolicyDiff& policy : scope.policies) {
            sums.added += policy.before ? 0U : 1U;
            sums.removed += policy.after ? 0U : 1U;
            sums.changed += policy.changes.empty() ? 0U : 1U;
            sums.moved += policy.moved ? 1U : 0U;
        }
    return "policies: " + std::to_string(sums.added) + " added, " + std::to_string(sums.removed) +
           " removed, " + std::to_string(sums.changed) + " changed, " + std::to_string(sums.moved) +
           " moved\n";
}

std::string NoteLines(const DiffSide& side)
{
    std::string lines;
    for (const std::string& note : side.notes)
        lines += VisibleText(side.label + ": " + note) + '\n';
    return lines;
}

} // namespace

std::string FormatDiffText(const DocumentDiff& diff, const DiffSide& before, const DiffSide& after,
                           const TextStyle& style)
{
    std::string text = style.paint(Ink::Dim, VisibleText("- " + before.label)) + '\n' +
                       style.paint(Ink::Dim, VisibleText("+ " + after.label)) + '\n' + NoteLines(before) +
                       NoteLines(after) + '\n';
    for (const ScopeDiff& scope : diff.scopes)
        text += ScopeLines(scope, style);
    return text + (diff.IsEmpty() ? "no differences\n" : SumsLine(diff));
}

} // namespace kx
