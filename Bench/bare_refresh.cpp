#include "Bench/bare_refresh.h"

#include "Agent/engine/kx_gpext/pipe_message.h"
#include "Agent/engine/kx_gpext/policy_order.h"
#include "Bench/bare_parser.h"
#include "Common_CPP/util/scope_exit.h"
#include "Common_CPP/util/unique_handle.h"

#include <cwchar>

using kx::bare::Must;

namespace {

constexpr const wchar_t* kMutexName = L"Global\\KxGpPipeInUseMutex";
constexpr const wchar_t* kEventName = L"Global\\KxGroupPolicyUpdate";
constexpr const wchar_t* kPipeName = L"\\\\.\\pipe\\KxGroupPolicyUpdate";

CComPtr<IXMLDOMElement> AddElement(IXMLDOMDocument* document, IXMLDOMNode* parent, const wchar_t* name)
{
    CComPtr<IXMLDOMElement> element;
    Must(document->createElement(CComBSTR(name), &element));
    Must(parent->appendChild(element, nullptr));
    return element;
}

void SetAttribute(IXMLDOMElement* element, const wchar_t* name, const std::wstring& value)
{
    Must(element->setAttribute(CComBSTR(name), CComVariant(value.c_str())));
}

// In the order of the agent's protocol: the sender's turn, a free instance, the announcement, two writes.
void Send(const CComBSTR& text)
{
    constexpr DWORD instanceTimeoutMs = 10000;
    const auto size = kx::PipePayloadSize(text.Length());
    const CkxHandle mutex(::CreateMutexW(nullptr, FALSE, kMutexName));
    const CkxHandle event(::OpenEventW(EVENT_MODIFY_STATE, FALSE, kEventName));
    Must(size && mutex && event);
    (void)::WaitForSingleObjectEx(mutex.Get(), INFINITE, FALSE);
    const kx::ScopeExit turn([&]() noexcept { ::ReleaseMutex(mutex.Get()); });
    Must(::WaitNamedPipeW(kPipeName, instanceTimeoutMs) != FALSE);
    const CkxFileHandle pipe(::CreateFileW(kPipeName, READ_CONTROL | FILE_WRITE_DATA, 0, nullptr,
                                           OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr));
    DWORD written = 0;
    Must(pipe && ::SetEvent(event.Get()) &&
         ::WriteFile(pipe.Get(), &*size, sizeof *size, &written, nullptr) &&
         ::WriteFile(pipe.Get(), text.m_str, *size, &written, nullptr));
}

} // namespace

bool CkxBareRefresh::Run(std::span<const CkxListedGpo> gpos)
{
    try {
        CComBSTR text;
        _Make(gpos, text);
        Send(text);
        return true;
    } catch (const CAtlException&) {
        return false;
    }
}

void CkxBareRefresh::_Make(std::span<const CkxListedGpo> gpos, CComBSTR& text)
{
    const Document update = _NewDocument();
    const CComPtr<IXMLDOMElement> root = AddElement(update, update, L"GPUpdate");
    const CComPtr<IXMLDOMElement> changed = AddElement(update, root, L"ChangedGPOs");
    (void)AddElement(update, root, L"DeletedGPOs");
    _SetRootAttributes(root);
    const int count = static_cast<int>(gpos.size());
    int precedence = 0;
    for (const CkxListedGpo& gpo : gpos)
        _AddGpo(update, changed, gpo, ++precedence, count);
    _TakeText(update, text);
}

void CkxBareRefresh::_SetRootAttributes(IXMLDOMElement* root) const
{
    SetAttribute(root, L"userScope", L"false");
    SetAttribute(root, L"forced", L"false");
    SetAttribute(root, L"version", L"2");
    SetAttribute(root, L"SID", _m_user.sid);
    SetAttribute(root, L"user", _m_user.name);
}

