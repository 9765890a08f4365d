/// The XML DOM as the library uses it.
#pragma once

#include <windows.h>

#include <msxml2.h>
#include <wrl/client.h>

#include <optional>
#include <string>

namespace Corvix {

using Microsoft::WRL::ComPtr;

/// A new, empty document. \return the result of making the object through COM.
HRESULT CreateDomDocument(ComPtr<IXMLDOMDocument>& document);

/// The first node that an XPath selects. \return S_OK with `node` set; S_FALSE with `node` null when there is
/// none.
HRESULT SelectNode(IXMLDOMNode* from, const wchar_t* xpath, ComPtr<IXMLDOMNode>& node);

}  // namespace Corvix
