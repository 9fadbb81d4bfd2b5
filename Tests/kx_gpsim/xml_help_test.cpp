// What is done to XML text without a parser: masking, indenting, looking for a fault.

#include "Tools/kx_gpsim/pretty_xml.h"
#include "Tools/kx_gpsim/secrets.h"
#include "Tools/kx_gpsim/xml_fault.h"

#include <gtest/gtest.h>

namespace {

TEST(Secrets, AreMaskedWhereverTheyStand)
{
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"an attribute", "<A user=\"u\" proxyPassword=\"p>'q\" x='1'/>",
         "<A user=\"u\" proxyPassword=\"...\" x='1'/>"},
        {"none is none", "<A proxyPassword=\"\"/>", "<A proxyPassword=\"\"/>"},
        {"an element", "<C><ProxyPassword>p&amp;</ProxyPassword><D>d</D></C>",
         "<C><ProxyPassword>...</ProxyPassword><D>d</D></C>"},
        {"text that only mentions it", "<D>proxyPassword=\"p\"</D>", "<D>proxyPassword=\"p\"</D>"},
        {"cut off in the value", "<A proxyPassword=\"p", "<A proxyPassword=\"..."},
    };
    for (const auto& [why, xml, masked] : rows)
        EXPECT_EQ(kx::MaskXml(xml), masked) << why;
    EXPECT_TRUE(kx::IsSecretName("/Configuration/Proxy/PassWord"));
    EXPECT_FALSE(kx::IsSecretName("PasswordPolicy"));
}

TEST(PrettyXml, IndentsElementsAndLeavesTextAlone)
{
    const std::pair<const char*, const char*> rows[] = {
        {"<?xml version=\"1.0\"?><a><b x='>'/>\r\n<c><d/></c></a>",
         "<?xml version=\"1.0\"?>\n<a>\n  <b x='>'/>\n  <c>\n    <d/>\n  </c>\n</a>\n"},
        {"<a><b>t <i>u</i>\n v</b><c> </c></a>", "<a>\n  <b>t <i>u</i>\n v</b>\n  <c></c>\n</a>\n"},
        {"<a><!-- <x> --><![CDATA[<y>]]></a>", "<a><!-- <x> --><![CDATA[<y>]]></a>\n"},
        {"no XML", "no XML\n"},
        {"</a></b><c", "</a>\n</b>\n<c\n"},
    };
    for (const auto& [xml, pretty] : rows) {
        EXPECT_EQ(kx::PrettyXml(xml), pretty);
        EXPECT_EQ(kx::PrettyXml(pretty), pretty) << "a second time";
    }
}

TEST(XmlFault, IsFoundWhereItStands)
{
    const std::pair<const char*, const char*> rows[] = {
        {"\xEF\xBB\xBF<?xml version='1.0'?>\n<!-- <b> --><a x=\"&lt;>\" y = '1'>t&#10;<b/><![CDATA[<&]]></a "
         ">\n",
         ""},
        {"<a>\n  <b>\n  </a>", "3:3 </a> stands where <b> is to be closed"},
        {"<a>\n  <b/>", "1:1 <a> is never closed"},
        {"<a/>\n</b>", "2:1 </b> closes nothing"},
        {"<a/><b/>", "1:5 there is a second root element"},
        {"\n", "2:1 there is no root element"},
        {"<a/> x", "1:6 text stands outside of the root element"},
        {"<a>R & D</a>", "1:6 '&' begins no reference; it is written &amp;"},
        {"<a x='R&D'/>", "1:8 '&' begins no reference; it is written &amp;"},
        {"<a>1 < 2</a>", "1:6 '<' begins no tag; it is written &lt;"},
        {"<a x=1/>", "1:4 the value of x has no quotation marks"},
        {"<a x/>", "1:4 there is no attribute with a value"},
        {"<a\n x='1><b y='2'/></a>", "2:2 the value of x never ends"},
        {"<a x='1'", "1:1 the tag <a never ends"},
        {"<a><!-- </a>", "1:4 the comment never ends"},
        {"<!DOCTYPE a><a/>", "1:1 a document type is refused"},
    };
    for (const auto& [xml, expected] : rows) {
        const auto fault = kx::FindXmlFault(xml);
        const std::string found =
            fault ? std::to_string(fault->line) + ":" + std::to_string(fault->column) + " " + fault->reason
                  : "";
        EXPECT_EQ(found, expected) << xml;
    }
    EXPECT_FALSE(kx::FindXmlFault(std::string_view("\xFF\xFE<\0a\0", 6))) << "UTF-16 is left to the parser";
}

} // namespace
