#include "Tests/xml/xml_fixture.h"

#include "Tests/support/memory_use.h"

#include <gmock/gmock.h>

#include <functional>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

namespace {

/// Reads attribute and text of the same content; both must agree with `expected` or leave the sentinel.
template <class T>
void ExpectReads(const CkxXMLNode& node, bool reads, T expected, T sentinel, const char* type)
{
    T value = sentinel;
    EXPECT_EQ(node.GetAttribute(L"v", value), reads) << type << " attribute";
    EXPECT_TRUE(value == (reads ? expected : sentinel)) << type << " attribute";
    value = sentinel;
    EXPECT_EQ(node.GetText(value), reads) << type << " text";
    EXPECT_TRUE(value == (reads ? expected : sentinel)) << type << " text";
}

constexpr GUID kGuid = {0x5B3E7C21, 0x9D4A, 0x4E86, {0xA1, 0xF2, 0x7C, 0x09, 0xD3, 0xB6, 0xE5, 0x4A}};

} // namespace

TEST_F(XmlNodeTest, TypedReadsTakeExactlyOneFieldOrLeaveTheValue)
{
    const struct {
        const wchar_t* text;
        bool isInt;
        int asInt;
        bool isShort;
        SHORT asShort;
        long long as64;
    } rows[] = {
        {L"12", true, 12, true, 12, 12},
        {L"-1", true, -1, false, 0, -1},
        {L"65535", true, 65535, true, -1, 65535},
        {L"65536", true, 65536, false, 0, 65536},
        {L"99999999999", true, 1215752191, false, 0, 99999999999},
        {L"", false, 0, false, 0, 0},
        {L"12x", false, 0, false, 0, 0},
        {L"true", false, 0, false, 0, 0},
        {L"TRUE", false, 0, false, 0, 0},
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(CString(row.text).GetString());
        CkxXMLNode node = Parse(L"<a v=''/>");
        ASSERT_TRUE(node.SetAttribute(L"v", row.text) && node.SetText(row.text));
        ExpectReads<int>(node, row.isInt, row.asInt, -77, "int");
        ExpectReads<unsigned>(node, row.isInt, static_cast<unsigned>(row.asInt), 77, "unsigned");
        ExpectReads<long long>(node, row.isInt, row.as64, -77, "64 bits");
        ExpectReads<unsigned long long>(node, row.isInt, static_cast<unsigned long long>(row.as64), 77,
                                        "64 bits unsigned");
        const bool isBool = row.text == std::wstring_view(L"true");
        ExpectReads<bool>(node, isBool, true, false, "bool");
        ExpectReads<bool>(node, isBool, true, true, "bool");
        (void)Traced();
        ExpectReads<SHORT>(node, row.isShort, row.asShort, 77, "SHORT");
        const bool complains = Traced().find("ERROR: Conversion from INT " + std::to_string(row.asInt) +
                                             " to SHORT causes loss of data") != std::string::npos;
        EXPECT_EQ(complains, row.isInt && !row.isShort);
    }
}

TEST_F(XmlNodeTest, BlanksBehindANumberAndOtherBasesCountByPlace)
{
    const CkxXMLNode node = Parse(L"<a v='7 ' w='0x1F'>0x1F</a>");
    int value = -77;
    EXPECT_FALSE(node.GetAttribute(L"v", value));
    EXPECT_FALSE(node.GetAttribute(L"w", value)) << "attributes are decimal";
    EXPECT_EQ(value, -77);
    long long wide = 0;
    EXPECT_TRUE(node.GetText(value) && node.GetText(wide));
    EXPECT_EQ(value, 31);
    EXPECT_EQ(wide, 31);
    unsigned natural = 77;
    EXPECT_FALSE(node.GetText(natural));
    EXPECT_EQ(natural, 77U);
    EXPECT_EQ(Traced(), "") << "no number: no line, no scope";
}

TEST_F(XmlNodeTest, WhatIsWrittenIsReadBack)
{
    const CkxXMLNode node = Parse(L"<a/>");
    const auto check = [&](auto value, const wchar_t* text) {
        CString written;
        decltype(value) back{};
        EXPECT_TRUE(node.SetAttribute(L"v", value) && node.GetAttribute(L"v", written)) << text;
        EXPECT_EQ(written, text);
        EXPECT_TRUE(node.GetAttribute(L"v", back) && back == value) << text;
    };
    check(true, L"true");
    check(false, L"false");
    check((std::numeric_limits<int>::min)(), L"-2147483648");
    check(4294967295U, L"4294967295");
    check(4294967295UL, L"4294967295");
    check((std::numeric_limits<long long>::min)(), L"-9223372036854775808");
    check((std::numeric_limits<unsigned long long>::max)(), L"18446744073709551615");
    check(SHORT{-1}, L"65535");
    check(kGuid, L"{5B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54A}");
    GUID guid{};
    EXPECT_TRUE(node.SetText(kGuid) && node.GetText(guid) && guid == kGuid);
}

