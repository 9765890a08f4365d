#include "datamodel/dom/dom.h"

#include <string>
#include <string_view>

#include "datamodel/dom/xslpattern.h"
#include "utilslib/com.h"
#include "utilslib/logging.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

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

HRESULT SelectAsGiven(IXMLDOMNode* from, std::wstring_view xpath, ComPtr<IXMLDOMNode>& node) {
    const KyUtils::Bstr expression(xpath);
    return from->selectSingleNode(expression.Get(), &node);
}

/// Whether this system's DOM evaluates a predicate on ".". Wine's silently answers the document node instead.
bool SelectsDotWithPredicate() {
    ComPtr<IXMLDOMDocument> document;
    if (LoadDomText(L"<a><b>x</b></a>", document) != S_OK) return true;
    ComPtr<IXMLDOMNode> node;
    KyUtils::Bstr name;
    return SelectAsGiven(document.Get(), L"//.[b=\"x\"]", node) == S_OK &&
           node->get_nodeName(name.Receive()) == S_OK && name.View() == L"a";
}

/// Rewrites predicates on ".": "//*[...]" for "//.[...]", which differs for the document node only, and "a[...]"
/// for "a/.[...]".
std::wstring WithoutDotPredicates(std::wstring_view xpath) {
    std::wstring plain;
    wchar_t quote = L'\0';
    for (size_t i = 0; i < xpath.size(); ++i) {
        const wchar_t c = xpath[i];
        if (quote ? c == quote : c == L'"' || c == L'\'') quote = quote ? L'\0' : c;
        if (quote || i == 0 || xpath.substr(i, 3) != L"/.[") {
            plain += c;
        } else {
            if (xpath[i - 1] == L'/') plain += L"/*";
            ++i;
        }
    }
    return plain;
}

}  // namespace

HRESULT CreateDomDocument(ComPtr<IXMLDOMDocument>& document) {
    return CoCreateInstance(domDocumentClass, nullptr, CLSCTX_INPROC_SERVER, domDocumentInterface, &document);
}

HRESULT SelectNode(IXMLDOMNode* from, const wchar_t* xpath, ComPtr<IXMLDOMNode>& node) {
    const std::wstring_view expression(xpath);
    static const bool selectsDotWithPredicate = SelectsDotWithPredicate();
    if (selectsDotWithPredicate) return SelectAsGiven(from, expression, node);
    // Wine's parser crashes on some malformed expressions, so none reaches it unchecked.
    const std::optional<std::wstring> pattern = ToPlainXslPattern(expression);
    if (!pattern) {
        logSource.Error(L"The expression %ls selects nothing: it is no XSL pattern", xpath);
        return E_FAIL;
    }
    return SelectAsGiven(from, WithoutDotPredicates(*pattern), node);
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
