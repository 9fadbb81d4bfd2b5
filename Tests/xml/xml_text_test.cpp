// The texts of XML without a parser: queries and start tags. The fuzz targets compare the functions on
// characters, tags and namespaces with what they are to do, on any text.
#include "Common_CPP/xml/xml_query.h"
#include "Common_CPP/xml/xml_start_tag.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

TEST(XmlQuery, OnlyWellFormedOnesAreSafe)
{
    const struct {
        const char* why;
        bool safe;
        std::vector<std::string> queries;
    } rows[] = {
        {"the product's own", true, {"ItemLevelTargeting", "Targets/ApplicationGroup", "/ApplicationGroups"}},
        {"steps", true, {"//a", "a//b", ".", "..", "../a"}},
        {"names", true, {"*", "a:b", "a-b", " a ", "text()"}},
        {"attributes", true, {"@id", "a/@id", "@*"}},
        {"alternatives", true, {"a | b"}},
        {"places", true, {"a[1]", "a[last()]", "a[position()=1]", "a[c][2]/d"}},
        {"comparisons", true, {"a[@id=\"x\"]", "a[@id='\"']", "a[@x='[']", "a[b!='1' or c<=2]"}},
        {"both", true, {"a[c = 'x' and @d]"}},
        {"nothing", false, {"", " "}},
        {"brackets in each other", false, {"a[b[c]]", "a[.[1]]", "a[(b)]"}},
        {"texts in odd places", false, {"a['q']", "a[b='']", "a[@id=\"x\"\"]"}},
        {"half a comparison", false, {"a[1=]", "a[=1]", "a[b!c]", "a[b=c=d]"}},
        {"words", false, {"a b", "a and", "and", "a[not]", "a[b and]"}},
        {"two words at once", false, {"a[b or c and d]"}},
        {"numbers", false, {"a[1a]", "1", "-"}},
        {"other characters", false, {"a,b", "#", "<", "a\tb", std::string("a\0", 2)}},
    };

    for (const auto& row : rows)
        for (const std::string& query : row.queries)
            EXPECT_EQ(kx::IsSafeQuery(std::u16string(query.begin(), query.end())), row.safe)
                << row.why << ": " << query;
    std::u16string deep;
    for (int i = 0; i < 100000; ++i)
        deep += u"a[";
    EXPECT_FALSE(kx::IsSafeQuery(deep));
}

// What a tag says is read, too: the fuzz target writes tags of any values.
TEST(XmlStartTag, ReadsNothingThatTheTagDoesNotSay)
{
    for (const char16_t* xml :
         {u"<P bb=\"1\" x:b=\"2\" B=\"3\"/>", u"<P>b=\"1\"</P>", u"<P a=\" b='1' \"/>", u"<P b=\"&none;\"/>",
          u"<P b=\"&#xD800;\"/>", u"<P b=\"&#2;\"/>", u"<P b=\"&amp\"/>", u"<P b=\"1", u""}) {
        std::u16string value;
        EXPECT_FALSE(kx::ReadStartTagAttribute<char16_t>(xml, u"b", value))
            << std::u16string_view(xml).size();
    }
    std::u16string value;
    ASSERT_TRUE(kx::ReadStartTagAttribute<char16_t>(u"<P b=\"&gt;&#x4a;&#x1F9C0;\"/>", u"b", value));
    EXPECT_TRUE(value == u">J\U0001F9C0");
}
