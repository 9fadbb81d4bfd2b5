#include "Common_CPP/util/unique_handle.h"
#include "Tests/xml/xml_fixture.h"

#include <vector>

using namespace std::string_literals;

namespace {

class XmlDocumentTest : public XmlTest {
  protected:
    CString File(const wchar_t* name, const std::string& bytes) const
    {
        return CString(folder.Write(name, bytes).c_str());
    }

    static std::string Utf16(const std::wstring& text)
    {
        return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)};
    }

    static std::string Nested(int depth)
    {
        std::string text;
        for (int i = 0; i < depth; ++i)
            text = "<a>" + text + "</a>";
        return text;
    }

    CkxXMLDocument document;
};

} // namespace

TEST_F(XmlDocumentTest, FilesInEveryEncodingAndShape)
{
    const std::string umlaut = "<a>\xC3\xA4\xF0\x9F\x98\x80</a>";
    const std::wstring wide = L"<a>\xE4\xD83D\xDE00</a>";

    const wchar_t* const text = L"\xE4\xD83D\xDE00";

    const struct {
        const char* name;
        const wchar_t* text; ///< null: it is refused
        std::vector<std::string> files;
    } rows[] = {
        {"UTF-8", text, {umlaut, "\xEF\xBB\xBF" + umlaut, "<?xml version='1.0' encoding='utf-8'?>" + umlaut}},
        {"UTF-16",
         text,
         {Utf16(L"\xFEFF" + wide), Utf16(L"\xFEFF<?xml version='1.0' encoding='utf-16'?>" + wide)}},
        {"Latin 1", L"\xE4", {"<?xml version='1.0' encoding='iso-8859-1'?><a>\xE4</a>"}},
        {"unknown encoding", nullptr, {"<?xml version='1.0' encoding='nonsense'?><a>x</a>"}},
        {"not UTF-8", nullptr, {"<a>\xE4</a>"}},
        {"empty, only a mark", nullptr, {"", "\xEF\xBB\xBF"}},
        {"blanks before the declaration", nullptr, {" <?xml version='1.0'?><a/>"}},
        {"truncated", nullptr, {"<a><b", "<a><b></b>"}},
        {"not one root", nullptr, {"<a/><b/>", "MZ\x90\0\3"s}},
        {"NUL inside", nullptr, {"<a>\0</a>"s}},
        {"undeclared entity", nullptr, {"<a>&e;</a>"}},
        {"256 deep", L"", {Nested(250)}},
        {"far too deep", nullptr, {Nested(2000)}},
    };

    for (const auto& row : rows)
        for (const std::string& bytes : row.files) {
            SCOPED_TRACE(row.name);
            const bool loads = row.text != nullptr;
            ASSERT_TRUE(document.Load(L"<before/>"));
            DWORD error = 77;
            EXPECT_EQ(document.LoadFromFile(File(L"file.xml", bytes), &error), loads);
            EXPECT_EQ(error, 0U);
            EXPECT_EQ(document.IsEmpty(), !loads) << "what was there before is gone";
            EXPECT_EQ(document.LoadError().reason.IsEmpty(), loads);
            EXPECT_TRUE(!loads || Text(RootOf(document)) == row.text);
        }
}

