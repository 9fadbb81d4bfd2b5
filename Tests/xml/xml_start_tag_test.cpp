#include "Common_CPP/xml/xml_start_tag.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

TEST(XmlStartTag, ReadsWhatTheTagSays)
{
    const struct {
        const char* why;
        const char16_t* xml;
        std::optional<std::u16string> value; ///< of "b"
    } rows[] = {
        {"among others", u"<P a=\"1\" b=\"2\" c=\"3\"><Q b=\"4\"/></P>", u"2"},
        {"empty, in an empty element", u"<P b=\"\"/>", u""},
        {"other quotes, blanks and lines", u"<P\r\n\tb = 'x \"y\"\n'>", u"x \"y\"\n"},
        {"named references", u"<P b=\"&lt;&amp;&gt;&quot;&apos;\"/>", u"<&>\"'"},
        {"numbered references", u"<P b=\"&#65;&#x4a;&#xA;&#x1F9C0;\"/>", u"AJ\n\U0001F9C0"},
        {"the whole name counts", u"<P bb=\"1\" x:b=\"2\" B=\"3\"/>", std::nullopt},
        {"not from the content", u"<P>b=\"1\"</P>", std::nullopt},
        {"not from another's value", u"<P a=\" b='1' \"/>", std::nullopt},
        {"a reference to nothing", u"<P b=\"&none;\"/>", std::nullopt},
        {"beyond all characters", u"<P b=\"&#x110000;\"/>", std::nullopt},
        {"half of a pair", u"<P b=\"&#xD800;\"/>", std::nullopt},
        {"a control character", u"<P b=\"&#2;\"/>", std::nullopt},
        {"a reference without an end", u"<P b=\"&amp\"/>", std::nullopt},
        {"cut off", u"<P b=\"1", std::nullopt},
        {"cut off after the name", u"<P b", std::nullopt},
        {"no element", u"b=\"1\"", std::nullopt},
        {"nothing", u"", std::nullopt},
    };

    for (const auto& row : rows) {
        std::u16string value;
        const bool found = kx::ReadStartTagAttribute<char16_t>(row.xml, u"b", value);
        EXPECT_EQ(found, row.value.has_value()) << row.why;
        EXPECT_TRUE(!found || value == *row.value) << row.why;
    }
}
