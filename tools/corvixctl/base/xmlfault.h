// Where and why a text is not well-formed XML.
#pragma once

#include <windows.h>

#include <objidl.h>

#include <optional>
#include <string>

namespace CorvixCtl {

struct XmlFault {
    unsigned line;
    unsigned column;
    std::wstring reason;
};

// The first fault of a document, or nothing when the system's streaming reader finds none.
std::optional<XmlFault> FindXmlFault(IStream& document);

// What a result of the system's XML reader means; empty when it is none of those.
std::wstring XmlReason(HRESULT result);

}  // namespace CorvixCtl
