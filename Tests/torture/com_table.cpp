// The methods that the module calls, by interface. The headers give the layout of the objects' tables to C
// programs only, hence the switch on the next line; it concerns this file alone.
#define CINTERFACE

#include "Common_CPP/xml/xml_interfaces.h"
#include "Tests/torture/com_stand_in.h"

#include <wbemcli.h>
#include <wbemdisp.h>

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace com {
namespace {

using DomFails = Failure<E_FAIL, E_OUTOFMEMORY>;
using QueryFails = Failure<E_NOINTERFACE, E_OUTOFMEMORY>;
using WmiFails =
    Failure<static_cast<HRESULT>(WBEM_E_TRANSPORT_FAILURE), static_cast<HRESULT>(WBEM_E_OUT_OF_MEMORY)>;

HRESULT WINAPI QueryInterface(IUnknown* object, REFIID id, void** found)
{
    const bool isOurs = IsInPatchedModule(KX_CALLER);
    if (isOurs && TakeFault("IUnknown::QueryInterface")) {
        Empty(found);
        return QueryFails::Of(ArmedRun());
    }
    const HRESULT result =
        reinterpret_cast<decltype(&QueryInterface)>(Original(object, 0))(object, id, found);
    if (isOurs && SUCCEEDED(result))
        HandedOut(*found, id, "IUnknown::QueryInterface");
    return result;
}

HRESULT WINAPI CreateInstance(IClassFactory* factory, IUnknown* outer, REFIID id, void** made)
{
    const bool isOurs = IsInPatchedModule(KX_CALLER);
    if (isOurs && TakeFault("IClassFactory::CreateInstance")) {
        Empty(made);
        return DomFails::Of(ArmedRun());
    }
    const HRESULT result =
        reinterpret_cast<decltype(&CreateInstance)>(Original(factory, 3))(factory, outer, id, made);
    if (isOurs && SUCCEEDED(result))
        HandedOut(*made, id, "IClassFactory::CreateInstance");
    return result;
}

ULONG WINAPI AddRef(IUnknown* object)
{
    if (IsInPatchedModule(KX_CALLER))
        watch::Opened(watch::Kind::Reference, object, "IUnknown::AddRef");
    return reinterpret_cast<decltype(&AddRef)>(Original(object, 1))(object);
}

ULONG WINAPI Release(IUnknown* object)
{
    const auto onward = reinterpret_cast<decltype(&Release)>(Original(object, 2));
    if (IsInPatchedModule(KX_CALLER))
        watch::Closed(watch::Kind::Reference, object);
    return onward(object);
}

#define KX_SLOT(face, method) (offsetof(face##Vtbl, method) / sizeof(void*))
#define KX_METHOD(face, method, fails, use)                                                                  \
    MakeRow<#face "::" #method, KX_SLOT(face, method), fails, use, decltype(face##Vtbl::method)>()
#define KX_DOM(face, method) KX_METHOD(face, method, DomFails, Arguments::MayBeFilled)
#define KX_WMI(face, method) KX_METHOD(face, method, WmiFails, Arguments::MayBeFilled)
#define KX_WMI_READS(face, method) KX_METHOD(face, method, WmiFails, Arguments::AreRead)

const Row kUnknownRows[] = {{"IUnknown::QueryInterface", 0, reinterpret_cast<void*>(&QueryInterface)},
                            {"IUnknown::AddRef", 1, reinterpret_cast<void*>(&AddRef)},
                            {"IUnknown::Release", 2, reinterpret_cast<void*>(&Release)}};

const Row kFactoryRows[] = {{"IClassFactory::CreateInstance", 3, reinterpret_cast<void*>(&CreateInstance)}};

const Row kNodeRows[] = {
    KX_DOM(IXMLDOMNode, appendChild),     KX_DOM(IXMLDOMNode, get_firstChild),
    KX_DOM(IXMLDOMNode, get_nextSibling), KX_DOM(IXMLDOMNode, get_nodeName),
    KX_DOM(IXMLDOMNode, get_nodeType),    KX_DOM(IXMLDOMNode, get_ownerDocument),
    KX_DOM(IXMLDOMNode, get_parentNode),  KX_DOM(IXMLDOMNode, get_previousSibling),
    KX_DOM(IXMLDOMNode, get_text),        KX_DOM(IXMLDOMNode, get_xml),
    KX_DOM(IXMLDOMNode, hasChildNodes),   KX_DOM(IXMLDOMNode, put_nodeValue),
    KX_DOM(IXMLDOMNode, removeChild),     KX_DOM(IXMLDOMNode, replaceChild),
    KX_DOM(IXMLDOMNode, selectNodes),     KX_DOM(IXMLDOMNode, selectSingleNode),
};

const Row kDocumentRows[] = {
    KX_DOM(IXMLDOMDocument, createCDATASection),
    KX_DOM(IXMLDOMDocument, createElement),
    KX_DOM(IXMLDOMDocument, createTextNode),
    KX_DOM(IXMLDOMDocument, get_doctype),
    KX_DOM(IXMLDOMDocument, get_documentElement),
    KX_DOM(IXMLDOMDocument, get_parseError),
    KX_DOM(IXMLDOMDocument, load),
    KX_DOM(IXMLDOMDocument, loadXML),
    KX_DOM(IXMLDOMDocument, put_async),
    KX_DOM(IXMLDOMDocument, put_resolveExternals),
    KX_DOM(IXMLDOMDocument, put_validateOnParse),
    KX_DOM(IXMLDOMDocument, putref_documentElement),
    KX_DOM(IXMLDOMDocument, save),
};

const Row kDocument2Rows[] = {KX_DOM(IXMLDOMDocument2, setProperty)};

const Row kElementRows[] = {KX_DOM(IXMLDOMElement, getAttribute), KX_DOM(IXMLDOMElement, getAttributeNode),
                            KX_DOM(IXMLDOMElement, removeAttribute), KX_DOM(IXMLDOMElement, setAttribute)};

const Row kNodeListRows[] = {KX_DOM(IXMLDOMNodeList, nextNode)};

const Row kParseErrorRows[] = {KX_DOM(IXMLDOMParseError, get_line), KX_DOM(IXMLDOMParseError, get_linepos),
                               KX_DOM(IXMLDOMParseError, get_reason)};

const Row kServicesRows[] = {KX_WMI(IWbemServices, DeleteClass), KX_WMI(IWbemServices, GetObject),
                             KX_WMI(IWbemServices, PutClass), KX_WMI(IWbemServices, PutInstance)};

const Row kClassObjectRows[] = {
    KX_WMI(IWbemClassObject, Get),
    KX_WMI(IWbemClassObject, GetPropertyQualifierSet),
    KX_WMI(IWbemClassObject, InheritsFrom),
    KX_WMI_READS(IWbemClassObject, Put),
    KX_WMI(IWbemClassObject, SpawnDerivedClass),
    KX_WMI(IWbemClassObject, SpawnInstance),
};

const Row kQualifierRows[] = {KX_WMI(IWbemQualifierSet, Get), KX_WMI_READS(IWbemQualifierSet, Put)};

const Row kDateTimeRows[] = {KX_WMI(ISWbemDateTime, SetFileTime), KX_WMI(ISWbemDateTime, get_Value)};

template <class Table>
constexpr std::size_t kSlots = sizeof(Table) / sizeof(void*);

constexpr const IID* kNotAskedFor = nullptr;

const Interface kUnknown = {"IUnknown", &IID_IUnknown, nullptr, kUnknownRows, 3};
const Interface kFactory = {"IClassFactory", &IID_IClassFactory, &kUnknown, kFactoryRows,
                            kSlots<IClassFactoryVtbl>};
const Interface kNode = {"IXMLDOMNode", &__uuidof(IXMLDOMNode), &kUnknown, kNodeRows,
                         kSlots<IXMLDOMNodeVtbl>};
const Interface kDocument = {"IXMLDOMDocument", &__uuidof(IXMLDOMDocument), &kNode, kDocumentRows,
                             kSlots<IXMLDOMDocumentVtbl>};
const Interface kDocument2 = {"IXMLDOMDocument2", &__uuidof(IXMLDOMDocument2), &kDocument, kDocument2Rows,
                              kSlots<IXMLDOMDocument2Vtbl>};
const Interface kElement = {"IXMLDOMElement", &__uuidof(IXMLDOMElement), &kNode, kElementRows,
                            kSlots<IXMLDOMElementVtbl>};
const Interface kNodeList = {"IXMLDOMNodeList", kNotAskedFor, &kUnknown, kNodeListRows,
                             kSlots<IXMLDOMNodeListVtbl>};
const Interface kParseError = {"IXMLDOMParseError", kNotAskedFor, &kUnknown, kParseErrorRows,
                               kSlots<IXMLDOMParseErrorVtbl>};
const Interface kServices = {"IWbemServices", &IID_IWbemServices, &kUnknown, kServicesRows,
                             kSlots<IWbemServicesVtbl>};
const Interface kClassObject = {"IWbemClassObject", kNotAskedFor, &kUnknown, kClassObjectRows,
                                kSlots<IWbemClassObjectVtbl>};
const Interface kQualifiers = {"IWbemQualifierSet", kNotAskedFor, &kUnknown, kQualifierRows,
                               kSlots<IWbemQualifierSetVtbl>};
const Interface kDateTime = {"ISWbemDateTime", &IID_ISWbemDateTime, &kUnknown, kDateTimeRows,
                             kSlots<ISWbemDateTimeVtbl>};

const Interface* const kAskedFor[] = {&kUnknown,   &kFactory, &kNode,     &kDocument,
                                      &kDocument2, &kElement, &kServices, &kDateTime};

} // namespace

// The parser's other nodes are used as nodes only.
template <>
inline constexpr const Interface* kInterfaceOf<IXMLDOMNode> = &kNode;
template <>
inline constexpr const Interface* kInterfaceOf<IXMLDOMDocument> = &kDocument;
template <>
inline constexpr const Interface* kInterfaceOf<IXMLDOMElement> = &kElement;
template <>
inline constexpr const Interface* kInterfaceOf<IXMLDOMAttribute> = &kNode;
template <>
inline constexpr const Interface* kInterfaceOf<IXMLDOMText> = &kNode;
template <>
inline constexpr const Interface* kInterfaceOf<IXMLDOMCDATASection> = &kNode;
template <>
inline constexpr const Interface* kInterfaceOf<IXMLDOMDocumentType> = &kNode;
template <>
inline constexpr const Interface* kInterfaceOf<IXMLDOMNodeList> = &kNodeList;
template <>
inline constexpr const Interface* kInterfaceOf<IXMLDOMParseError> = &kParseError;
template <>
inline constexpr const Interface* kInterfaceOf<IWbemClassObject> = &kClassObject;
template <>
inline constexpr const Interface* kInterfaceOf<IWbemQualifierSet> = &kQualifiers;

const Interface* FindInterface(REFIID id) noexcept
{
    const auto found = std::find_if(std::begin(kAskedFor), std::end(kAskedFor),
                                    [&](const Interface* face) { return ::IsEqualGUID(*face->id, id); });
    return found == std::end(kAskedFor) ? nullptr : *found;
}

} // namespace com
