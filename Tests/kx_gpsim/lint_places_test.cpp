// The tree that knows where its elements stand, whatever a file's encoding is.

#include "Tools/kx_gpsim/xml_encoding.h"
#include "Tools/kx_gpsim/xml_tree.h"

#include <gtest/gtest.h>

namespace {

using std::string;

string Utf16(const std::u16string& text, bool little)
{
    string bytes = little ? "\xFF\xFE" : "\xFE\xFF";
    for (const char16_t unit : text) {
        const char low = static_cast<char>(unit & 0xFF);
        const char high = static_cast<char>(unit >> 8);
        bytes += little ? string{low, high} : string{high, low};
    }
    return bytes;
}

TEST(XmlTree, KnowsWhereElementsAndAttributesStand)
{
    const auto root = kx::ParseXmlTree(
        "\xEF\xBB\xBF<?xml version='1.0'?>\r\n<!-- <x> -->\r\n"
        "<a>\r\n \xC3\xA4\xE2\x82\xAC<b  c='1&amp;2'\r\n d=\"3>4\"/> t&#65; <![CDATA[<b>]]></a>");
    ASSERT_TRUE(root);
    EXPECT_EQ(root->place.line, 3);
    ASSERT_EQ(root->children.size(), 1U);
    const kx::XmlElement& child = root->children[0];
    EXPECT_EQ(child.place.line, 4);
    EXPECT_EQ(child.place.column, 4) << "columns count characters";
    EXPECT_EQ(child.Value("c"), "1&2");
    ASSERT_TRUE(child.Find("d"));
    EXPECT_EQ(child.Find("d")->place.line, 5) << "a value that was decoded in place moves nothing";
    EXPECT_EQ(child.Find("d")->place.column, 2);
    EXPECT_EQ(root->text, "\xC3\xA4\xE2\x82\xAC tA <b>");
    EXPECT_EQ(child.Find("C"), nullptr);
}

TEST(XmlTree, TakesAllDepthsThatTheExtensionTakesAndNoMore)
{
    const auto nested = [](std::size_t depth) {
        string text;
        for (std::size_t i = 0; i < depth; ++i)
            text += "<a x='</a>'><!--</a>-->"; // what looks like an end is none
        for (std::size_t i = 0; i < depth; ++i)
            text += "</a>";
        return text;
    };
    EXPECT_TRUE(kx::ParseXmlTree(nested(kx::kMostXmlDepth)));
    EXPECT_FALSE(kx::ParseXmlTree(nested(kx::kMostXmlDepth + 1)));
    EXPECT_FALSE(kx::ParseXmlTree(nested(1000000))) << "and does not use up the stack";
    string siblings = "<a>";
    for (int i = 0; i < 1000; ++i)
        siblings += "<b/><c></c><d x='/'>'</d>";
    EXPECT_TRUE(kx::ParseXmlTree(siblings + "</a>")) << "neighbours are not nested";
}

TEST(XmlTree, TextWithoutATreeGivesNone)
{
    for (const char* const text : {"", "  ", "text", "<", "<a", "<a>", "<a b>", "</a>", "<a></", "<!-- ",
                                   "<a></b>", "<a/><b/>", "<a b='"})
        EXPECT_FALSE(kx::ParseXmlTree(text)) << text;
    EXPECT_FALSE(kx::ParseXmlTree(std::string_view("<a\0/>", 5)));
}

TEST(XmlEncoding, BecomesUtf8)
{
    const std::u16string text = u"<a>\u00E4\U0001F600</a>";
    const string utf8 = "<a>\xC3\xA4\xF0\x9F\x98\x80</a>";
    EXPECT_EQ(kx::Utf8OfXmlFile(Utf16(text, true)), utf8);
    EXPECT_EQ(kx::Utf8OfXmlFile(Utf16(text, false)), utf8);
    EXPECT_EQ(kx::Utf8OfXmlFile("\xEF\xBB\xBF" + utf8), utf8);
    EXPECT_EQ(kx::Utf8OfXmlFile("K\xE4serei"), "K\xC3\xA4serei")
        << "bytes of another encoding are one character each";
    EXPECT_EQ(kx::Utf8OfXmlFile(Utf16({0xD800, u'x'}, true)), "\xEF\xBF\xBDx") << "half a pair";
    EXPECT_EQ(kx::Utf8OfXmlFile(string("\xFF\xFE") + "x"), "") << "half a unit";
}

} // namespace
