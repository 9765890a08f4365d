// The file of a data map, read as XML.
#pragma once

#include <windows.h>

#include <msxml.h>

#include <string>

#include "base/exitcodes.h"
#include "utilslib/com.h"

namespace CorvixCtl {

// What is wrong with a map, by its path.
Failure BadMap(const std::wstring& path, const std::wstring& reason);

// The DataMaps element of the file. The printer's path, where it is given, takes the place of the one that an
// IPP map asks for. Throws Failure (BadMap) for a file that is not readable, not XML (with line and column), or has
// another root.
KyUtils::ComPtr<IXMLDOMNode> LoadDataMaps(const std::wstring& path, const std::wstring& printerPath);

// An element as text, without the XML declaration, whose encoding would be wrong in memory.
std::wstring XmlOf(IXMLDOMNode& node);

}  // namespace CorvixCtl
