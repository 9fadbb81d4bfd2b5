// libFuzzer target: declarations of namespaces that a parser wrote as they are. Documents are made together
// with what is to come of them: a byte for each piece. Besides, any text: a second pass finds nothing, and
// nothing is changed but "<" and "&".
//
//   xml_namespaces_fuzz -max_len=512
#include "Common_CPP/xml/xml_namespaces.h"
#include "Tests/fuzz/fuzz_input.h"

#include <iterator>

namespace {

using fuzz::Require;

struct Piece {
    const char16_t* written;
    const char16_t* escaped;
};

constexpr Piece kPieces[] = {
    {u"urn:kx", u"urn:kx"},
    {u"<", u"&lt;"},
    {u"& ", u"&amp; "},
    {u"&", u"&amp;"}, // no piece after it makes it a reference
    {u"&amp;", u"&amp;"},
    {u"&lt;", u"&lt;"},
    {u"&#65;", u"&#65;"},
    {u"&#x10FFFF;", u"&#x10FFFF;"},
    {u"&#0;", u"&amp;#0;"},
    {u"&#xD800;", u"&amp;#xD800;"},
    {u"&none ", u"&amp;none "},
    {u">", u">"},
    {u"/", u"/"},
    {u"xmlns=", u"xmlns="},
    {u"<!--", u"&lt;!--"},
    {u"]]>", u"]]>"},
};

constexpr const char16_t* kPlainAttributes[] = {u" a=", u" xmlnsa=", u" a:xmlns=", u"\txml="};
constexpr const char16_t* kDeclarations[] = {u" xmlns=", u"\nxmlns:p=", u" xmlns:long.er =", u" xmlns= "};
constexpr const char16_t* kNoTags[][2] = {{u"<!--", u"-->"}, {u"<![CDATA[", u"]]>"}, {u"<?p ", u"?>"}};

// What a parser wrote, and what it has to become.
struct Document {
    std::u16string written;
    std::u16string expected;

    void Both(std::u16string_view text)
    {
        written += text;
        expected += text;
    }

    void Attribute(fuzz::Input& input, const char16_t* nameAndSign, bool isDeclaration)
    {
        const std::uint8_t how = input.Byte();
        const std::u16string mark(1, how % 2 == 0 ? u'"' : u'\'');
        Both(nameAndSign + mark);
        for (int pieces = how / 2 % 4; pieces > 0; --pieces) {
            const Piece& piece = kPieces[input.Byte() % std::size(kPieces)];
            written += piece.written;
            expected += isDeclaration ? piece.escaped : piece.written;
        }
        Both(how % 4 < 2 ? mark : u"'\""[how % 2] + mark); // the other mark, too, is part of a value
    }

    void Tag(fuzz::Input& input)
    {
        Both(u"<e");
        for (int attributes = input.Byte() % 4; attributes > 0; --attributes) {
            const std::uint8_t which = input.Byte();
            const bool isDeclaration = which % 2 == 0;
            const auto& names = isDeclaration ? kDeclarations : kPlainAttributes;
            Attribute(input, names[which / 2 % std::size(names)], isDeclaration);
        }
        Both(u">");
    }

    // Looks like a declaration, and is none.
    void NoTag(fuzz::Input& input)
    {
        const auto& [begin, end] = kNoTags[input.Byte() % std::size(kNoTags)];
        Both(begin);
        Both(u"<e xmlns=\"<&\"");
        Both(end);
    }
};

void CheckDocument(fuzz::Input input)
{
    Document document;
    while (!input.IsEmpty()) {
        if (input.Byte() % 4 == 0)
            document.NoTag(input);
        else
            document.Tag(input);
        document.Both(u"text xmlns=' ");
    }
    std::u16string escaped = u"as it was";
    const bool done = kx::EscapeNamespaces(std::u16string_view(document.written), escaped);
    Require(done == (document.written != document.expected), "whether there is something to do");
    Require(escaped == (done ? document.expected : u"as it was"), "another document");
}

void CheckAnyText(const std::u16string& text)
{
    std::u16string escaped;
    if (!kx::EscapeNamespaces(std::u16string_view(text), escaped))
        return;
    std::u16string again;
    Require(!kx::EscapeNamespaces(std::u16string_view(escaped), again), "a second pass finds more");
    std::size_t at = 0;
    const auto takes = [&](std::u16string_view wanted) {
        const bool is = escaped.compare(at, wanted.size(), wanted) == 0;
        at += is ? wanted.size() : 0;
        return is;
    };
    for (const char16_t unit : text)
        Require((unit == u'&' && takes(u"&amp;")) || (unit == u'<' && takes(u"&lt;")) || takes({&unit, 1}),
                "something else has changed");
    Require(at == escaped.size(), "something was added");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    CheckDocument(fuzz::Input(data, size));
    CheckAnyText(u"<e xmlns=\"" + fuzz::TextOf<char16_t>(data, size) + u"<\">");
    return 0;
}
