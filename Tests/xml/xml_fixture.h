// What the tests of the XML layer share.
#pragma once

#include "Common_CPP/trace/trace_control.h"
#include "Common_CPP/util/utf8.h"
#include "Common_CPP/util/util.h"
#include "Common_CPP/xml/xml.h"
#include "Tests/support/patched_slot.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

/// COM, a folder of the test's own, and the trace lines since they were last asked for.
class XmlTest : public ::testing::Test {
  protected:
    void SetUp() override
    {
        wchar_t temporary[MAX_PATH] = {};
        ASSERT_NE(::GetTempPathW(MAX_PATH, temporary), 0U);
        folder.Format(L"%skx_xml_test_%lu", temporary, ::GetCurrentProcessId());
        ::CreateDirectoryW(folder, nullptr);
        ASSERT_TRUE(kx::WideToUtf8(kx::View(Path(L"trace.log")), _m_trace));
        ASSERT_TRUE(D_ToFile(_m_trace));
        (void)Traced();
    }

    CString Path(const wchar_t* name) const { return folder + L"\\" + name; }

    /// What was traced since the last call.
    std::string Traced()
    {
        std::ifstream file(_m_trace, std::ios::binary);
        file.seekg(_m_traceRead);
        std::string lines{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        _m_traceRead += static_cast<std::streamoff>(lines.size());
        return lines;
    }

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
        std::wstring dense;
        for (const wchar_t character : std::wstring(xml.GetString()))
            if (character != L'\r' && character != L'\n' && character != L'\t')
                dense += character;
        return dense;
    }

    CString folder;

  private:
    /// Before all else and to the end: members of the tests are documents.
    struct Com {
        Com() { EXPECT_TRUE(SUCCEEDED(::CoInitializeEx(nullptr, COINIT_MULTITHREADED))); }

        ~Com() { ::CoUninitialize(); }
    };

    Com _m_com;
    std::string _m_trace;
    std::streamoff _m_traceRead = 0;
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

/// While it lives, a method of all objects of this object's class fails. One at a time.
class FailingMethod {
  public:
    FailingMethod(IUnknown* object, std::size_t slot, HRESULT failure = E_FAIL)
        : _m_patch(object, slot, reinterpret_cast<void*>(&_Fail))
    {
        _s_failure = failure;
    }

  private:
    static HRESULT WINAPI _Fail() { return _s_failure; }

    static inline HRESULT _s_failure = E_FAIL;

    PatchedSlot _m_patch;
};