TEST_F(XmlDocumentTest, DocumentTypesAreRefused)
{
    const CString outside = File(L"outside.txt", "SECRET");
    const std::wstring url(CString(L"file:///" + outside).GetString());
    const std::wstring texts[] = {
        L"<!DOCTYPE a><a/>",
        L"<!DOCTYPE a [<!ENTITY e 'x'>]><a>&e;</a>",
        L"<!DOCTYPE a SYSTEM '" + url + L"'><a/>",
        L"<!DOCTYPE a [<!ENTITY e SYSTEM '" + url + L"'>]><a>&e;</a>",
        L"<!DOCTYPE a [<!ENTITY % p SYSTEM '" + url + L"'> %p;]><a/>",
        L"<!DOCTYPE a [<!ENTITY b 'xxxxxxxxxx'><!ENTITY c '&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;'>"
        L"<!ENTITY d '&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;'><!ENTITY e '&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;'>"
        L"<!ENTITY f '&e;&e;&e;&e;&e;&e;&e;&e;&e;&e;'>]><a b='&f;'>&f;</a>",
    };
    for (const std::wstring& text : texts) {
        EXPECT_FALSE(document.Load(text.c_str())) << CString(text.c_str()).GetString();
        EXPECT_TRUE(document.IsEmpty());
        EXPECT_FALSE(document.LoadError().reason.IsEmpty());
        EXPECT_EQ(document.LoadError().Text().Find(L"SECRET"), -1);
        EXPECT_FALSE(document.LoadFromFile(File(L"file.xml", "\xFF\xFE" + Utf16(text))));
        EXPECT_TRUE(document.IsEmpty());
    }
    EXPECT_TRUE(document.Load(L"<a/>")) << "the document can be used again";
    EXPECT_TRUE(document.LoadError().reason.IsEmpty());
}

TEST_F(XmlDocumentTest, AParserThatCannotTellTheDocumentTypeIsNotTrusted)
{
    ASSERT_TRUE(document.Load(L"<a/>"));
    CComPtr<IXMLDOMDocument> parser;
    ASSERT_EQ(RootOf(document).Get()->get_ownerDocument(&parser), S_OK);
    constexpr std::size_t getDoctype = 43;
    {
        const FailingMethod<> failing(parser, getDoctype);
        EXPECT_FALSE(document.Load(L"<a/>"));
        EXPECT_FALSE(document.LoadError().reason.IsEmpty());
    }
    EXPECT_TRUE(document.Load(L"<a/>"));
}

