// What the tests of the XML layer share.
#pragma once

#include "Common_CPP/xml/xml.h"
#include "Tests/support/com_scope.h"
#include "Tests/support/hook.h"
#include "Tests/support/patched_slot.h"
#include "Tests/support/recorded_trace.h"
#include "Tests/support/temp_folder.h"

#include <gtest/gtest.h>

#include <string>

/// COM, a folder of the test's own, and the trace lines since they were last asked for.
class XmlTest : public ::testing::Test {
  protected:
    CString Path(const wchar_t* name) const { return (folder / name).c_str(); }

    /// What was traced since the last call.
    std::string Traced() { return _m_trace.Take(); }

    /// Whether exactly one line was traced, and it holds `text`.
    ::testing::AssertionResult TracedOnly(const std::string& text)
    {
        const std::string lines = Traced();
        const bool single = !lines.empty() && lines.find('\n') == lines.size() - 1;
        if (single && lines.find(text) != std::string::npos)
            return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << "traced [" << lines << "] instead of [" << text << "]";
    }

    static CkxXMLNode RootOf(const CkxXMLDocument& document)
    {
        CkxXMLNode root;
        EXPECT_TRUE(document.GetRootElement(root));
        return root;
    }

    static CkxXMLNode Child(const CkxXMLNode& node, const wchar_t* name)
    {
        CkxXMLNode child;
        EXPECT_TRUE(node.GetFirstChild(name, child));
        return child;
    }

    static std::wstring Text(const CkxXMLNode& node)
    {
        CString text(L"?");
        EXPECT_TRUE(node.GetText(text));
        return text.GetString();
    }

    /// The XML without the white space that parsers put between elements.
    static std::wstring Dense(const CkxXMLNode& node)
    {
        CString xml;
        EXPECT_TRUE(node.GetXml(xml));
        std::wstring dense = xml.GetString();
        std::erase_if(dense, [](wchar_t character) {
            return character == L'\r' || character == L'\n' || character == L'\t';
        });
        return dense;
    }

    TempFolder folder;

  private:
    ComScope _m_com; // before what the tests have of their own, and to the end
    RecordedTrace _m_trace;
};

/// One document, for the tests of nodes.
class XmlNodeTest : public XmlTest {
  protected:
    CkxXMLNode Parse(const wchar_t* text)
    {
        EXPECT_TRUE(document.Load(text));
        return RootOf(document);
    }

    CkxXMLDocument document;
};

/// While it lives, a method of all objects of this object's class fails.
template <HRESULT Failure = E_FAIL>
class FailingMethod : public PatchedSlot {
  public:
    FailingMethod(IUnknown* object, std::size_t slot)
        : PatchedSlot(object, slot, reinterpret_cast<void*>(&Fail<Failure, ERROR_SUCCESS>))
    {
    }
};
