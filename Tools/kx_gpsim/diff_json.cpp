#include "Tools/kx_gpsim/diff_json.h"

#include "Tools/kx_gpsim/return_code_text.h"

#include <nlohmann/json.hpp>

namespace kx {

namespace {

using Json = nlohmann::ordered_json;

constexpr int kFormat = 1;

template <class Item, class Convert>
Json ListOf(const std::vector<Item>& items, const Convert& convert)
{
    Json list = Json::array();
    for (const Item& item : items)
        list.push_back(convert(item));
    return list;
}

Json ChangeJson(const ElementChange& change)
{
    const bool hasBefore = change.kind == ChangeKind::Removed || change.kind == ChangeKind::Changed;
    const bool hasAfter = change.kind == ChangeKind::Added || change.kind == ChangeKind::Changed;
    return {{"kind", ChangeText(change.kind)},
            {"path", change.path},
            {"before", hasBefore ? Json(change.before) : Json()},
            {"after", hasAfter ? Json(change.after) : Json()}};
}

Json GpoJson(const GpoDiff& gpo)
{
    return {{"kind", ChangeText(gpo.kind)},
            {"name", gpo.name},
            {"displayName", gpo.label},
            {"deleted", gpo.deleted},
            {"changes", ListOf(gpo.changes, ChangeJson)}};
}

Json PlaceJson(const std::optional<PolicyPlace>& place)
{
    if (!place)
        return {};
    return {
        {"name", place->name}, {"gpo", place->gpo}, {"displayName", place->label}, {"order", place->order}};
}

std::string_view KindOf(const PolicyDiff& policy)
{
    if (!policy.before)
        return ChangeText(ChangeKind::Added);
    if (!policy.after)
        return ChangeText(ChangeKind::Removed);
    return ChangeText(policy.changes.empty() ? ChangeKind::Moved : ChangeKind::Changed);
}

Json PolicyJson(const PolicyDiff& policy)
{
    return {{"kind", KindOf(policy)},
            {"id", policy.id},
            {"before", PlaceJson(policy.before)},
            {"after", PlaceJson(policy.after)},
            {"moved", policy.moved},
            {"changes", ListOf(policy.changes, ChangeJson)}};
}

Json ScopeJson(const ScopeDiff& scope)
{
    return {{"scope", ScopeText(scope.scope)},
            {"document", ListOf(scope.document, ChangeJson)},
            {"gpos", ListOf(scope.gpos, GpoJson)},
            {"policies", ListOf(scope.policies, PolicyJson)}};
}

Json SideJson(const DiffSide& side)
{
    return {{"label", side.label}, {"notes", side.notes}};
}

} // namespace

std::string FormatDiffJson(const DocumentDiff& diff, const DiffSide& before, const DiffSide& after)
{
    const Json json = {{"format", kFormat},
                       {"before", SideJson(before)},
                       {"after", SideJson(after)},
                       {"equal", diff.IsEmpty()},
                       {"scopes", ListOf(diff.scopes, ScopeJson)}};
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

} // namespace kx
