/// XML that a device sent: what is taken in, and what is refused.
#pragma once

#include <string>
#include <string_view>

#include "datamodel/dom/dom.h"

namespace Corvix {

/// The body as text without its XML declaration and byte order mark, decoded as the declaration says (UTF-8,
/// ISO 8859-1 and relatives), else as UTF-8, else as ISO 8859-1.
std::wstring DecodeXml(std::string_view body);

/// Parses a device's document. One that is malformed, carries a document type declaration or nests too deep
/// is refused; the log says where. \return S_OK with `document` set, or a failure that leaves it as it was.
HRESULT ParseDeviceXml(std::string_view body, ComPtr<IXMLDOMDocument>& document);

}  // namespace Corvix
