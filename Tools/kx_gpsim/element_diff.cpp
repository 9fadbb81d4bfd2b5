#include "Tools/kx_gpsim/element_diff.h"

#include "Tools/kx_gpsim/sequence_diff.h"
#include "Tools/kx_gpsim/text_case.h"

#include <algorithm>
#include <map>

namespace kx {

namespace {

using Attributes = std::map<std::string_view, std::string_view>;

// ---- an element as text -------------------------------------------------------------------------------

void AppendEscaped(std::string_view text, std::string& xml)
{
    for (const char unit : text)
        if (unit == '&')
            xml += "&amp;";
        else if (unit == '<')
            xml += "&lt;";
        else if (unit == '"')
            xml += "&quot;";
        else
            xml += unit;
}

Attributes AttributesOf(const XmlElement& element, std::string_view ignored)
{
    Attributes attributes;
    for (const XmlAttribute& each : element.attributes)
        if (each.name != ignored)
            attributes.emplace(each.name, each.value);
    return attributes;
}

void AppendXml(const XmlElement& element, std::string_view ignored, std::string& xml)
{
    xml.append("<").append(element.name);
    for (const auto& [name, value] : AttributesOf(element, ignored)) {
        xml.append(" ").append(name).append("=\"");
        AppendEscaped(value, xml);
        xml += '"';
    }
    if (element.children.empty() && element.text.empty()) {
        xml += "/>";
        return;
    }
    xml += '>';
    AppendEscaped(element.text, xml);
    for (const XmlElement& child : element.children)
        AppendXml(child, {}, xml);
    xml.append("</").append(element.name).append(">");
}

// ---- names of children --------------------------------------------------------------------------------

// What tells an element from its neighbours of the same kind; empty where nothing does.
std::string IdentityOf(const XmlElement& element)
{
    for (const char* const name : {"gpid", "id", "name"})
        if (const std::string_view value = element.Value(name); !value.empty())
            return element.name + '[' + std::string(value) + ']';
    return {};
}

std::string StepOf(const XmlElement& element)
{
    const std::string identity = IdentityOf(element);
    return identity.empty() ? element.name : identity;
}

std::string Below(const std::string& path, const std::string& step)
{
    return path.empty() ? step : path + '/' + step;
}

// ---- comparing ----------------------------------------------------------------------------------------

class Comparison {
  public:
    void Compare(const XmlElement& before, const XmlElement& after, const std::string& path,
                 std::string_view ignored)
    {
        if (before.name != after.name)
            _Add(ChangeKind::Changed, path, "<" + before.name + ">", "<" + after.name + ">");
        _CompareAttributes(AttributesOf(before, ignored), AttributesOf(after, ignored), path);
        if (before.text != after.text)
            _Add(ChangeKind::Changed, path, before.text, after.text);
        _CompareChildren(before.children, after.children, path);
    }

    std::vector<ElementChange> Take() { return std::move(_m_changes); }

  private:
    void _Add(ChangeKind kind, std::string path, std::string_view before, std::string_view after)
    {
        _m_changes.push_back({kind, std::move(path), std::string(before), std::string(after)});
    }

    void _CompareAttributes(const Attributes& before, const Attributes& after, const std::string& path)
    {
        for (const auto& [name, value] : before) {
            const std::string place = Below(path, '@' + std::string(name));
            const auto found = after.find(name);
            if (found == after.end())
                _Add(ChangeKind::Removed, place, value, {});
            else if (found->second != value)
                _Add(ChangeKind::Changed, place, value, found->second);
        }
        for (const auto& [name, value] : after)
            if (!before.contains(name))
                _Add(ChangeKind::Added, Below(path, '@' + std::string(name)), {}, value);
    }

