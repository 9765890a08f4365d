/// The XML DOM as the library uses it.
#pragma once

#include <windows.h>

#include <msxml2.h>

#include <optional>
#include <string>
#include <string_view>

#include "utilslib/com.h"

namespace Corvix {

using KyUtils::ComPtr;

/// A new, empty document. \return the result of making the object through COM.
HRESULT CreateDomDocument(ComPtr<IXMLDOMDocument>& document);

/// The first node that an XPath selects.
/// \return S_OK with `node` set; S_FALSE with `node` null when there is none; a failure for an expression that
///     cannot be read.
HRESULT SelectNode(IXMLDOMNode* from, const wchar_t* xpath, ComPtr<IXMLDOMNode>& node);

/// Reads a document from a file.
/// \return S_OK with `document` set; otherwise, with `document` as it was, what making or loading the
///     document returned, which is S_FALSE for a file that is missing or not well-formed.
HRESULT LoadDomFile(const wchar_t* path, ComPtr<IXMLDOMDocument>& document);
/// The same from the text of a document, whatever encoding it declares.
HRESULT LoadDomText(std::wstring_view text, ComPtr<IXMLDOMDocument>& document);

}  // namespace Corvix
