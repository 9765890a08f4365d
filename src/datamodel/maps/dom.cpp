#include "datamodel/maps/dom.h"

#include "utilslib/com.h"

namespace Corvix {
namespace {

constexpr CLSID domDocumentClass = {
    0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
constexpr IID domDocumentInterface = {
    0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

/// Makes a document and hands it over once `load` has filled it.
template <class Load>
HRESULT LoadDom(ComPtr<IXMLDOMDocument>& document, Load load) {
    ComPtr<IXMLDOMDocument> fresh;
    const HRESULT created = CreateDomDocument(fresh);
    if (FAILED(created)) return created;
    fresh->put_async(VARIANT_FALSE);  // or loading a file would return before it is read
    VARIANT_BOOL loaded = VARIANT_FALSE;
    const HRESULT result = load(fresh.Get(), &loaded);
    if (FAILED(result)) return result;
    if (result != S_OK || loaded != VARIANT_TRUE) return S_FALSE;
    document.Swap(fresh);
    return S_OK;
}

}  // namespace

HRESULT CreateDomDocument(ComPtr<IXMLDOMDocument>& document) {
    return CoCreateInstance(domDocumentClass, nullptr, CLSCTX_INPROC_SERVER, domDocumentInterface, &document);
}

HRESULT SelectNode(IXMLDOMNode* from, const wchar_t* xpath, ComPtr<IXMLDOMNode>& node) {
    const KyUtils::Bstr expression(xpath);
    return from->selectSingleNode(expression.Get(), &node);
}

HRESULT LoadDomFile(const wchar_t* path, ComPtr<IXMLDOMDocument>& document) {
    const KyUtils::Variant source = KyUtils::Variant::FromText(path);
    return LoadDom(document, [&source](IXMLDOMDocument* target, VARIANT_BOOL* loaded) {
        return target->load(source.Get(), loaded);
    });
}

HRESULT LoadDomText(std::wstring_view text, ComPtr<IXMLDOMDocument>& document) {
    const KyUtils::Bstr source(text);
    return LoadDom(document, [&source](IXMLDOMDocument* target, VARIANT_BOOL* loaded) {
        return target->loadXML(source.Get(), loaded);
    });
}

}  // namespace Corvix
