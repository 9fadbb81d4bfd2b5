#include "Tools/kx_gpsim/manifest.h"

#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/json_reader.h"
#include "Tools/kx_gpsim/link_target.h"

#include <algorithm>

namespace kx {

namespace {

struct OrderedGpo {
    GpoRequest gpo;
    std::optional<int> order;
};

GpoRequest ReadNames(const JsonReader& from)
{
    GpoRequest gpo;
    gpo.path = from.TextOr("path", {});
    gpo.name = from.TextOr("name", {});
    gpo.displayName = from.TextOr("displayName", {});
    LinkTarget link = ParseLink(from.TextOr("link", {}));
    gpo.link = std::move(link.path);
    gpo.linkKind = std::move(link.kind);
    if (from.Has("linkKind")) {
        (void)from.Choice("linkKind", {"site", "domain", "ou", "local", ""});
        gpo.linkKind = from.Text("linkKind");
    }
    gpo.forced = from.FlagOr("forced", false);
    return gpo;
}

OrderedGpo ReadGpo(const JsonReader& from)
{
    from.AllowOnly({"path", "name", "displayName", "link", "linkKind", "order", "forced"});
    if (from.Text("path").empty())
        from.Fail("path", "is empty");
    OrderedGpo gpo{ReadNames(from), std::nullopt};
    if (from.Has("order"))
        gpo.order = from.Int("order");
    return gpo;
}

GpoRequest ReadDeleted(const JsonReader& from)
{
    from.AllowOnly({"path", "name", "displayName", "link", "linkKind"});
    GpoRequest gpo = ReadNames(from);
    if (gpo.name.empty() && gpo.path.empty())
        from.Fail("name", "is missing, and there is no path");
    return gpo;
}

// The list in the order that it asks for.
std::vector<GpoRequest> Arrange(std::vector<OrderedGpo> gpos, const JsonReader& root)
{
    const auto ordered = std::count_if(gpos.begin(), gpos.end(), [](const auto& gpo) { return gpo.order; });
    if (ordered != 0 && ordered != static_cast<std::ptrdiff_t>(gpos.size()))
        root.Fail("gpos", "has GPOs with an order and GPOs without one");
    std::stable_sort(gpos.begin(), gpos.end(),
                     [](const OrderedGpo& a, const OrderedGpo& b) { return a.order < b.order; });
    const auto twice = std::adjacent_find(
        gpos.begin(), gpos.end(), [](const auto& a, const auto& b) { return a.order && a.order == b.order; });
    if (twice != gpos.end())
        root.Fail("gpos", "has two GPOs with the order " + std::to_string(*twice->order));
    std::vector<GpoRequest> list;
    list.reserve(gpos.size());
    for (OrderedGpo& each : gpos)
        list.push_back(std::move(each.gpo));
    return list;
}

Manifest Read(const nlohmann::json& json)
{
    const JsonReader root("the manifest", json);
    root.AllowOnly({"scope", "flags", "gpos", "deleted", "deleteAll"});
    Manifest manifest;
    if (root.Has("scope")) {
        (void)root.Choice("scope", {"machine", "user", "both"});
        manifest.scope = root.Text("scope");
    }
    if (root.Has("flags"))
        manifest.flags = root.Texts("flags");
    if (root.Has("deleted"))
        manifest.deleted = root.List("deleted", ReadDeleted);
    manifest.deleteAll = root.FlagOr("deleteAll", false);
    manifest.gpos = Arrange(root.List("gpos", ReadGpo), root);
    return manifest;
}

} // namespace

Manifest ParseManifest(std::string_view text, const std::string& file)
{
    const nlohmann::json json = ParseJson(text, file);
    try {
        return Read(json);
    } catch (const UsageError& error) {
        throw UsageError(file + ": " + error.what());
    }
}

} // namespace kx
