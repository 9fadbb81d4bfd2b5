#include "Common_CPP/xml/xml_namespaces.h"

#include <gtest/gtest.h>

#include <string>

TEST(XmlNamespaces, NamesAreEscapedWhereTheParserDidNot)
{
    const struct {
        const char* why;
        const char16_t* xml;
        const char16_t* escaped; ///< null: nothing to do
    } rows[] = {
        {"no namespace", u"<a b=\"&lt;\"/>", nullptr},
        {"a plain name", u"<a xmlns=\"urn:a\" xmlns:b='urn:b&amp;c'/>", nullptr},
        {"a tag in the name", u"<a xmlns=\"<b>\"><c/></a>", u"<a xmlns=\"&lt;b>\"><c/></a>"},
        {"with a prefix, behind others", u"<a b=\">\" xmlns:x=\"p&q<\" c=\"'\"/>",
         u"<a b=\">\" xmlns:x=\"p&amp;q&lt;\" c=\"'\"/>"},
        {"other quotes, blanks around", u"<a\r\n\txmlns:x = '\"<' />", u"<a\r\n\txmlns:x = '\"&lt;' />"},
        {"the name of an attribute only ends so", u"<a axmlns=\"p&q\" xmlnsa=\"p&q\"/>", nullptr},
        {"references stay", u"<a xmlns=\"&amp;&quot;&#65;&#x41;&#x1F9C0;&\"/>",
         u"<a xmlns=\"&amp;&quot;&#65;&#x41;&#x1F9C0;&amp;\"/>"},
        {"no references", u"<a xmlns=\"&none;&#0;&#xD800;&#xFFFE;&amp\"/>",
         u"<a xmlns=\"&amp;none;&amp;#0;&amp;#xD800;&amp;#xFFFE;&amp;amp\"/>"},
        {"text, comments, data and instructions are no tags",
         u"<a>xmlns=\"&lt;&amp;\"<!--<b xmlns=\"&\">--><![CDATA[<b xmlns=\"&\">]]><?c <b xmlns=\"&\"?></a>",
         nullptr},
        {"a tag behind those", u"<a><!-- ' --><?c \"?><b xmlns=\"&\"/></a>",
         u"<a><!-- ' --><?c \"?><b xmlns=\"&amp;\"/></a>"},
        {"cut off in a name", u"<a xmlns=\"&", nullptr},
        {"cut off in a comment", u"<a xmlns=\"&\"><!-- ", u"<a xmlns=\"&amp;\"><!-- "},
        {"nothing", u"", nullptr},
    };

    for (const auto& row : rows) {
        std::u16string escaped = u"untouched";
        EXPECT_EQ(kx::EscapeNamespaces(std::u16string_view(row.xml), escaped), row.escaped != nullptr)
            << row.why;
        EXPECT_TRUE(escaped == (row.escaped ? row.escaped : u"untouched")) << row.why;
    }
}
