#include "Common_CPP/xml/xml_query.h"
#include "Common_CPP/xml/xml_text.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <string_view>

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
        {"opening tag", u"<p>1</p>", u"<p>", u"<p>...</p>", 1, false},
        {"begin of a tag", u"<p>1</p>", u"<p", u"<p>...</p>", 1, false},
        {"name with its end", u"<p>1</p>", u"p>", u"<p>...</p>", 1, false},
        {"tag with a doubled end", u"<p>1</p>", u"<p>>", u"<p>...</p>", 1, false},
        {"no tag", u"<p>1</p>", u"", u"<p>1</p>", 0, false},
        {"other case, longer name, attribute", u"<P>1</P><pp>2</pp><p a=''>3</p>", u"p",
         u"<P>1</P><pp>2</pp><p a=''>3</p>", 0, false},
        {"never closed", u"<p>1</p><p>2", u"p", u"<p>...</p><p>2", 1, true},
        {"closed only before", u"</p><p>2", u"p", u"</p><p>2", 0, true},
        {"nested: up to the first end", u"<p>1<p>2</p>3</p>", u"p", u"<p>...</p>3</p>", 1, false},
        {"already masked", u"<p>...</p>", u"p", u"<p>...</p>", 1, false},
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
    const char* const safe[] = {"ItemLevelTargeting",
                                "Targets/ApplicationGroup",
                                "/ApplicationGroups",
                                "Messages/Message",
                                "//a",
                                "a//b",
                                "@id",
                                "a/@id",
                                ".",
                                "..",
                                "../a",
                                "*",
                                "a:b",
                                "a[position()=1]",
                                "@*",
                                "text()",

                                "text()",
                                "a[1]",
                                "a[@id=\"x\"]",
                                "a[@id='\"']",
                                "a[c = 'x' and @d]",
                                "a[last()]",
                                "a[c][2]/d",
                                "a | b",
                                " a ",
                                "a[@x='[']",
                                "a-b",
                                "a[b!='1' or c<=2]"};
    for (const char* const query : safe)
        EXPECT_TRUE(kx::IsSafeQuery(std::u16string(query, query + std::char_traits<char>::length(query))))
            << query;

    const char* const unsafe[] = {"",
                                  " ",
                                  "[",
                                  "]",
                                  "a[",
                                  "a]",
                                  "a[]",
                                  "\"",
                                  "a[@id=\"x\"\"]",
                                  "a[@x='1]",
                                  "a(",
                                  ")",
                                  "//",
                                  "/",
                                  "a/",
                                  "a//",
                                  "///a",
                                  "@",
                                  "a[@]",
                                  "a[1=]",
                                  "a[=1]",
                                  "!",
                                  "a!",
                                  "|",
                                  "a|",
                                  "|a",
                                  "a b",
                                  ":a",
                                  "a:",
                                  "a:*",
                                  "@a:*",
                                  "a[.]",
                                  "a[*]",
                                  "a[/b]",
                                  "foo()",
                                  "a[b:c]",
                                  "a[b or c and d]",
                                  "a[b/c]",
                                  "a[b[c]]",
                                  "a['q']",
                                  "a[b='']",
                                  "a['']",
                                  "a::b",
                                  "a and",
                                  "and",
                                  "a[not]",
                                  "a[b and]",
                                  "a[1a]",
                                  "1",
                                  "-",
                                  "a[b!c]",
                                  "a[(b)]",
                                  "a[b=c=d]",
                                  "...",
                                  "a,b",
                                  "#",
                                  "<",
                                  "a\tb",
                                  "a[.[1]]"};
    for (const char* const query : unsafe)
        EXPECT_FALSE(kx::IsSafeQuery(std::u16string(query, query + std::char_traits<char>::length(query))))
            << query;

    std::u16string deep;
    for (int i = 0; i < 100000; ++i)
        deep += u"a[";
    EXPECT_FALSE(kx::IsSafeQuery(deep));
    EXPECT_FALSE(kx::IsSafeQuery(u"a\0"s));
}
