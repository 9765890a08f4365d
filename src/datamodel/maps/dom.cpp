#include "datamodel/maps/dom.h"

#include "utilslib/com.h"

namespace Corvix {
namespace {

constexpr CLSID domDocumentClass = {
    0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
constexpr IID domDocumentInterface = {
    0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

}  // namespace

HRESULT CreateDomDocument(ComPtr<IXMLDOMDocument>& document) {
    return CoCreateInstance(domDocumentClass, nullptr, CLSCTX_INPROC_SERVER, domDocumentInterface, &document);
}

HRESULT SelectNode(IXMLDOMNode* from, const wchar_t* xpath, ComPtr<IXMLDOMNode>& node) {
    const KyUtils::Bstr expression(xpath);
    return from->selectSingleNode(expression.Get(), &node);
}

}  // namespace Corvix
