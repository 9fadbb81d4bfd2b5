#include "Tools/kx_gpsim/document_diff.h"

#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/sent_document.h"
#include "Tools/kx_gpsim/sequence_diff.h"
#include "Tools/kx_gpsim/text_case.h"

#include <algorithm>
#include <map>

namespace kx {

namespace {

constexpr std::string_view kOrder = "order";
constexpr std::string_view kPrecedence = "precedence";

using Keys = std::pair<std::vector<std::string>, std::vector<std::string>>;

// ---- policies -----------------------------------------------------------------------------------------

// A policy without an id is told by its name.
std::string KeyOf(const SentElement& policy)
{
    return policy.id.empty() ? "name:" + policy.name : LowerAscii(policy.id);
}

std::map<std::string, std::size_t> CountKeys(const std::vector<SentElement>& policies)
{
    std::map<std::string, std::size_t> counts;
    for (const SentElement& policy : policies)
        ++counts[KeyOf(policy)];
    return counts;
}

class PolicyPairs {
  public:
    PolicyPairs(const std::vector<SentElement>& before, const std::vector<SentElement>& after)
        : _m_before(before),
          _m_after(after),
          _m_countsBefore(CountKeys(before)),
          _m_countsAfter(CountKeys(after))
    {
    }

    // First those whose id is the only one; then within a GPO what is the same, what is called the same, and
    // the rest in its order.
    [[nodiscard]] Pairing Find() const
    {
        const auto inGpo = [](const SentElement& policy) {
            return KeyOf(policy) + '\n' + LowerAscii(policy.gpo);
        };
        return PairUp(
            _m_before.size(), _m_after.size(),
            {_Keys([&](const SentElement& policy) {
                 return _IsOnlyOne(policy) ? KeyOf(policy) : std::string();
             }),
             _Keys([&](const SentElement& policy) { return inGpo(policy) + '\n' + policy.meaning; }),
             _Keys([&](const SentElement& policy) { return inGpo(policy) + '\n' + policy.name; }),
             _Keys(inGpo)});
    }

  private:
    [[nodiscard]] bool _IsOnlyOne(const SentElement& policy) const
    {
        const std::string key = KeyOf(policy);
        const auto before = _m_countsBefore.find(key);
        const auto after = _m_countsAfter.find(key);
        return (before == _m_countsBefore.end() || before->second == 1) &&
               (after == _m_countsAfter.end() || after->second == 1);
    }

    template <class KeyOfPolicy>
    [[nodiscard]] Keys _Keys(const KeyOfPolicy& keyOf) const
    {
        Keys keys;
        std::transform(_m_before.begin(), _m_before.end(), std::back_inserter(keys.first), keyOf);
        std::transform(_m_after.begin(), _m_after.end(), std::back_inserter(keys.second), keyOf);
        return keys;
    }

