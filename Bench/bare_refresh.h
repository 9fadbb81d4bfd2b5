// A refresh reduced to the calls that no program can do without, those of the parser and those of the agent's
// protocol: no trace, no wrappers, no impersonation, no question about the user. What the extension is
// measured against, in two ways.
#pragma once

#include "Agent/engine/kx_gpext/policy_files.h"
#include "Common_CPP/atl/kx_atl.h"
#include "Common_CPP/xml/xml_interfaces.h"
#include "Tools/host/engine_lists.h"

#include <span>
#include <string>
#include <utility>

/// What a refresh looks up once about its user; handed to the bare ways, which do not ask.
struct CkxBareUser {
    std::wstring sid;
    std::wstring name;
};

/// The steps that both ways share, with the cheapest calls for each. One object makes one refresh: what it
/// keeps is not there before, just as the engine's thread brings nothing along. REQUIRES: COM.
class CkxBareRefresh {
  public:
    explicit CkxBareRefresh(CkxBareUser user) : _m_user(std::move(user)) {}

    virtual ~CkxBareRefresh() = default;
    CkxBareRefresh(const CkxBareRefresh&) = delete;
    CkxBareRefresh& operator=(const CkxBareRefresh&) = delete;

    /// Makes the document of a machine refresh, and sends it to the agent. False where any call failed.
    [[nodiscard]] bool Run(std::span<const CkxListedGpo> gpos);

  protected:
    using Document = CComPtr<IXMLDOMDocument>;

    // These throw CAtlException.
    virtual Document _NewDocument() = 0;
    /// Null for a file that is not there.
    virtual Document _LoadFile(const std::wstring& path) = 0;
    virtual void _TakeText(IXMLDOMDocument* document, CComBSTR& text) = 0;

    /// After each policy that went into the document, with its global order.
    virtual void _Merged(IXMLDOMNode* /*policy*/, int /*order*/) {}

  private:
    void _Make(std::span<const CkxListedGpo> gpos, CComBSTR& text);
    void _SetRootAttributes(IXMLDOMElement* root) const;
    void _AddGpo(IXMLDOMDocument* update, IXMLDOMNode* parent, const CkxListedGpo& gpo, int precedence,
                 int count);
    [[nodiscard]] CComPtr<IXMLDOMElement> _LoadRoot(const CkxListedGpo& gpo, kx::PolicyFile file);
    void _MovePolicies(IXMLDOMElement* from, IXMLDOMNode* to, int precedence, int count);
    [[nodiscard]] int _SetOrder(IXMLDOMNode* policy, int precedence, int count) const;

    CkxBareUser _m_user;
    const CComBSTR _m_order{L"order"};
};

/// The plain way: each document made anew, the parser opens the file, the document gives the text.
class CkxPlainRefresh : public CkxBareRefresh {
  public:
    using CkxBareRefresh::CkxBareRefresh;

  protected:
    Document _NewDocument() override;
    Document _LoadFile(const std::wstring& path) override;
    void _TakeText(IXMLDOMDocument* document, CComBSTR& text) override;
};

/// The fastest way known: the parser's class factory is kept for all documents of the refresh, the parser
/// gets the file's bytes, and the document's element gives the text.
class CkxFastestRefresh : public CkxBareRefresh {
  public:
    using CkxBareRefresh::CkxBareRefresh;

  protected:
    Document _NewDocument() override;
    Document _LoadFile(const std::wstring& path) override;
    void _TakeText(IXMLDOMDocument* document, CComBSTR& text) override;

  private:
    CComPtr<IClassFactory> _m_factory;
};