TEST_F(XmlDocumentTest, AbsentAndUnreadableFilesAreToldApart)
{
    const CString open = File(L"open.xml", "<a/>");
    const CkxFileHandle exclusive(::CreateFileW(open, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(exclusive);

    const struct {
        const char* name;
        CString path;
        DWORD error;
    } rows[] = {
        {"no file", Path(L"none.xml"), ERROR_FILE_NOT_FOUND},
        {"no folder", Path(L"none\\none.xml"), ERROR_PATH_NOT_FOUND},
        {"a folder", folder.Path().c_str(), ERROR_ACCESS_DENIED},
        {"held open by somebody who shares nothing", open, ERROR_SHARING_VIOLATION},
        {"no path at all", L"", ERROR_PATH_NOT_FOUND},
    };

    for (const auto& row : rows) {
        DWORD error = 0;
        EXPECT_FALSE(document.LoadFromFile(row.path, &error)) << row.name;
        EXPECT_EQ(error, row.error) << row.name;
        EXPECT_NE(document.LoadError().Text().Find(L"cannot be read"), -1) << row.name;
    }
}

TEST_F(XmlDocumentTest, AnyPathCanBeRead)
{
    CString deep = folder.Path().c_str();
    while (deep.GetLength() < 300) {
        deep += L"\\" + CString(L'd', 60);
        ::CreateDirectoryW(L"\\\\?\\" + deep, nullptr);
    }
    const CString file = File(L"plain %41 &#x41; \x4E2D.xml", "<a/>");
    ASSERT_TRUE(::CopyFileW(file, L"\\\\?\\" + deep + L"\\f.xml", FALSE));
    CString slashes = deep + L"\\.\\x\\..\\f.xml";
    slashes.Replace(L'\\', L'/');
    for (const CString& path : {file, deep + L"\\f.xml", L"\\\\?\\" + deep + L"\\f.xml", slashes}) {
        EXPECT_TRUE(document.LoadFromFile(path)) << path.GetString();
        EXPECT_FALSE(document.IsEmpty());
    }
    const CkxFileHandle writer(::CreateFileW(file, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                             OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(writer);
    EXPECT_TRUE(document.LoadFromFile(file)) << "held open for writing";
}

TEST_F(XmlDocumentTest, WhatIsSavedIsLoadedAgain)
{
    const wchar_t* const texts[] = {L"<a b=\"&quot;&lt;&amp;\">\x4E2D\xD83D\xDE00<c><![CDATA[<]]></c></a>",
                                    L"<?xml version=\"1.0\"?><!--before--><a/><?after p?>", L"<a/>"};
    const CString path = Path(L"saved \x4E2D %41.xml");
    for (const wchar_t* const text : texts) {
        ASSERT_TRUE(document.Load(text));
        const std::wstring before = Dense(RootOf(document));
        CString saved;
        ASSERT_TRUE(document.SaveToString(saved) && document.SaveToFile(path));
        EXPECT_EQ(saved.Find(L"before") == -1, CString(text).Find(L"before") == -1) << "nothing gets lost";
        CkxXMLDocument again;
        ASSERT_TRUE(again.Load(saved));
        EXPECT_EQ(Dense(RootOf(again)), before);
        ASSERT_TRUE(again.LoadFromFile(path));
        EXPECT_EQ(Dense(RootOf(again)), before);
    }
    (void)Traced();
    EXPECT_FALSE(document.SaveToFile(Path(L"none\\saved.xml")));
    EXPECT_TRUE(TracedOnly("ERROR: save failed. hr=-2147"));
}

TEST_F(XmlDocumentTest, TheRootIsSetFromElementsOfAnyDocument)
{
    EXPECT_TRUE(document.IsEmpty());
    CkxXMLNode root;
    ASSERT_TRUE(document.CreateElement(L"r", root) && document.SetRootElement(root));
    EXPECT_FALSE(document.IsEmpty());
    CkxXMLDocument other;
    ASSERT_TRUE(other.Load(L"<o><p>t</p></o>"));
    const CkxXMLNode p = Child(RootOf(other), L"p");
    ASSERT_TRUE(document.SetRootElement(p));
    ASSERT_TRUE(other.SetRootElement(RootOf(other))) << "itself";
    EXPECT_EQ(Dense(RootOf(other)), L"<o/>");

    (void)Traced();
    CkxXMLNode text;
    ASSERT_TRUE(p.GetFirstChild(NODE_TEXT, text));
    for (const CkxXMLNode& wrong : {CkxXMLNode(), text, static_cast<const CkxXMLNode&>(other)}) {
        EXPECT_FALSE(document.SetRootElement(wrong));
        EXPECT_TRUE(TracedOnly("ERROR: Cannot get IXMLDOMElement"));
    }
    EXPECT_EQ(Dense(RootOf(document)), L"<p>t</p>");
}

TEST_F(XmlDocumentTest, LargeDocumentsLoadAndSaveInLinearTime)
{
    std::string text = "<r>";
    for (int i = 0; i < 50000; ++i)
        text += "<Policy name='n' order='7'><Targets/></Policy>";
    const CString path = File(L"large.xml", text + "</r>");
    const DWORD begin = ::GetTickCount();
    ASSERT_TRUE(document.LoadFromFile(path));
    CString saved;
    ASSERT_TRUE(document.SaveToString(saved));
    EXPECT_LT(::GetTickCount() - begin, 15000U);
    int count = 0;
    CkxXMLNode policy;
    for (bool more = RootOf(document).GetFirstChild(L"Policy", policy); more;
         more = policy.GetNextSibling(L"Policy", policy))
        ++count;
    EXPECT_EQ(count, 50000);
}

TEST_F(XmlDocumentTest, TextHelpersWorkInPlace)
{
    CString text(L"a\x0C\t\xD83D\xDE00");
    CkxXMLDocument::ReplaceInvalidCharacters(text, L'_');
    EXPECT_EQ(text, L"a_\t__");

    text = L"<r><p>1</p>x<p></p><pp>2</pp></r><p>3";
    EXPECT_EQ(CkxXMLDocument::ObfuscateTagText(text, L"p"), 2);
    EXPECT_EQ(text, L"<r><p>...</p>x<p>...</p><pp>2</pp></r><p>3");
    EXPECT_TRUE(TracedOnly("Incorrect XML when replacing tag p"));
    EXPECT_EQ(CkxXMLDocument::ObfuscateTagText(text, nullptr), 0);
    EXPECT_EQ(Traced(), "");
}
