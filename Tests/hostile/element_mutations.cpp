#include "Tests/hostile/element_mutations.h"

#include <optional>
#include <utility>
#include <vector>

namespace {

using Mutation = void (*)(std::string& text, Random& random);

struct Range {
    std::size_t begin = 0;
    std::size_t end = 0;
};

bool BeginsName(const std::string& text, std::size_t at)
{
    return at < text.size() && text[at] != '!' && text[at] != '?' && text[at] != '/';
}

// The elements with both their tags. A tag ends at the first ">": good enough for what the corpus holds.
std::vector<Range> Elements(const std::string& text)
{
    std::vector<Range> found;
    std::vector<std::size_t> open;
    for (std::size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at + 1)) {
        const std::size_t end = text.find('>', at);
        if (end == std::string::npos)
            break;
        if (text.compare(at, 2, "</") == 0 && !open.empty()) {
            found.push_back({open.back(), end + 1});
            open.pop_back();
        } else if (BeginsName(text, at + 1) && text[end - 1] == '/') {
            found.push_back({at, end + 1});
        } else if (BeginsName(text, at + 1)) {
            open.push_back(at);
        }
    }
    return found;
}

// The values between the quotes of `name="value"`.
std::vector<Range> Values(const std::string& text)
{
    std::vector<Range> found;
    for (std::size_t at = text.find("=\""); at != std::string::npos; at = text.find("=\"", at + 2)) {
        const std::size_t end = text.find('"', at + 2);
        if (end == std::string::npos)
            break;
        found.push_back({at + 2, end});
    }
    return found;
}

std::optional<Range> PickRange(const std::vector<Range>& ranges, Random& random)
{
    if (ranges.empty())
        return std::nullopt;
    return random.Pick(ranges);
}

void Replace(std::string& text, const Range& range, std::string_view by)
{
    text.replace(range.begin, range.end - range.begin, by);
}

void RepeatElement(std::string& text, Random& random)
{
    const auto element = PickRange(Elements(text), random);
    if (!element)
        return;
    const std::string copy = text.substr(element->begin, element->end - element->begin);
    const std::size_t times = random.OneIn(16) ? 200 : 1 + random.Below(3);
    for (std::size_t i = 0; i < times && text.size() < 200000; ++i)
        text.insert(element->end, copy);
}

void LoseElement(std::string& text, Random& random)
{
    if (const auto element = PickRange(Elements(text), random))
        Replace(text, *element, "");
}

void SwapElements(std::string& text, Random& random)
{
    const std::vector<Range> elements = Elements(text);
    auto first = PickRange(elements, random);
    auto second = PickRange(elements, random);
    if (!first || !second)
        return;
    if (first->begin > second->begin)
        std::swap(first, second);
    if (first->end > second->begin) // one stands in the other
        return;
    const std::string early = text.substr(first->begin, first->end - first->begin);
    const std::string late = text.substr(second->begin, second->end - second->begin);
    Replace(text, *second, early);
    Replace(text, *first, late);
}

void MoveElementIntoAnother(std::string& text, Random& random)
{
    const std::vector<Range> elements = Elements(text);
    const auto moved = PickRange(elements, random);
    const auto target = PickRange(elements, random);
    if (!moved || !target)
        return;
    const std::string copy = text.substr(moved->begin, moved->end - moved->begin);
    const std::size_t at = text.find('>', target->begin);
    if (at != std::string::npos && text[at - 1] != '/')
        text.insert(at + 1, copy);
}

void ChangeValue(std::string& text, Random& random)
{
    const auto value = PickRange(Values(text), random);
    if (!value)
        return;
    Replace(text, *value,
            random.Pick({"",
                         " ",
                         "5",
                         "05",
                         "5 ",
                         "+5",
                         "5a",
                         "0x5",
                         "-1",
                         "2147483647",
                         "2147483648",
                         "4294967295",
                         "99999999999999999999",
                         "-2147483648",
                         "1e9",
                         "&#49;&#48;",
                         "10",
                         "true",
                         "&quot;",
                         "'",
                         "&quot;'",
                         "]",
                         "[@id='x']",
                         "' or '1'='1",
                         "..\\..\\x",
                         "%s%n%d",
                         "&#x10FFFF;",
                         "&#xFFFD;",
                         "&#0;",
                         "&#x1;",
                         "&#xFFFE;",
                         "&#xD800;",
                         "&#9;&#10;&#13;",
                         "&lt;script&gt;",
                         "&amp;lt;",
                         "match",
                         "fail",
                         "stay",
                         "break",
                         "{}",
                         "\xC3\xA4"}));
}

void HugeValue(std::string& text, Random& random)
{
    if (const auto value = PickRange(Values(text), random))
        Replace(text, *value, std::string(random.OneIn(8) ? 400000 : 1 + random.Below(30000), 'v'));
}

