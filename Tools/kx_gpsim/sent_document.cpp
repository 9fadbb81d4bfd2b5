#include "Tools/kx_gpsim/sent_document.h"

#include "Agent/engine/kx_gpext/policy_order.h"
#include "Common_CPP/util/number_text.h"
#include "Tools/kx_gpsim/element_diff.h"

#include <algorithm>

namespace kx {

namespace {

std::uint32_t PrecedenceOf(const XmlElement& gpo)
{
    std::uint32_t precedence = 0;
    return ScanUInt32<char>(gpo.Value("precedence"), precedence) ? precedence : 0;
}

// What the extension added to the orders of one GPO's policies. An appended set's stay as they are.
struct Band {
    std::uint32_t gpoCount = 0;
    bool machine = false;
    bool appended = false;

    [[nodiscard]] std::int32_t OwnOrder(std::int32_t order, std::uint32_t precedence) const
    {
        if (appended)
            return order;
        const auto shift = static_cast<std::uint32_t>(GlobalOrder(0, gpoCount, precedence, machine));
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(order) - shift);
    }
};

Band BandOf(const XmlElement& root)
{
    Band band;
    band.machine = ScopeOf(root) == Scope::Machine;
    band.appended = root.Value("appended") == "true";
    for (const XmlElement& list : root.children)
        if (list.name == "ChangedGPOs")
            for (const XmlElement& gpo : list.children)
                band.gpoCount = std::max(band.gpoCount, PrecedenceOf(gpo));
    return band;
}

void TakePolicy(XmlElement& policy, const SentGpo& gpo, const Band& band, std::uint32_t precedence,
                SentDocument& document)
{
    SentElement sent;
    sent.gpo = gpo.name;
    sent.label = gpo.label;
    sent.id = policy.Value("gpid");
    sent.name = policy.Value("name");
    if (ScanInt32<char>(policy.Value("order"), sent.order))
        sent.ownOrder = band.OwnOrder(sent.order, precedence);
    sent.meaning = CanonicalXml(policy, "order");
    sent.element = std::move(policy);
    document.policies.push_back(std::move(sent));
}

void TakeGpo(XmlElement& element, bool deleted, const Band& band, SentDocument& document)
{
    SentGpo gpo{std::string(element.Value("name")), std::string(element.Value("displayName")), deleted, {}};
    for (XmlElement& list : element.children) {
        if (list.name != "Policies")
            continue;
        std::vector<XmlElement> others;
        for (XmlElement& child : list.children)
            if (child.name == "Policy")
                TakePolicy(child, gpo, band, PrecedenceOf(element), document);
            else
                others.push_back(std::move(child));
        list.children = std::move(others);
    }
    gpo.rest = std::move(element);
    document.gpos.push_back(std::move(gpo));
}

} // namespace

std::optional<Scope> ScopeOf(const XmlElement& root)
{
    const std::string_view userScope = root.Value("userScope");
    if (userScope.empty())
        return std::nullopt;
    return userScope == "true" ? Scope::User : Scope::Machine;
}

SentDocument TakeApart(XmlElement root)
{
    SentDocument document;
    const Band band = BandOf(root);
    for (XmlElement& list : root.children) {
        if (list.name != "ChangedGPOs" && list.name != "DeletedGPOs")
            continue;
        for (XmlElement& gpo : list.children)
            if (gpo.name == "GPO")
                TakeGpo(gpo, list.name == "DeletedGPOs", band, document);
        list.children.clear();
    }
    std::stable_sort(document.policies.begin(), document.policies.end(),
                     [](const SentElement& a, const SentElement& b) { return a.order < b.order; });
    document.root = std::move(root);
    return document;
}

} // namespace kx
