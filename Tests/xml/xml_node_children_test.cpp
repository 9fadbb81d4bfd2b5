// Walking, selecting, adding, moving and removing a node's children.
#include "Common_CPP/xml/xml_query.h"
#include "Tests/xml/xml_fixture.h"

#include <string>
#include <string_view>
#include <vector>

TEST_F(XmlNodeTest, WalksElementsByNameAndNodesByType)
{
    const CkxXMLNode root = Parse(L"<a>t<b i='1'/><?b pi?><!--b--><c/><x:b xmlns:x='u'/><b i='2'/></a>");
    CkxXMLNode node;
    std::wstring seen;
    for (bool more = root.GetFirstChild(L"b", node); more; more = node.GetNextSibling(L"b", node)) {
        CString i;
        EXPECT_TRUE(node.GetAttribute(L"i", i));
        seen += i;
    }
    EXPECT_EQ(seen, L"12");
    seen.clear();
    for (bool more = root.GetFirstChild(NODE_ELEMENT, node); more;
         more = node.GetNextSibling(NODE_ELEMENT, node)) {
        CString name;
        EXPECT_TRUE(node.GetNodeName(name));
        seen += name + L" ";
    }
    EXPECT_EQ(seen, L"b c x:b b ");
    EXPECT_FALSE(root.GetFirstChild(L"d", node));
    EXPECT_FALSE(node.IsNull()) << "a failed read leaves the wrapper";
    EXPECT_EQ(Traced(), "");
}

TEST_F(XmlNodeTest, Queries)
{
    const CkxXMLNode root = Parse(L"<r><t><g id='1'>one</g><g id='2'>7</g></t><t><g id=\"'\"/></t></r>");
    std::vector<CkxXMLNode> nodes;
    ASSERT_TRUE(root.SelectNodes(L"t/g", nodes));
    EXPECT_EQ(nodes.size(), 3U);
    for (const CkxXMLNode& node : nodes)
        EXPECT_TRUE(root.AppendChild(node)) << "what was selected may be moved";
    ASSERT_TRUE(root.SelectNodes(L"none", nodes));
    EXPECT_TRUE(nodes.empty());

    int value = 0;
    EXPECT_TRUE(root.GetValueFromSingleElement(L"g[@id='2']", value));
    EXPECT_EQ(value, 7);
    EXPECT_FALSE(root.GetValueFromSingleElement(L"g[@id='3']", value));
    EXPECT_EQ(Traced(), "") << "nothing selected is no error";
    CkxXMLNode node;
    EXPECT_FALSE(root.SelectSingleNode(L"g[@id='3]", node));
    EXPECT_TRUE(TracedOnly("ERROR: The query is not accepted: [g[@id='3]]"));
}

// A query that the parser does not survive ends this program.
TEST_F(XmlNodeTest, TheParserSurvivesEverySafeQuery)
{
    const CkxXMLNode root = Parse(L"<r><a x='1'><b>2</b></a></r>");
    const std::wstring pieces[] = {L"a", L"/",      L"//", L"@", L"*",  L".", L"..",
                                   L"[", L"]",      L"'",  L"=", L"<=", L"1", L" or ",
                                   L"|", L"text()", L":",  L" ", L"!=", L"(", L")"};
    const std::size_t count = std::size(pieces);
    int safe = 0;
    for (std::size_t number = 0; number < count * count * count * count * count; ++number) {
        std::wstring query;
        for (std::size_t rest = number; rest > 0; rest /= count)
            query += pieces[rest % count];
        if (!kx::IsSafeQuery(std::wstring_view(query)))
            continue;
        ++safe;
        CComPtr<IXMLDOMNode> node;
        (void)root.Get()->selectSingleNode(CComBSTR(query.c_str()), &node);
    }
    EXPECT_GT(safe, 1000);
}

TEST_F(XmlNodeTest, ANodeIsNeverPutUnderItself)
{
    const wchar_t* const xml = L"<n i='1'><n i='2'><m><n i='3'/></m></n><o/></n>";
    const CkxXMLNode root = Parse(xml);
    const CkxXMLNode second = Child(root, L"n");
    const CkxXMLNode middle = Child(second, L"m");
    const CkxXMLNode third = Child(middle, L"n");
    const CkxXMLNode aside = Child(root, L"o");

    const struct {
        const char* why;
        const CkxXMLNode& parent;
        const CkxXMLNode& child;
    } rows[] = {{"itself", root, root},
                {"a leaf itself", third, third},
                {"child", second, root},
                {"grandchild", third, second},
                {"its root", third, root},
                {"other name", third, middle},
                {"another wrapper of itself", Child(root, L"n"), second},
                {"the document", third, document}};

    for (const auto& row : rows) {
        EXPECT_FALSE(row.parent.AppendChild(row.child)) << row.why;
        EXPECT_TRUE(TracedOnly("ERROR: appendChild failed. hr=-2147")) << row.why;
        EXPECT_EQ(Dense(root), L"<n i=\"1\"><n i=\"2\"><m><n i=\"3\"/></m></n><o/></n>") << row.why;
    }
    EXPECT_FALSE(middle.ReplaceChild(second, third));

    // What a wrapper remembers of the nodes above it must not outlive their moves.
    EXPECT_TRUE(third.AppendChild(aside));
    EXPECT_TRUE(root.AppendChild(aside));
    EXPECT_TRUE(aside.AppendChild(second));
    EXPECT_FALSE(third.AppendChild(aside)) << "now holds it";
    EXPECT_TRUE(root.AppendChild(third)) << "same name, but not above";
    EXPECT_TRUE(third.AppendChild(aside)) << "no longer holds it";
    EXPECT_EQ(Dense(root), L"<n i=\"1\"><n i=\"3\"><o><n i=\"2\"><m/></n></o></n></n>");
}

TEST_F(XmlNodeTest, ChildrenAreRemovedAndReplaced)
{
    const CkxXMLNode root = Parse(L"<a><b/><c><d/></c></a>");
    const CkxXMLNode b = Child(root, L"b");
    const CkxXMLNode c = Child(root, L"c");
    const CkxXMLNode d = Child(c, L"d");
    EXPECT_FALSE(root.RemoveChild(d)) << "not a child of its own";
    EXPECT_FALSE(root.ReplaceChild(b, d));
    EXPECT_EQ(Dense(root), L"<a><b/><c><d/></c></a>");
    ASSERT_TRUE(root.ReplaceChild(d, b));
    EXPECT_EQ(Dense(root), L"<a><d/><c/></a>");
    ASSERT_TRUE(root.RemoveChild(d));
    EXPECT_EQ(Dense(root), L"<a><c/></a>");
    ASSERT_TRUE(c.AppendChild(d) && c.AppendChild(b)) << "what was taken out may come back";
    EXPECT_EQ(Dense(root), L"<a><c><d/><b/></c></a>");
    ASSERT_TRUE(c.ReplaceChild(d, d)) << "by itself";
    EXPECT_EQ(Dense(root), L"<a><c><d/><b/></c></a>");
}