    const std::vector<SentElement>& _m_before;
    const std::vector<SentElement>& _m_after;
    std::map<std::string, std::size_t> _m_countsBefore;
    std::map<std::string, std::size_t> _m_countsAfter;
};

PolicyPlace PlaceOf(const SentElement& policy)
{
    return {policy.gpo, policy.label, policy.name, policy.order};
}

std::string OrderText(const SentElement& policy)
{
    return policy.ownOrder ? std::to_string(*policy.ownOrder) : std::string(policy.element.Value(kOrder));
}

PolicyDiff ComparePolicies(const SentElement& before, const SentElement& after)
{
    PolicyDiff diff;
    diff.id = before.id;
    diff.before = PlaceOf(before);
    diff.after = PlaceOf(after);
    if (!EqualNoCase(before.gpo, after.gpo))
        diff.changes.push_back({ChangeKind::Changed, "GPO", before.gpo, after.gpo});
    if (const std::string was = OrderText(before), is = OrderText(after); was != is)
        diff.changes.push_back({ChangeKind::Changed, "@order", was, is});
    if (before.meaning == after.meaning)
        return diff;
    for (ElementChange& change : CompareElements(before.element, after.element, kOrder))
        diff.changes.push_back(std::move(change));
    return diff;
}

std::vector<bool> MovedPairs(const Pairing& pairing, const std::vector<SentElement>& before,
                             const std::vector<SentElement>& after)
{
    const auto textOf = [](const SentElement& policy) {
        return LowerAscii(policy.gpo) + '\n' + policy.meaning;
    };
    std::vector<SequenceItem> items;
    for (const auto& [first, second] : pairing.pairs)
        items.push_back({second, KeyOfPair(textOf(before[first]), textOf(after[second]))});
    std::vector<bool> moved(items.size());
    for (const std::size_t index : FindMoved(items))
        moved[index] = true;
    return moved;
}

std::int32_t OrderOf(const PolicyDiff& diff)
{
    return diff.after ? diff.after->order : diff.before->order;
}

std::vector<PolicyDiff> ComparePolicyLists(const std::vector<SentElement>& before,
                                           const std::vector<SentElement>& after)
{
    const Pairing pairing = PolicyPairs(before, after).Find();
    const std::vector<bool> moved = MovedPairs(pairing, before, after);
    std::vector<PolicyDiff> diffs;
    for (const std::size_t index : pairing.onlyBefore)
        diffs.push_back({before[index].id, PlaceOf(before[index]), std::nullopt, false, {}});
    for (std::size_t pair = 0; pair < pairing.pairs.size(); ++pair) {
        const auto& [first, second] = pairing.pairs[pair];
        PolicyDiff diff = ComparePolicies(before[first], after[second]);
        diff.moved = moved[pair];
        if (diff.moved || !diff.changes.empty())
            diffs.push_back(std::move(diff));
    }
    for (const std::size_t index : pairing.onlyAfter)
        diffs.push_back({after[index].id, std::nullopt, PlaceOf(after[index]), false, {}});
    std::stable_sort(diffs.begin(), diffs.end(),
                     [](const PolicyDiff& a, const PolicyDiff& b) { return OrderOf(a) < OrderOf(b); });
    return diffs;
}

// ---- GPOs ---------------------------------------------------------------------------------------------

Keys KeysOfGpos(const std::vector<SentGpo>& before, const std::vector<SentGpo>& after)
{
    const auto keyOf = [](const SentGpo& gpo) { return (gpo.deleted ? "-" : "+") + LowerAscii(gpo.name); };
    Keys keys;
    std::transform(before.begin(), before.end(), std::back_inserter(keys.first), keyOf);
    std::transform(after.begin(), after.end(), std::back_inserter(keys.second), keyOf);
    return keys;
}

// The GPOs that both sides have may stand in another order; their numbers alone mean nothing.
void AddMovedGpos(const Pairing& pairing, const std::vector<SentGpo>& before, std::vector<GpoDiff>& diffs)
{
    std::vector<SequenceItem> items;
    std::vector<std::size_t> indexes;
    for (const auto& [first, second] : pairing.pairs)
        if (!before[first].deleted) {
            items.push_back({second, LowerAscii(before[first].name)});
            indexes.push_back(first);
        }
    for (const std::size_t index : FindMoved(items)) {
        const SentGpo& gpo = before[indexes[index]];
        diffs.push_back({ChangeKind::Moved, gpo.name, gpo.label, false, {}});
    }
}

std::vector<GpoDiff> CompareGpos(const std::vector<SentGpo>& before, const std::vector<SentGpo>& after)
{
    const Pairing pairing = PairUp(before.size(), after.size(), {KeysOfGpos(before, after)});
    std::vector<GpoDiff> diffs;
    for (const std::size_t index : pairing.onlyBefore)
        diffs.push_back(
            {ChangeKind::Removed, before[index].name, before[index].label, before[index].deleted, {}});
    for (const auto& [first, second] : pairing.pairs) {
        std::vector<ElementChange> changes =
            CompareElements(before[first].rest, after[second].rest, kPrecedence);
        if (!changes.empty())
            diffs.push_back({ChangeKind::Changed, before[first].name, before[first].label,
                             before[first].deleted, std::move(changes)});
    }
    for (const std::size_t index : pairing.onlyAfter)
        diffs.push_back({ChangeKind::Added, after[index].name, after[index].label, after[index].deleted, {}});
    AddMovedGpos(pairing, before, diffs);
    return diffs;
}

// ---- documents ----------------------------------------------------------------------------------------

const DiffDocument* DocumentOf(const DiffSide& side, Scope scope)
{
    const auto found = std::find_if(side.documents.begin(), side.documents.end(),
                                    [&](const DiffDocument& document) { return document.scope == scope; });
    return found == side.documents.end() || found->xml.empty() ? nullptr : &*found;
}

SentDocument ReadDocument(const DiffSide& side, const DiffDocument* document)
{
    if (!document)
        return {};
    std::optional<XmlElement> root = ParseXmlTree(document->xml);
    if (!root)
        throw UsageError(side.label + ": is no XML document");
    return TakeApart(std::move(*root));
}

// No document at all has an element without a name.
std::string RootText(const XmlElement& root)
{
    return root.name.empty() ? std::string() : CanonicalXml(root);
}

// Of documents of two kinds there is nothing to compare one by one.
std::vector<ElementChange> CompareRoots(const XmlElement& before, const XmlElement& after)
{
    if (before.name == after.name)
        return before.name.empty() ? std::vector<ElementChange>() : CompareElements(before, after);
    const ChangeKind kind = before.name.empty()  ? ChangeKind::Added
                            : after.name.empty() ? ChangeKind::Removed
                                                 : ChangeKind::Changed;
    return {{kind, "document", RootText(before), RootText(after)}};
}

ScopeDiff CompareScope(const DiffSide& before, const DiffSide& after, Scope scope)
{
    ScopeDiff diff;
    diff.scope = scope;
    const DiffDocument* const first = DocumentOf(before, scope);
    const DiffDocument* const second = DocumentOf(after, scope);
    if (first && second && first->xml == second->xml)
        return diff;
    const SentDocument was = ReadDocument(before, first);
    const SentDocument is = ReadDocument(after, second);
    diff.document = CompareRoots(was.root, is.root);
    diff.gpos = CompareGpos(was.gpos, is.gpos);
    diff.policies = ComparePolicyLists(was.policies, is.policies);
    return diff;
}

} // namespace

DocumentDiff CompareSides(const DiffSide& before, const DiffSide& after)
{
    DocumentDiff diff;
    for (const Scope scope : {Scope::Machine, Scope::User})
        if (ScopeDiff each = CompareScope(before, after, scope); !each.IsEmpty())
            diff.scopes.push_back(std::move(each));
    return diff;
}

} // namespace kx
