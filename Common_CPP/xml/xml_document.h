#pragma once

#include "Common_CPP/xml/xml_node.h"
#include "Common_CPP/xml/xml_parse_error.h"

/// The class object of the parser's documents, kept where many files are loaded: a document from it costs
/// no registry search. Obtain it before impersonating, so that the user's identity plays no part in which
/// parser is loaded.
class CkxXMLDocumentFactory {
  public:
    /// Traces a failure; documents made from this factory are then empty.
    CkxXMLDocumentFactory();

    [[nodiscard]] IClassFactory* Get() const { return _m_factory; }

  private:
    CComPtr<IClassFactory> _m_factory;
};

/// A whole XML document of MSXML 3, free-threaded: its nodes may move into another document. The parser
/// works synchronously, validates nothing and fetches nothing; a document that declares a type (a DTD) is
/// refused, so that neither an outside file nor an entity bomb reaches the service. So is one that is nested
/// more than 256 deep, where the parser can be told.
class CkxXMLDocument : public CkxXMLNode {
  public:
    /// Creates the parser's object. A failure is traced; the document then stays empty and everything fails.
    CkxXMLDocument();
    explicit CkxXMLDocument(const CkxXMLDocumentFactory& factory);

    /// Parses `text`. The reason of a failure is in LoadError(), and no document is left, here and below.
    [[nodiscard]] bool Load(const CString& text);

    /// Parses the file at `path`, read with the identity that the calling thread has. When it could not be
    /// read, `*readError` is the Windows error; otherwise 0. 2 and 3 mean that there is no such file.
    /// `*written` gets the time of the file's last write, where that is to be had.
    [[nodiscard]] bool LoadFromFile(const CString& path, DWORD* readError = nullptr,
                                    FILETIME* written = nullptr);

    /// To be called before loading a file that holds a secret: its bytes are then overwritten when the
    /// parser has read them. What the parser keeps is beyond reach.
    void HoldsSecret() { _m_holdsSecret = true; }

    /// Why the last load failed.
    [[nodiscard]] const CkxXMLParseError& LoadError() const { return _m_loadError; }

    /// Writes the document to the file at `path`, in the encoding that it declares, UTF-8 otherwise.
    [[nodiscard]] bool SaveToFile(const CString& path) const;
    /// The whole document as text, in time linear in its size where nothing stands beside the root element.
    [[nodiscard]] bool SaveToString(CString& xml) const;
    /// The same without a copy, which counts where a document has a hundred megabytes.
    [[nodiscard]] bool SaveToString(CComBSTR& xml) const;

    /// An element of this document that stands nowhere yet.
    [[nodiscard]] bool CreateElement(const wchar_t* name, CkxXMLNode& element) const;
    /// Makes `node`, which must be an element, the document element.
    [[nodiscard]] bool SetRootElement(const CkxXMLNode& node) const;
    [[nodiscard]] bool GetRootElement(CkxXMLNode& root) const;

    /// True when there is no document element.
    [[nodiscard]] bool IsEmpty() const;

    /// Replaces every UTF-16 unit of `text` that is no XML 1.0 character by itself, both halves of a pair
    /// included, up to the first NUL.
    static void ReplaceInvalidCharacters(CString& text, wchar_t replacement);

    /// Masks the content of every element called `tag` in XML text, as kx::ObfuscateTagText (xml_text.h)
    /// does, and returns how many. An opening tag that is never closed is traced.
    static int ObfuscateTagText(CString& xml, const wchar_t* tag);

  private:
    void _Attach(HRESULT created);
    void _Harden() const;
    [[nodiscard]] bool _Refuse(const wchar_t* reason);
    void _Clear() const;
    [[nodiscard]] bool _Accept(HRESULT hr, VARIANT_BOOL parsed);

    CComPtr<IXMLDOMDocument> _m_document;
    CkxXMLParseError _m_loadError;
    bool _m_holdsSecret = false;
};