    // The same element stays the same wherever it stands; then those of one identity, then those of one name.
    static Pairing _PairChildren(const std::vector<XmlElement>& before, const std::vector<XmlElement>& after)
    {
        const auto keys = [&](const auto& keyOf) {
            std::pair<std::vector<std::string>, std::vector<std::string>> both;
            std::transform(before.begin(), before.end(), std::back_inserter(both.first), keyOf);
            std::transform(after.begin(), after.end(), std::back_inserter(both.second), keyOf);
            return both;
        };
        return PairUp(before.size(), after.size(),
                      {keys([](const XmlElement& each) { return CanonicalXml(each); }),
                       keys([](const XmlElement& each) { return LowerAscii(IdentityOf(each)); }),
                       keys([](const XmlElement& each) {
                           return IdentityOf(each).empty() ? each.name : std::string();
                       })});
    }

    void _CompareChildren(const std::vector<XmlElement>& before, const std::vector<XmlElement>& after,
                          const std::string& path)
    {
        const Pairing pairing = _PairChildren(before, after);
        for (const std::size_t index : pairing.onlyBefore)
            _Add(ChangeKind::Removed, Below(path, StepOf(before[index])), CanonicalXml(before[index]), {});
        for (const auto& [first, second] : pairing.pairs)
            Compare(before[first], after[second], Below(path, StepOf(before[first])), {});
        for (const std::size_t index : pairing.onlyAfter)
            _Add(ChangeKind::Added, Below(path, StepOf(after[index])), {}, CanonicalXml(after[index]));
        _AddMoved(before, after, pairing, path);
    }

    void _AddMoved(const std::vector<XmlElement>& before, const std::vector<XmlElement>& after,
                   const Pairing& pairing, const std::string& path)
    {
        std::vector<SequenceItem> items;
        for (const auto& [first, second] : pairing.pairs)
            items.push_back({second, KeyOfPair(CanonicalXml(before[first]), CanonicalXml(after[second]))});
        for (const std::size_t index : FindMoved(items))
            _Add(ChangeKind::Moved, Below(path, StepOf(before[pairing.pairs[index].first])), {}, {});
    }

    std::vector<ElementChange> _m_changes;
};

} // namespace

std::string_view ChangeText(ChangeKind kind)
{
    constexpr std::string_view texts[] = {"added", "removed", "changed", "moved"};
    return texts[static_cast<std::size_t>(kind)];
}

std::vector<ElementChange> CompareElements(const XmlElement& before, const XmlElement& after,
                                           std::string_view ignored)
{
    if (CanonicalXml(before, ignored) == CanonicalXml(after, ignored))
        return {};
    Comparison comparison;
    comparison.Compare(before, after, {}, ignored);
    return comparison.Take();
}

std::string CanonicalXml(const XmlElement& element, std::string_view ignored)
{
    std::string xml;
    AppendXml(element, ignored, xml);
    return xml;
}

Pairing PairUp(std::size_t countBefore, std::size_t countAfter,
               const std::vector<std::pair<std::vector<std::string>, std::vector<std::string>>>& keys)
{
    Pairing pairing;
    std::vector<bool> usedBefore(countBefore);
    std::vector<bool> usedAfter(countAfter);
    for (const auto& [before, after] : keys) {
        std::map<std::string_view, std::vector<std::size_t>> waiting; // from the last to the first
        for (std::size_t index = countAfter; index-- > 0;)
            if (!usedAfter[index] && !after[index].empty())
                waiting[after[index]].push_back(index);
        for (std::size_t index = 0; index < countBefore; ++index) {
            const auto found = usedBefore[index] ? waiting.end() : waiting.find(before[index]);
            if (found == waiting.end() || found->second.empty())
                continue;
            pairing.pairs.emplace_back(index, found->second.back());
            usedBefore[index] = usedAfter[found->second.back()] = true;
            found->second.pop_back();
        }
    }
    std::sort(pairing.pairs.begin(), pairing.pairs.end());
    for (std::size_t index = 0; index < countBefore; ++index)
        if (!usedBefore[index])
            pairing.onlyBefore.push_back(index);
    for (std::size_t index = 0; index < countAfter; ++index)
        if (!usedAfter[index])
            pairing.onlyAfter.push_back(index);
    return pairing;
}

} // namespace kx
