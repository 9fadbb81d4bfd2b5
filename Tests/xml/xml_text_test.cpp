// The texts of XML without a parser: characters, masked tags, queries, start tags, namespaces.
#include "Common_CPP/xml/xml_namespaces.h"
#include "Common_CPP/xml/xml_query.h"
#include "Common_CPP/xml/xml_start_tag.h"
#include "Common_CPP/xml/xml_text.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

using namespace std::string_literals;

TEST(XmlText, OnlyCharactersThatXmlAllowsStay)
{
    const struct {
        const char* name;
        std::u16string text;
        std::u16string single; ///< ReplaceInvalidCharacters with '?'
        std::u16string whole;  ///< ReplaceInvalidXml
    } rows[] = {
        {"white space", u"\t\n\r ", u"\t\n\r ", u"\t\n\r "},
        {"controls", u"a\x0C\x1F\x01", u"a???", u"a\xFFFD\xFFFD\xFFFD"},
        {"edges", u"\x20\xD7FF\xE000\xFFFD", u"\x20\xD7FF\xE000\xFFFD", u"\x20\xD7FF\xE000\xFFFD"},
        {"beyond the range", u"\xFFFE\xFFFF", u"??", u"\xFFFD\xFFFD"},
        {"a pair", u"x\xD83D\xDE00y", u"x??y", u"x\xD83D\xDE00y"},
        {"halves alone", u"\xDE00\xD83D", u"??", u"\xFFFD\xFFFD"},
        {"high half before a pair", u"\xD83D\xD83D\xDE00", u"???", u"\xFFFD\xD83D\xDE00"},
        {"NUL ends the one, not the other", u"\x01\0\x01"s, u"?\0\x01"s, u"\xFFFD\xFFFD\xFFFD"},
    };

    for (const auto& row : rows) {
        std::u16string text = row.text;
        kx::ReplaceInvalidCharacters(text.data(), text.size(), u'?');
        EXPECT_EQ(text, row.single) << row.name;
        text = row.text;
        kx::ReplaceInvalidXml(text.data(), text.size());
        EXPECT_EQ(text, row.whole) << row.name;
        EXPECT_EQ(kx::FindInvalidXml(std::u16string_view(row.text)) == std::u16string_view::npos,
                  row.text == row.whole)
            << row.name;
    }
}

TEST(XmlText, ObfuscatesTheContentOfTags)
{
    const struct {
        const char* name;
        std::u16string text;
        std::u16string tag;
        std::u16string masked;
        int count;
        bool unclosed;
    } rows[] = {
        {"bare name", u"<r><p>1</p>x<p></p></r>", u"p", u"<r><p>...</p>x<p>...</p></r>", 2, false},
        {"begin of a tag", u"<p>1</p>", u"<p", u"<p>...</p>", 1, false},
        {"name with its end", u"<p>1</p>", u"p>", u"<p>...</p>", 1, false},
        {"no tag", u"<p>1</p>", u"", u"<p>1</p>", 0, false},
        {"other case, longer name, attribute", u"<P>1</P><pp>2</pp><p a=''>3</p>", u"p",
         u"<P>1</P><pp>2</pp><p a=''>3</p>", 0, false},
        {"never closed", u"<p>1</p><p>2", u"p", u"<p>...</p><p>2", 1, true},
        {"closed only before", u"</p><p>2", u"p", u"</p><p>2", 0, true},
        {"nested: up to the first end", u"<p>1<p>2</p>3</p>", u"p", u"<p>...</p>3</p>", 1, false},
        {"NUL inside", u"<p>1\0002</p>"s, u"p", u"<p>...</p>", 1, false},
    };

    for (const auto& row : rows) {
        std::u16string masked = row.text;
        const kx::ObfuscatedTags done =
            kx::ObfuscateTagText(std::u16string_view(row.text), std::u16string_view(row.tag), masked);
        EXPECT_EQ(masked, row.masked) << row.name;
        EXPECT_EQ(done.count, row.count) << row.name;
        EXPECT_EQ(done.unclosed, row.unclosed) << row.name;
    }
}

TEST(XmlText, ObfuscatingTakesTimeLinearInTheText)
{
    // A version that moves the rest of the text at each of these takes minutes.
    std::u16string text;
    for (int i = 0; i < 1000000; ++i)
        text += u"<p></p>";
    std::u16string masked;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(kx::ObfuscateTagText(std::u16string_view(text), std::u16string_view(u"p"), masked).count,
              1000000);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
    EXPECT_EQ(masked.size(), text.size() + 3000000);
}

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
        {"brackets", false, {"[", "]", "a[", "a]", "a[]"}},
        {"brackets in each other", false, {"a[b[c]]", "a[.[1]]", "a[(b)]"}},
        {"texts", false, {"\"", "a[@id=\"x\"\"]", "a[@x='1]"}},
        {"texts in odd places", false, {"a['q']", "a[b='']", "a['']"}},
        {"parentheses", false, {"a(", ")", "foo()"}},
        {"steps to nowhere", false, {"//", "/", "a/", "a//", "///a"}},
        {"no step", false, {"...", "a[.]", "a[*]", "a[/b]", "a[b/c]"}},
        {"attributes without a name", false, {"@", "a[@]"}},
        {"half a comparison", false, {"a[1=]", "a[=1]", "a[b!c]", "a[b=c=d]"}},
        {"operators alone", false, {"!", "a!", "|", "a|", "|a"}},
        {"no prefix or name", false, {":a", "a:", "a:*", "@a:*", "a::b"}},
        {"a prefix in a condition", false, {"a[b:c]"}},
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

TEST(XmlStartTag, ReadsWhatTheTagSays)
{
    const struct {
        const char* why;
        const char16_t* xml;
        std::optional<std::u16string> value; ///< of "b"
    } rows[] = {
        {"among others", u"<P a=\"1\" b=\"2\" c=\"3\"><Q b=\"4\"/></P>", u"2"},
        {"other quotes, blanks and lines", u"<P\r\n\tb = 'x \"y\"\n'>", u"x \"y\"\n"},
        {"named references", u"<P b=\"&lt;&amp;&gt;&quot;&apos;\"/>", u"<&>\"'"},
        {"numbered references", u"<P b=\"&#65;&#x4a;&#xA;&#x1F9C0;\"/>", u"AJ\n\U0001F9C0"},
        {"the whole name counts", u"<P bb=\"1\" x:b=\"2\" B=\"3\"/>", std::nullopt},
        {"not from the content", u"<P>b=\"1\"</P>", std::nullopt},
        {"not from another's value", u"<P a=\" b='1' \"/>", std::nullopt},
        {"a reference to nothing", u"<P b=\"&none;\"/>", std::nullopt},
        {"half of a pair", u"<P b=\"&#xD800;\"/>", std::nullopt},
        {"a control character", u"<P b=\"&#2;\"/>", std::nullopt},
        {"a reference without an end", u"<P b=\"&amp\"/>", std::nullopt},
        {"cut off", u"<P b=\"1", std::nullopt},
        {"nothing", u"", std::nullopt},
    };

    for (const auto& row : rows) {
        std::u16string value;
        const bool found = kx::ReadStartTagAttribute<char16_t>(row.xml, u"b", value);
        EXPECT_EQ(found, row.value.has_value()) << row.why;
        EXPECT_TRUE(!found || value == *row.value) << row.why;
    }
}

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
