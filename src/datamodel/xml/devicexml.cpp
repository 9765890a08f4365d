#include "datamodel/xml/devicexml.h"

#include <shlwapi.h>
#include <xmllite.h>

#include <algorithm>

#include "utilslib/com.h"
#include "utilslib/logging.h"
#include "utilslib/module.h"
#include "utilslib/stringutils.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";

struct EncodingName {
    const wchar_t* name;
    UINT codePage;
};
constexpr EncodingName encodings[] = {
    {L"utf-8", CP_UTF8},     {L"us-ascii", CP_UTF8}, {L"iso-8859-1", 28591},
    {L"iso-8859-15", 28605}, {L"latin1", 28591},     {L"windows-1252", 1252},
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

using CreateXmlReaderFunction = HRESULT(WINAPI*)(REFIID, void**, IMalloc*);

/// The system's streaming reader. Unlike the DOMs of some systems it really refuses what it is told to
/// refuse.
HRESULT CreateReader(ComPtr<IXmlReader>& reader) {
    static const KyUtils::Module xmlLite = KyUtils::Module::FromSystemFolder(L"xmllite.dll");
    const auto create = xmlLite.Find<CreateXmlReaderFunction>("CreateXmlReader");
    return create ? create(__uuidof(IXmlReader), &reader, nullptr) : E_NOTIMPL;
}

ComPtr<IStream> StreamOver(const std::string& bytes) {
    ComPtr<IStream> stream;
    stream.Attach(
        SHCreateMemStream(reinterpret_cast<const BYTE*>(bytes.data()), static_cast<UINT>(bytes.size())));
    return stream;
}

/// Elements that are open; readers do not agree on what depth an element has.
class Nesting {
public:
    /// False when the node is an element inside too many others.
    bool Enter(IXmlReader& reader, XmlNodeType node) {
        if (node == XmlNodeType_EndElement) --depth_;
        if (node != XmlNodeType_Element) return true;
        if (depth_ == maximumXmlDepth) return false;
        if (!reader.IsEmptyElement()) ++depth_;
        return true;
    }

private:
    unsigned depth_ = 0;
};

/// Where a reader stands. Some readers give the last node of a text that breaks off again and again.
class Progress {
public:
    /// False when the reader did not move on.
    bool Note(IXmlReader& reader, XmlNodeType node) {
        UINT line = 0;
        UINT column = 0;
        reader.GetLineNumber(&line);
        reader.GetLinePosition(&column);
        const bool moved = node != node_ || line != line_ || column != column_;
        node_ = node;
        line_ = line;
        column_ = column;
        return moved;
    }

private:
    XmlNodeType node_ = XmlNodeType_None;
    UINT line_ = 0;
    UINT column_ = 0;
};

HRESULT ReadToEnd(IXmlReader& reader) {
    Nesting nesting;
    Progress progress;
    bool hasElement = false;
    XmlNodeType node;
    HRESULT result;
    while ((result = reader.Read(&node)) == S_OK) {
        if (!progress.Note(reader, node)) return static_cast<HRESULT>(MX_E_INPUTEND);
        if (node == XmlNodeType_DocumentType) return static_cast<HRESULT>(WC_E_DTDPROHIBITED);
        if (!nesting.Enter(reader, node)) return static_cast<HRESULT>(SC_E_MAXELEMENTDEPTH);
        hasElement = hasElement || node == XmlNodeType_Element;
    }
    if (FAILED(result)) return result;
    // What the reader did not see it did not inspect.
    return hasElement ? S_OK : static_cast<HRESULT>(WC_E_ROOTELEMENT);
}

HRESULT Inspect(const std::wstring& text) {
    // Some readers take blanks before the first node for the end of the document.
    const size_t start = std::min(text.find_first_not_of(L" \t\r\n"), text.size());
    const std::string utf8 = KyUtils::ToUtf8(std::wstring_view(text).substr(start));
    ComPtr<IXmlReader> reader;
    HRESULT result = CreateReader(reader);
    if (FAILED(result)) return result;
    const ComPtr<IStream> stream = StreamOver(utf8);
    if (!stream) return E_OUTOFMEMORY;
    reader->SetProperty(XmlReaderProperty_DtdProcessing, DtdProcessing_Prohibit);
    reader->SetProperty(XmlReaderProperty_MaxElementDepth, 0);
    result = reader->SetInput(stream.Get());
    if (SUCCEEDED(result)) result = ReadToEnd(*reader.Get());
    if (SUCCEEDED(result)) return S_OK;
    UINT line = 0;
    UINT column = 0;
    reader->GetLineNumber(&line);
    reader->GetLinePosition(&column);
    logSource.ErrorResult(result, L"The device's XML is refused at line %u, column %u", line, column);
    return result;
}

}  // namespace

std::wstring DecodeXml(std::string_view body) {
    if (body.substr(0, utf8Mark.size()) == utf8Mark) body.remove_prefix(utf8Mark.size());
    const std::string_view declaration = XmlDeclaration(body);
    const UINT codePage = CodePageOf(DeclaredEncoding(declaration));
    body.remove_prefix(declaration.size());
    std::wstring text;
    if (!Decode(body, codePage, text)) Decode(body, 28591, text);
    return text;
}

HRESULT ParseDeviceXml(std::string_view body, ComPtr<IXMLDOMDocument>& document) {
    const KyUtils::LogScope scope(logSource, "Corvix::ParseDeviceXml");
    const std::wstring text = DecodeXml(body);
    const HRESULT inspected = Inspect(text);
    if (FAILED(inspected)) return inspected;
    const HRESULT loaded = LoadDomText(text, document);
    // The DOM is the stricter one, but does not tell what it minds.
    return loaded == S_FALSE ? static_cast<HRESULT>(WC_E_SYNTAX) : loaded;
}

}  // namespace Corvix
