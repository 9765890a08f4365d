#include "datamodel/dom/devicexml.h"

#include <xmllite.h>

#include <algorithm>
#include <iterator>

#include "datamodel/dom/xmlfault.h"
#include "utilslib/logging.h"
#include "utilslib/stringutils.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";
constexpr UINT latin1 = 28591;

struct EncodingName {
    const wchar_t* name;
    UINT codePage;
};
constexpr EncodingName encodings[] = {
    {L"utf-8", CP_UTF8},     {L"us-ascii", CP_UTF8}, {L"iso-8859-1", latin1},
    {L"iso-8859-15", 28605}, {L"latin1", latin1},    {L"windows-1252", 1252},
    {L"windows-1251", 1251}, {L"shift_jis", 932},    {L"windows-31j", 932},
};

/// The declaration's text, up to and including "?>"; empty without one.
std::string_view XmlDeclaration(std::string_view body) {
    if (body.substr(0, 5) != "<?xml" || body.size() < 6 || !isspace(static_cast<unsigned char>(body[5])))
        return {};
    const size_t end = body.find("?>");
    return end == std::string_view::npos ? std::string_view() : body.substr(0, end + 2);
}

std::string_view DeclaredEncoding(std::string_view declaration) {
    const size_t key = declaration.find("encoding");
    const size_t open = key == std::string_view::npos ? key : declaration.find_first_of("'\"", key);
    if (open == std::string_view::npos) return {};
    const size_t close = declaration.find(declaration[open], open + 1);
    return close == std::string_view::npos ? std::string_view()
                                           : declaration.substr(open + 1, close - open - 1);
}

UINT CodePageOf(std::string_view encoding) {
    const std::wstring name = KyUtils::ToWide(encoding);
    const auto* found = std::find_if(
        std::begin(encodings), std::end(encodings),
        [&](const EncodingName& known) { return KyUtils::EqualsIgnoringCase(known.name, name); });
    return found == std::end(encodings) ? CP_UTF8 : found->codePage;
}

/// False when bytes do not fit the code page.
bool Decode(std::string_view bytes, UINT codePage, std::wstring& text) {
    if (bytes.empty()) return true;
    const int size = static_cast<int>(bytes.size());
    const DWORD flags = codePage == CP_UTF8 ? MB_ERR_INVALID_CHARS : 0;
    const int needed = MultiByteToWideChar(codePage, flags, bytes.data(), size, nullptr, 0);
    if (needed <= 0) return false;
    text.resize(static_cast<size_t>(needed));
    return MultiByteToWideChar(codePage, flags, bytes.data(), size, text.data(), needed) == needed;
}

HRESULT Inspect(const std::wstring& text) {
    XmlPlace place;
    const HRESULT result = InspectXml(KyUtils::ToUtf8(text), XmlOrigin::Device, place);
    if (FAILED(result)) {
        logSource.ErrorResult(result, L"The device's XML is refused at line %u, column %u", place.line,
                              place.column);
    }
    return result;
}

}  // namespace

std::wstring DecodeXml(std::string_view body) {
    if (body.substr(0, utf8Mark.size()) == utf8Mark) body.remove_prefix(utf8Mark.size());
    const std::string_view declaration = XmlDeclaration(body);
    const UINT codePage = CodePageOf(DeclaredEncoding(declaration));
    body.remove_prefix(declaration.size());
    std::wstring text;
    // Some devices declare UTF-8 and send ISO 8859-1.
    if (!Decode(body, codePage, text)) Decode(body, latin1, text);
    return text;
}

HRESULT ParseDeviceXml(std::string_view body, ComPtr<IXMLDOMDocument>& document) {
    const KyUtils::LogScope scope(logSource, "Corvix::ParseDeviceXml");
    const std::wstring text = DecodeXml(body);
    const HRESULT inspected = Inspect(text);
    if (FAILED(inspected)) return inspected;
    const HRESULT loaded = LoadDomText(text, document);
    // The DOM may reject what the reader accepted, but gives no reason.
    return loaded == S_FALSE ? static_cast<HRESULT>(WC_E_SYNTAX) : loaded;
}

}  // namespace Corvix