TEST_F(XmlNodeTest, FailuresAreTracedInTheirWords)
{
    CkxXMLNode node = Parse(L"<a g='{x}' ok='1'>{y}<!--c--></a>");
    GUID guid = kGuid;
    EXPECT_FALSE(node.GetAttribute(L"g", guid));
    EXPECT_TRUE(TracedOnly("ERROR: Attribute 'g'. IIDFromString({x}) failed. hr=-21"));
    EXPECT_FALSE(node.GetText(guid));
    EXPECT_TRUE(TracedOnly("ERROR: IIDFromString({y}) failed. hr=-21"));
    EXPECT_TRUE(guid == kGuid);

    int value = -77;
    EXPECT_FALSE(node.GetAttribute(L"none", value));
    EXPECT_EQ(Traced(), "") << "absence is no error";
    EXPECT_FALSE(node.GetRequiredAttribute(L"none", value));
    EXPECT_TRUE(TracedOnly("ERROR: Exiting <a> is missing 'none' attribute."));
    EXPECT_TRUE(node.GetRequiredAttribute(L"ok", value));
    EXPECT_EQ(value, 1);

    CkxXMLNode comment;
    ASSERT_TRUE(node.GetFirstChild(NODE_COMMENT, comment));
    EXPECT_FALSE(comment.SetAttribute(L"x", 1));
    EXPECT_TRUE(TracedOnly("ERROR: Cannot get IXMLDOMElement"));
    EXPECT_FALSE(comment.RemoveAttribute(L"x"));
    EXPECT_TRUE(TracedOnly("ERROR: Cannot get IXMLDOMElement"));

    const CkxXMLNode empty;
    CString text(L"kept");
    std::vector<CkxXMLNode> nodes(1);
    EXPECT_FALSE(empty.GetText(text) || empty.GetXml(text) || empty.GetNodeName(text) || empty.SetText(L"") ||
                 empty.AddCDATASection(L"") || empty.GetFirstChild(L"a", node) ||
                 empty.AddChild(L"a", node) || empty.GetNextSibling(NODE_TEXT, node) ||
                 empty.SelectSingleNode(L"a", node) || empty.SelectNodes(L"a", nodes) ||
                 empty.AppendChild(node) || node.AppendChild(empty) || empty.RemoveChild(node) ||
                 node.RemoveChild(empty) || empty.ReplaceChild(node, node) ||
                 node.ReplaceChild(comment, empty) || empty.GetAttribute(L"x", text) ||
                 empty.GetRequiredAttribute(L"x", text));
    EXPECT_EQ(text, L"kept");
    EXPECT_EQ(nodes.size(), 1U);
    EXPECT_FALSE(node.IsNull());
}

// What breaks off must not look like the end: a policy would be missing in silence.
TEST_F(XmlNodeTest, AWalkThatBreaksOffIsTraced)
{
    const CkxXMLNode node = Parse(L"<a x='1'><b/><c/></a>");
    const CkxXMLNode first = Child(node, L"b");
    std::vector<CkxXMLNode> nodes;
    CkxXMLNode found;
    CString text;

    const struct {
        std::size_t slot; // in the table of an element's methods
        const char* line;
        std::function<bool()> step;
    } rows[] = {
        {7, "ERROR: get_nodeName failed.", [&] { return node.GetFirstChild(L"b", found); }},
        {10, "ERROR: get_nodeType failed.", [&] { return node.GetFirstChild(NODE_ELEMENT, found); }},
        {13, "ERROR: get_firstChild failed.", [&] { return node.GetFirstChild(L"b", found); }},
        {16, "ERROR: get_nextSibling failed.", [&] { return first.GetNextSibling(L"c", found); }},
        {44, "ERROR: getAttribute failed.", [&] { return node.GetAttribute(L"x", text); }},
        {47, "ERROR: getAttributeNode failed.", [&] { return node.LacksAttribute(L"y"); }},
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        {
            const FailingMethod<> failing(node.Get(), row.slot);
            EXPECT_FALSE(row.step());
        }
        EXPECT_THAT(Traced(), testing::HasSubstr(row.line));
        EXPECT_TRUE(row.step());
    }
    EXPECT_FALSE(node.LacksAttribute(L"x"));
}

// Nobody may go on with less than there is.
TEST_F(XmlNodeTest, WhereMemoryIsGoneNothingIsTakenForAbsent)
{
    const CkxXMLNode node = Parse(L"<a x='1'><b/><c/></a>");
    const CkxXMLNode first = Child(node, L"b");
    CkxXMLNode found;
    CString text;

    const struct {
        std::size_t slot;
        std::function<bool()> step;
    } rows[] = {
        {0, [&] { return node.SetAttribute(L"x", L"2"); }},
        {0, [&] { return node.GetAttribute(L"x", text); }},
        {0, [&] { return document.SetRootElement(node); }},
        {10, [&] { return node.AppendChild(first); }},
        {16, [&] { return first.GetNextSibling(L"c", found); }},
        {44, [&] { return node.GetAttribute(L"x", text); }},
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(row.slot);
        const FailingMethod<E_OUTOFMEMORY> failing(node.Get(), row.slot);
        EXPECT_THROW((void)row.step(), CAtlException);
    }
}

