/// \file xmlprovider.h
/// Reads values out of the XML resources that a device serves.
#pragma once

#include <windows.h>

#include <string>

#include "disposable.h"
#include "export.h"

struct IXMLDOMDocument;

namespace Corvix {

/// Fetches XML resources of one device over HTTP and selects values in them. Keeps the documents it fetched.
/// Used by one thread, the one that created it: it holds DOM objects of that thread's COM apartment.
class CORVIXDM_API IXMLProvider : public virtual IDisposable {
public:
    virtual ~IXMLProvider();

    /// The kind of provider, which is also the TCP port that it asks: 80 PLSXML, 3910 WS, 8080 Pavo.
    virtual unsigned GetKind() const = 0;

    /// Reads the text of the first node that an XPath selects in a resource.
    /// \param text receives the text with its terminating zero when it has room; may be null.
    /// \param textChars the room in `text` in characters, the zero included.
    /// \param neededChars receives the text's length + 1; 0 when no node was selected. May be null.
    /// \param useCache whether a document fetched before may answer.
    /// \param lifespan how old such a document may be, in tenths of a second; 0 takes one of any age.
    /// \return S_OK; S_FALSE when the XPath selects nothing (`text` untouched); E_OUTOFMEMORY when `text` is
    ///     too small; another failure when the resource cannot be fetched or parsed (outputs untouched).
    virtual HRESULT GetValue(const wchar_t* uri, const wchar_t* xpath, wchar_t* text, unsigned textChars,
                             unsigned* neededChars, bool useCache, unsigned lifespan) = 0;

    /// Fetches a resource's body. \return S_OK only for status 200; `body` is left as it was on failure.
    virtual HRESULT GetContent(const wchar_t* uri, std::string& body) = 0;

    /// Fetches and parses a resource. \param document receives one reference; untouched on failure.
    virtual HRESULT GetDOM(const wchar_t* uri, IXMLDOMDocument** document, bool useCache,
                           unsigned lifespan) = 0;
};

}  // namespace Corvix
