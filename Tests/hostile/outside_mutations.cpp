#include "Tests/hostile/outside_mutations.h"

#include <iterator>

namespace {

// A place out there as one of its spellings, with the file's name behind.
std::string Reference(const OutsidePlaces& places, std::string_view name, Random& random)
{
    const std::string_view folders[] = {places.path, places.url, places.relative};
    const std::size_t which = random.Below(3);
    std::string reference(folders[which]);
    reference += which == 0 ? '\\' : '/';
    return reference.append(name);
}

// Behind the XML declaration, where a document type or a style sheet may stand.
void InsertProlog(std::string& text, const std::string& prolog)
{
    const std::size_t declared = text.compare(0, 5, "<?xml") == 0 ? text.find("?>") : std::string::npos;
    text.insert(declared == std::string::npos ? 0 : declared + 2, prolog);
}

// Behind the name of the root element.
void InsertIntoRoot(std::string& text, const std::string& attributes)
{
    std::size_t at = text.find('<');
    while (at != std::string::npos && at + 1 < text.size() && (text[at + 1] == '?' || text[at + 1] == '!'))
        at = text.find('<', text.find('>', at));
    const std::size_t end = at == std::string::npos ? at : text.find_first_of(" />", at);
    if (end != std::string::npos)
        text.insert(end, attributes);
}

// As text and, where there is an attribute to take it, as a value.
void UseEntity(std::string& text, const std::string& entity)
{
    if (const std::size_t value = text.find("name=\""); value != std::string::npos)
        text.insert(value + 6, entity);
    if (const std::size_t closing = text.rfind("</"); closing != std::string::npos)
        text.insert(closing, entity);
}

std::string Bomb(Random& random)
{
    std::string entities = "<!ENTITY e0 \"boom\">";
    const std::size_t levels = 2 + random.Below(12);
    for (std::size_t level = 1; level <= levels; ++level) {
        const std::string inner = "&e" + std::to_string(level - 1) + ";";
        entities += "<!ENTITY e" + std::to_string(level) + " \"";
        for (int i = 0; i < 10; ++i)
            entities += inner;
        entities += "\">";
    }
    return entities + "<!ENTITY leak \"&e" + std::to_string(levels) + ";\">";
}

std::string InternalSubset(const OutsidePlaces& places, Random& random)
{
    const std::string text = Reference(places, "text.txt", random);
    switch (random.Below(6)) {
    case 0:
        return "<!ENTITY leak SYSTEM \"" + text + "\">";
    case 1:
        return "<!ENTITY leak PUBLIC \"-//x\" \"" + Reference(places, "element.xml", random) + "\">";
    case 2:
        return "<!ENTITY % more SYSTEM \"" + Reference(places, "entities.dtd", random) + "\">%more;";
    case 3:
        return "<!ENTITY leak \"inside\"><!ATTLIST Policy leaked CDATA \"" + std::string(c_doctypeMark) +
               "\">";
    case 4:
        return "<!ENTITY leak \"&leak;\">"; // itself
    default:
        return Bomb(random);
    }
}

void DeclareDoctype(std::string& text, const OutsidePlaces& places, Random& random)
{
    UseEntity(text, random.OneIn(4) ? "" : "&leak;");
    InsertIntoRoot(text, " " + std::string("doctype=\"") + c_doctypeMark + "\"");
    const std::string_view root = random.Pick({"GpoPolicies", "ApplicationGroups", "x"});
    std::string doctype = "<!DOCTYPE ";
    doctype.append(root);
    if (random.OneIn(2))
        doctype += " SYSTEM \"" + Reference(places, "entities.dtd", random) + "\"";
    if (!random.OneIn(4))
        doctype += " [" + InternalSubset(places, random) + "]";
    InsertProlog(text, doctype + ">");
}

void Include(std::string& text, const OutsidePlaces& places, Random& random)
{
    const bool asText = random.OneIn(2);
    const std::string include =
        "<xi:include xmlns:xi=\"" +
        std::string(random.Pick({"http://www.w3.org/2001/XInclude", "http://www.w3.org/2003/XInclude"})) +
        "\" href=\"" + Reference(places, asText ? "text.txt" : "element.xml", random) + "\"" +
        (asText ? " parse=\"text\"" : "") + "/>";
    if (const std::size_t closing = text.rfind("</"); closing != std::string::npos)
        text.insert(closing, include);
}

void NameSchema(std::string& text, const OutsidePlaces& places, Random& random)
{
    const std::string schema = Reference(places, "schema.xml", random);
    const std::string instance = " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\"";
    switch (random.Below(4)) {
    case 0:
        return InsertIntoRoot(text, " xmlns=\"x-schema:" + schema + "\"");
    case 1:
        return InsertIntoRoot(text, " xmlns:s=\"x-schema:" + schema + "\" s:leak=\"\"");
    case 2:
        return InsertIntoRoot(text, instance + " xsi:noNamespaceSchemaLocation=\"" + schema + "\"");
    default:
        return InsertIntoRoot(text,
                              instance + " xsi:schemaLocation=\"urn:x " + schema + "\" xmlns=\"urn:x\"");
    }
}

void NameStyle(std::string& text, const OutsidePlaces& places, Random& random)
{
    InsertProlog(text, "<?xml-stylesheet type=\"text/xsl\" href=\"" + Reference(places, "style.xsl", random) +
                           "\"?>");
}

void NameBase(std::string& text, const OutsidePlaces& places, Random& random)
{
    InsertIntoRoot(text, " xml:base=\"" + Reference(places, "", random) + "\"");
    Include(text, {".", ".", "."}, random);
}

} // namespace

void MutateOutside(std::string& text, const OutsidePlaces& places, Random& random)
{
    constexpr void (*mutations[])(std::string&, const OutsidePlaces&, Random&) = {
        DeclareDoctype, DeclareDoctype, DeclareDoctype, Include, NameSchema, NameStyle, NameBase};
    random.Pick(mutations)(text, places, random);
}

const OutsideFile* OutsideFiles(std::size_t& count)
{
    static const std::string canary = c_canary;
    static const OutsideFile files[] = {
        {L"text.txt", canary},
        {L"element.xml", "<leaked by=\"" + canary + "\">" + canary + "</leaked>"},
        {L"entities.dtd", "<!ENTITY leak \"" + canary + "\"><!ATTLIST Policy leaked CDATA \"" + canary +
                              "\"><!ATTLIST GpoPolicies leaked CDATA \"" + canary + "\">"},
        {L"schema.xml", "<Schema xmlns=\"urn:schemas-microsoft-com:xml-data\"><AttributeType name=\"leak\" "
                        "default=\"" +
                            canary +
                            "\"/><ElementType name=\"Policy\"><attribute type=\"leak\"/></ElementType>"
                            "</Schema>"},
        {L"style.xsl", "<x:stylesheet version=\"1.0\" xmlns:x=\"http://www.w3.org/1999/XSL/Transform\">"
                       "<x:template match=\"/\">" +
                           canary + "</x:template></x:stylesheet>"},
    };
    count = std::size(files);
    return files;
}
