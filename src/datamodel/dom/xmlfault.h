/// Where and why a text is not well-formed XML.
#pragma once

#include <windows.h>

#include <string_view>

namespace Corvix {

/// The deepest nesting of elements that is taken from a device.
constexpr unsigned maximumXmlDepth = 256;

/// Whose document it is. A device's may neither declare a document type nor nest deeper than maximumXmlDepth; a
/// caller's may.
enum class XmlOrigin { Caller, Device };

/// A position in a document, both counted from 1; 0 when it is not known.
struct XmlPlace {
    unsigned line = 0;
    unsigned column = 0;
};

/// Reads a document to its end with the system's streaming reader, which unlike the DOMs of some systems tells where
/// it stopped and really refuses what it is told to refuse.
/// \param place receives where the reader ended.
/// \return S_OK, or the first fault as a result of the reader; E_NOTIMPL when the system has no such reader.
HRESULT InspectXml(std::string_view document, XmlOrigin origin, XmlPlace& place);

/// What a result of InspectXml() says about the document; null when it says nothing about it.
const wchar_t* XmlReason(HRESULT result);

}  // namespace Corvix
