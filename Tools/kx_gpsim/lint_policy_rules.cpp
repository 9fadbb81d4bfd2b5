// What is wrong in a Policies.xml by itself.
#include "Tools/kx_gpsim/lint_sink.h"

#include "Agent/engine/kx_gpext/policy_order.h"
#include "Common_CPP/util/number_text.h"
#include "Tools/kx_gpsim/text_case.h"

#include <algorithm>
#include <map>

namespace kx {

namespace {

using KnownFilter = std::function<bool(std::string_view)>;

// What one file's policies have had so far.
struct Seen {
    std::map<std::int32_t, const XmlElement*> orders;
    std::map<std::string, const XmlElement*> ids;
};

// ---- order, id, action --------------------------------------------------------------------------------

// Numbers wrap, so one that is too long reads as another.
void LintOrderValue(const XmlElement& policy, const XmlAttribute& order, std::int32_t value,
                    const LintWhere& where, CkxLintSink& sink)
{
    std::int64_t whole = 0;
    if (!ScanInt64<char>(order.value, whole) || whole != value) {
        sink.Add("KX1104", where, order.place,
                 "the order " + order.value + " of " + CallOf(policy, "gpid") + " reads as " +
                     std::to_string(value));
        return;
    }
    if (value < 0 || value >= static_cast<std::int32_t>(kGpoStep))
        sink.Add("KX1103", where, order.place,
                 "the order " + order.value + " of " + CallOf(policy, "gpid") + " is none of 0 to " +
                     std::to_string(kGpoStep - 1) + ": it crosses into the band of another GPO");
}

void LintOrder(const XmlElement& policy, Seen& seen, const LintWhere& where, CkxLintSink& sink)
{
    const XmlAttribute* const order = WantAttribute(policy, "order", "KX1101", where, sink);
    if (!order)
        return;
    std::int32_t value = 0;
    if (!ScanInt32<char>(order->value, value)) {
        sink.Add("KX1102", where, order->place,
                 "the order \"" + order->value + "\" is no number; " + std::to_string(kDefaultOrder) +
                     " stands in for it");
        return;
    }
    LintOrderValue(policy, *order, value, where, sink);
    if (const auto [first, isNew] = seen.orders.try_emplace(value, &policy); !isNew)
        sink.Add("KX1105", where, order->place,
                 CallOf(policy, "gpid") + " has the order " + order->value + " of " +
                     CallOf(*first->second, "gpid") + " in line " +
                     std::to_string(first->second->place.line));
}

void LintId(const XmlElement& policy, Seen& seen, const LintWhere& where, CkxLintSink& sink)
{
    const XmlAttribute* const id = WantAttribute(policy, "gpid", "KX1201", where, sink);
    if (!id)
        return;
    if (const auto [first, isNew] = seen.ids.try_emplace(LowerAscii(id->value), &policy); !isNew)
        sink.Add("KX1203", where, id->place,
                 CallOf(policy, "gpid") + " has the gpid of " + CallOf(*first->second, "gpid") + " in line " +
                     std::to_string(first->second->place.line));
}

void LintAction(const XmlElement& policy, const LintWhere& where, CkxLintSink& sink)
{
    const XmlAttribute* const action = WantAttribute(policy, "action", "KX1401", where, sink);
    std::int32_t value = 0;
    if (action && !ScanInt32<char>(action->value, value))
        sink.Add("KX1402", where, action->place, "the action \"" + action->value + "\" is no number");
}

// ---- targeting ----------------------------------------------------------------------------------------

void LintFilters(const XmlElement& parent, const LintWhere& where, CkxLintSink& sink,
                 const KnownFilter& isKnown)
{
    for (const XmlElement& filter : parent.children) {
        if (filter.name == "Filters" || filter.name == "FilterCollection")
            LintFilters(filter, where, sink, isKnown);
        else if (!isKnown(filter.name))
            sink.Add("KX1601", where, filter.place,
                     "<" + filter.name +
                         "> is no targeting filter that is known: what it stands for is let through");
    }
}

void LintTargeting(const XmlElement& owner, const LintWhere& where, CkxLintSink& sink,
                   const KnownFilter& isKnown)
{
    const XmlElement* first = nullptr;
    for (const XmlElement& child : owner.children) {
        if (child.name != "ItemLevelTargeting")
            continue;
        if (first)
            sink.Add("KX1602", where, child.place,
                     "this ItemLevelTargeting is not looked at: the one in line " +
                         std::to_string(first->place.line) + " counts");
        else
            LintFilters(child, where, sink, isKnown);
        first = first ? first : &child;
    }
}

// ---- names --------------------------------------------------------------------------------------------

// An element that only its case keeps from being read.
void LintChildNames(const XmlElement& parent, std::initializer_list<std::string_view> known,
                    const LintWhere& where, CkxLintSink& sink)
{
    for (const XmlElement& child : parent.children)
        for (const std::string_view name : known)
            if (child.name != name && EqualNoCase(child.name, name))
                sink.Add("KX1703", where, child.place,
                         "<" + child.name + "> is not seen; it is written <" + std::string(name) + ">");
}

void LintPolicy(const XmlElement& policy, Seen& seen, const LintWhere& where, CkxLintSink& sink,
                const KnownFilter& isKnown)
{
    LintChildNames(policy, {"ItemLevelTargeting", "Targets", "Configuration", "Messages"}, where, sink);
    (void)WantAttribute(policy, "name", "KX1202", where, sink);
    LintId(policy, seen, where, sink);
    LintOrder(policy, seen, where, sink);
    LintAction(policy, where, sink);
    LintTargeting(policy, where, sink, isKnown);
    for (const XmlElement& targets : policy.children)
        if (targets.name == "Targets")
            LintChildNames(targets, {"ApplicationGroup"}, where, sink);
}

} // namespace

void LintPolicies(const LintWhere& where, CkxLintSink& sink, const KnownFilter& isKnownFilter)
{
    const XmlElement& root = *where.file->root;
    LintChildNames(root, {"Policy", "ItemLevelTargeting"}, where, sink);
    LintTargeting(root, where, sink, isKnownFilter);
    Seen seen;
    for (const XmlElement& policy : root.children)
        if (policy.name == "Policy")
            LintPolicy(policy, seen, where, sink, isKnownFilter);
}

} // namespace kx
