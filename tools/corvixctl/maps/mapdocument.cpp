#include "maps/mapdocument.h"

#include "base/files.h"
#include "base/systemtext.h"
#include "corvixdm/documentfault.h"
#include "maps/mapitems.h"

namespace CorvixCtl {
namespace {

using KyUtils::Bstr;
using KyUtils::ComPtr;

constexpr CLSID domDocumentClass = {
    0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};

// The DOM says of an empty file only that it has no root.
std::string ReadMapFile(const std::wstring& path) {
    std::string bytes = ReadFileBytes(path, ExitCode::BadMap, L"map");
    if (bytes.empty())
        throw BadMap(path, L"the file is empty; a map is an XML document with the root DataMaps");
    return bytes;
}

// The DOM of some systems gives neither line nor reason, so both come from another reader of the same bytes.
Failure NotXml(const std::wstring& path, const std::string& bytes) {
    Corvix::DocumentFault fault = {};
    if (FindDocumentFault(bytes.data(), static_cast<unsigned long>(bytes.size()), &fault) != S_OK)
        return BadMap(path, L"not well-formed XML");
    return BadMap(path, L"not well-formed XML at line " + std::to_wstring(fault.line) + L", column " +
                            std::to_wstring(fault.column) + L": " + fault.reason);
}

ComPtr<IXMLDOMDocument> ParseMap(const std::wstring& path, const std::string& bytes) {
    ComPtr<IXMLDOMDocument> document;
    const HRESULT created =
        CoCreateInstance(domDocumentClass, nullptr, CLSCTX_INPROC_SERVER, IID_IXMLDOMDocument, &document);
    if (FAILED(created))
        throw BadMap(path, L"the system's XML parser cannot be started: " +
                               SystemText(static_cast<unsigned long>(created)));
    const ComPtr<IStream> stream = KyUtils::StreamOver(bytes);
    VARIANT source = {};
    source.vt = VT_UNKNOWN;
    source.punkVal = stream.Get();
    VARIANT_BOOL loaded = VARIANT_FALSE;
    // Otherwise load() returns before it knows.
    document->put_async(VARIANT_FALSE);
    if (!stream || FAILED(document->load(source, &loaded)) || loaded != VARIANT_TRUE)
        throw NotXml(path, bytes);
    return document;
}

ComPtr<IXMLDOMNode> SelectDataMaps(const std::wstring& path, IXMLDOMDocument& document) {
    ComPtr<IXMLDOMNode> root;
    document.selectSingleNode(Bstr(L"DataMaps").Get(), &root);
    if (root) return root;
    ComPtr<IXMLDOMElement> element;
    Bstr name;
    if (document.get_documentElement(&element) == S_OK) element->get_nodeName(name.Receive());
    throw BadMap(path, L"the root element is " + std::wstring(name.View()) + L", not DataMaps");
}

// The map asks for one path for all printers; the user may have a printer with another.
void SetPrinterPath(IXMLDOMNode& root, const std::wstring& printerPath) {
    ComPtr<IXMLDOMNodeList> found;
    root.selectNodes(Bstr(L"IPPDataMap/" + std::wstring(parametersItem)).Get(), &found);
    const auto path = KyUtils::Variant::FromText(printerPath);
    ComPtr<IXMLDOMNode> node;
    while (found && found->nextNode(&node) == S_OK) {
        ComPtr<IXMLDOMElement> element;
        if (SUCCEEDED(node->QueryInterface(IID_IXMLDOMElement, &element)))
            element->setAttribute(Bstr(L"ResourceURI").Get(), path.Get());
    }
}

}  // namespace

Failure BadMap(const std::wstring& path, const std::wstring& reason) {
    return Failure(ExitCode::BadMap, L"map " + path + L": " + reason);
}

KyUtils::ComPtr<IXMLDOMNode> LoadDataMaps(const std::wstring& path, const std::wstring& printerPath) {
    const auto document = ParseMap(path, ReadMapFile(path));
    auto root = SelectDataMaps(path, *document.Get());
    if (!printerPath.empty()) SetPrinterPath(*root.Get(), printerPath);
    return root;
}

std::wstring XmlOf(IXMLDOMNode& node) {
    KyUtils::Bstr xml;
    node.get_xml(xml.Receive());
    return std::wstring(xml.View());
}

}  // namespace CorvixCtl