void CkxBareRefresh::_AddGpo(IXMLDOMDocument* update, IXMLDOMNode* parent, const CkxListedGpo& gpo,
                             int precedence, int count)
{
    const CComPtr<IXMLDOMElement> element = AddElement(update, parent, L"GPO");
    SetAttribute(element, L"name", gpo.name);
    SetAttribute(element, L"displayName", gpo.displayName);
    SetAttribute(element, L"precedence", std::to_wstring(precedence));
    if (_LoadRoot(gpo, kx::PolicyFile::Migration))
        AtlThrow(E_UNEXPECTED); // none of the measured GPOs has one
    const CComPtr<IXMLDOMElement> policiesRoot = _LoadRoot(gpo, kx::PolicyFile::Policies);
    const CComPtr<IXMLDOMElement> movedRoots[] = {
        _LoadRoot(gpo, kx::PolicyFile::ApplicationGroups), _LoadRoot(gpo, kx::PolicyFile::Tokens),
        _LoadRoot(gpo, kx::PolicyFile::RestrictionRules), _LoadRoot(gpo, kx::PolicyFile::Gui)};
    const CComPtr<IXMLDOMElement> policies = AddElement(update, element, L"Policies");
    SetAttribute(policies, L"version", L"5");
    _MovePolicies(policiesRoot, policies, precedence, count);
    for (const CComPtr<IXMLDOMElement>& root : movedRoots)
        if (root)
            Must(policies->appendChild(root, nullptr));
}

CComPtr<IXMLDOMElement> CkxBareRefresh::_LoadRoot(const CkxListedGpo& gpo, kx::PolicyFile file)
{
    CComPtr<IXMLDOMElement> root;
    const Document document = _LoadFile(kx::PolicyFilePath(gpo.folder, false, file));
    if (!document)
        return root;
    CComVariant version;
    Must(document->get_documentElement(&root));
    Must(root->getAttribute(CComBSTR(L"version"), &version));
    Must(version.vt == VT_BSTR && std::wcscmp(version.bstrVal, L"5") == 0);
    return root;
}

void CkxBareRefresh::_MovePolicies(IXMLDOMElement* from, IXMLDOMNode* to, int precedence, int count)
{
    kx::bare::ForEachChild(from, L"Policy", [&](IXMLDOMNode* policy) {
        const int order = _SetOrder(policy, precedence, count);
        Must(to->appendChild(policy, nullptr));
        _Merged(policy, order);
    });
}

int CkxBareRefresh::_SetOrder(IXMLDOMNode* policy, int precedence, int count) const
{
    const CComPtr<IXMLDOMElement> element = kx::bare::ElementOf(policy);
    const int own = kx::bare::NumberOf(element, _m_order);
    const int order =
        kx::GlobalOrder(own, static_cast<unsigned>(count), static_cast<unsigned>(precedence), true);
    kx::bare::SetNumber(element, _m_order, order);
    return order;
}

CkxBareRefresh::Document CkxPlainRefresh::_NewDocument()
{
    return kx::bare::NewDocument(nullptr);
}

CkxBareRefresh::Document CkxPlainRefresh::_LoadFile(const std::wstring& path)
{
    return kx::bare::LoadByName(path);
}

void CkxPlainRefresh::_TakeText(IXMLDOMDocument* document, CComBSTR& text)
{
    Must(document->get_xml(&text));
}

CkxBareRefresh::Document CkxFastestRefresh::_NewDocument()
{
    if (!_m_factory)
        _m_factory = kx::bare::ParserFactory();
    return kx::bare::NewDocument(_m_factory);
}

CkxBareRefresh::Document CkxFastestRefresh::_LoadFile(const std::wstring& path)
{
    return kx::bare::LoadByBytes(_m_factory, path);
}

void CkxFastestRefresh::_TakeText(IXMLDOMDocument* document, CComBSTR& text)
{
    CComPtr<IXMLDOMElement> root;
    Must(document->get_documentElement(&root));
    Must(root->get_xml(&text));
}