void HugeName(std::string& text, Random& random)
{
    const auto element = PickRange(Elements(text), random);
    if (!element)
        return;
    const std::string name(1 + random.Below(20000), 'n');
    text.insert(element->end, "<" + name + " " + name + "=\"\"/>");
}

void ManyAttributes(std::string& text, Random& random)
{
    const auto element = PickRange(Elements(text), random);
    if (!element)
        return;
    const std::size_t at = text.find_first_of(" />", element->begin);
    if (at == std::string::npos)
        return;
    std::string attributes;
    const bool twice = random.OneIn(4);
    for (std::size_t i = random.Below(500); i > 0; --i)
        attributes += " a" + std::to_string(twice ? i / 2 : i) + "=\"" + std::to_string(i) + "\"";
    text.insert(at, attributes);
}

void DeepNest(std::string& text, Random& random)
{
    const auto element = PickRange(Elements(text), random);
    if (!element)
        return;
    // Around the depth at which parsers begin to refuse, and far beyond it.
    const std::size_t depth = random.OneIn(8) ? 20000
                                              : random.Pick(std::initializer_list<std::size_t>{
                                                    10, 200, 240, 250, 254, 255, 256, 257, 300, 2000});
    std::string nest;
    for (std::size_t i = 0; i < depth; ++i)
        nest += "<d>";
    nest += "deep";
    for (std::size_t i = 0; i < depth; ++i)
        nest += "</d>";
    text.insert(element->begin, nest);
}

void OddMarkup(std::string& text, Random& random)
{
    const auto element = PickRange(Elements(text), random);
    if (!element)
        return;
    text.insert(element->end, random.Pick({"<![CDATA[]]>",
                                           "<![CDATA[ ]] > & <b> ]]>",
                                           "<!-- - -->",
                                           "<!---->",
                                           "<?x?>",
                                           "<?xml version='1.0'?>",
                                           "<?xml-stylesheet href='x.xsl'?>",
                                           "<a:b/>",
                                           "<a:b xmlns:a='urn:a' a:c='d'/>",
                                           "<p xmlns='urn:other'><q/></p>",
                                           "<b xmlns=''/>",
                                           "<xml:e xml:lang='x' xml:base='file:///'/>",
                                           "<\xC3\xA4 \xC3\xB6='\xC3\xBC'/>",
                                           "&amp;&lt;&gt;&quot;&apos;",
                                           "&#x1F9C0;",
                                           "&#55358;&#56768;",
                                           "&unknown;",
                                           "]]>",
                                           "<e a='<'/>",
                                           "<e a=b/>",
                                           "<E/><e/>",
                                           "<1/>",
                                           "text\xE2\x80\xA9",
                                           "<Policy/>",
                                           "<Policy order='1'/>",
                                           "<Policy name='sentinel'/>",
                                           "<ItemLevelTargeting answer='match'/>",
                                           "<ItemLevelTargeting/>",
                                           "<ApplicationGroups version='5'/>",
                                           "<GPO name='{0}'/>",
                                           "</GPO>"}));
}

// Into the start tag of the root element: other versions, prefixes, a default namespace.
void OddRoot(std::string& text, Random& random)
{
    const std::size_t version = text.find(" version=\"5\"");
    if (version == std::string::npos)
        return;
    const std::string_view instead = random.Pick(
        {"", " version=\"4\"", " version=\"5\" version=\"5\"", " version='5'", " version=\"&#53;\"",
         " version=\"5\" xmlns=\"urn:default\"", " xmlns:v=\"urn:v\" v:version=\"5\"", " Version=\"5\"",
         " version=\"5\" xml:space=\"preserve\"", " version=\"\t5\""});
    text.replace(version, 12, instead);
}

void AnotherRootName(std::string& text, Random& random)
{
    const std::vector<Range> elements = Elements(text);
    if (elements.empty())
        return;
    const std::size_t begin = elements.back().begin + 1; // the root closes last
    const std::size_t end = text.find_first_of(" />", begin);
    const std::string old = text.substr(begin, end - begin);
    const std::string_view name =
        random.Pick({"AgentParameters", "GpoPolicies", "GUI", "gpopolicies", "GPUpdate"});
    const std::size_t closing = text.rfind("</" + old);
    if (closing != std::string::npos && closing > begin)
        text.replace(closing + 2, old.size(), name);
    text.replace(begin, old.size(), name);
}

} // namespace

void MutateElements(std::string& text, Random& random)
{
    constexpr Mutation mutations[] = {RepeatElement,  LoseElement,    SwapElements, MoveElementIntoAnother,
                                      ChangeValue,    ChangeValue,    HugeValue,    HugeName,
                                      ManyAttributes, DeepNest,       OddMarkup,    OddMarkup,
                                      OddRoot,        AnotherRootName};
    random.Pick(mutations)(text, random);
}