TEST_F(XmlNodeTest, TextOfMixedContent)
{
    const std::pair<const wchar_t*, const wchar_t*> rows[] = {
        {L"<a>  hi  </a>", L"hi"},
        {L"<a>t <b>x</b> u</a>", L"t x u"},
        {L"<a><![CDATA[  <c>  ]]></a>", L"  <c>  "},
        {L"<a>1<!--c-->2<?p x?>3</a>", L"123"},
        {L"<a>\xD83D\xDE00\x4E2D&amp;&#x1F600;</a>", L"\xD83D\xDE00\x4E2D&\xD83D\xDE00"},
        {L"<a/>", L""},
    };
    for (const auto& [xml, text] : rows)
        EXPECT_EQ(Text(Parse(xml)), text) << xml;
}

TEST_F(XmlNodeTest, SetTextReplacesTheFirstTextOrAddsOne)
{
    CkxXMLNode node = Parse(L"<a><b/></a>");
    ASSERT_TRUE(node.SetText(L"one"));
    EXPECT_EQ(Dense(node), L"<a><b/>one</a>");
    ASSERT_TRUE(node.SetText(L"<two>"));
    EXPECT_EQ(Dense(node), L"<a><b/>&lt;two&gt;</a>");
    ASSERT_TRUE(node.SetText(nullptr));
    EXPECT_EQ(Text(node), L"");

    ASSERT_TRUE(node.SetText(L"\x01 \xD83D \xD83D\xDE00 \xFFFF") && node.SetAttribute(L"v", L"\x02\xDC00"));
    CString text;
    ASSERT_TRUE(document.SaveToString(text));
    ASSERT_TRUE(document.Load(text)) << "what was written must be XML";
    EXPECT_EQ(Text(RootOf(document)), L"\xFFFD \xFFFD \xD83D\xDE00 \xFFFD");
    ASSERT_TRUE(RootOf(document).GetAttribute(L"v", text));
    EXPECT_EQ(text, L"\xFFFD\xFFFD");
}

TEST_F(XmlNodeTest, TextsOfEveryLengthAreHandedOver)
{
    const CkxXMLNode node = Parse(L"<a/>");
    for (const int length : {0, 1, 118, 119, 120, 121, 5000, 1000000}) {
        const CString value(L'x', length);
        ASSERT_TRUE(node.SetAttribute(L"v", value) && node.SetText(value));
        CString read;
        EXPECT_TRUE(node.GetAttribute(L"v", read) && read == value) << length;
        EXPECT_TRUE(node.GetText(read) && read == value) << length;
    }
    const CString name(L'n', 300);
    int number = 0;
    EXPECT_TRUE(node.SetAttribute(name, 5) && node.GetAttribute(name, number) && node.RemoveAttribute(name));
    EXPECT_EQ(number, 5);
    EXPECT_FALSE(node.GetAttribute(name, number));
    EXPECT_TRUE(node.RemoveAttribute(name)) << "absent is as good as removed";
}

TEST_F(XmlNodeTest, CDATASectionsHoldAnyText)
{
    for (const wchar_t* const text : {L"plain <&>", L"", L"]]>", L"a]]>b]]>", L"]]", L"\xD83D\xDE00"}) {
        const CkxXMLNode node = Parse(L"<a/>");
        ASSERT_TRUE(node.AddCDATASection(text));
        CString xml;
        ASSERT_TRUE(node.GetXml(xml));
        EXPECT_NE(xml.Find(L"<![CDATA["), -1);
        ASSERT_TRUE(document.Load(xml)) << CString(xml).GetString();
        EXPECT_EQ(Text(RootOf(document)), text);
    }
}

// Some parsers make an object for each node handed out, so that one kept too long shows as memory only.
TEST_F(XmlNodeTest, NoReferenceAndNoObjectIsKept)
{
    const CkxXMLNode root = Parse(L"<a v='1'><b/>t<c/></a>");
    const auto references = [&] {
        root.Get()->AddRef();
        return root.Get()->Release();
    };
    const auto work = [&](int rounds) {
        for (int round = 0; round < rounds; ++round) {
            CkxXMLNode other = root;
            CkxXMLNode child;
            std::vector<CkxXMLNode> nodes;
            int value = 0;
            ASSERT_TRUE(other.GetFirstChild(NODE_TEXT, child) && other.GetFirstChild(L"b", child) &&
                        child.GetNextSibling(L"c", child) && other.GetAttribute(L"v", value) &&
                        other.SetAttribute(L"v", 2) && other.SetText(L"u") &&
                        other.SelectSingleNode(L"c", child) && other.SelectNodes(L"*", nodes) &&
                        other.AppendChild(child) && other.RemoveChild(child) && other.AppendChild(child));
            ASSERT_FALSE(child.AppendChild(other));
            (void)Traced();
            const CkxXMLNode taken = std::move(other);
            ASSERT_TRUE(other.IsNull());
        }
    };
    const ULONG before = references();
    work(2000);
    const std::size_t bytes = PrivateBytes();
    work(20000);
    EXPECT_LT(PrivateBytes(), bytes + 500000) << "a reference kept a round costs a megabyte";
    EXPECT_EQ(references(), before);
}
