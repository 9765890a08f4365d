#include "datamodel/dom/xmlfault.h"

#include <xmllite.h>

#include <algorithm>
#include <iterator>

#include "utilslib/com.h"
#include "utilslib/module.h"

namespace Corvix {
namespace {

using KyUtils::ComPtr;

struct Reason {
    unsigned result;
    const wchar_t* text;
};
constexpr Reason reasons[] = {
    {MX_E_INPUTEND, L"the document ends too early"},
    {MX_E_ENCODING, L"bytes that do not fit the document's encoding"},
    {MX_E_ENCODINGSWITCH, L"an encoding that does not fit the document's first bytes"},
    {MX_E_ENCODINGSIGNATURE, L"an encoding mark that is not known"},
    {WC_E_WHITESPACE, L"a blank is missing"},
    {WC_E_SEMICOLON, L"a \";\" is missing"},
    {WC_E_GREATERTHAN, L"a \">\" is missing"},
    {WC_E_QUOTE, L"a quote is missing"},
    {WC_E_EQUAL, L"a \"=\" is missing"},
    {WC_E_LESSTHAN, L"a \"<\" where none may stand"},
    {WC_E_HEXDIGIT, L"a hexadecimal digit is missing"},
    {WC_E_DIGIT, L"a digit is missing"},
    {WC_E_XMLCHARACTER, L"a character that XML does not allow"},
    {WC_E_NAMECHARACTER, L"a character that no name may hold"},
    {WC_E_SYNTAX, L"not the syntax of XML"},
    {WC_E_CDSECT, L"a CDATA section that is not well-formed"},
    {WC_E_COMMENT, L"a comment that is not well-formed"},
    {WC_E_NAME, L"a name is missing"},
    {WC_E_ROOTELEMENT, L"text outside the root element, or no root element"},
    {WC_E_ELEMENTMATCH, L"an end tag that fits no start tag"},
    {WC_E_UNIQUEATTRIBUTE, L"an attribute that is given twice"},
    {WC_E_TEXTXMLDECL, L"an XML declaration that is not at the document's start"},
    {WC_E_LEADINGXML, L"a name that begins with \"xml\""},
    {WC_E_XMLDECL, L"an XML declaration that is not well-formed"},
    {WC_E_ENCNAME, L"an encoding's name that is not well-formed"},
    {WC_E_UNDECLAREDENTITY, L"an entity that is not declared"},
    {WC_E_PI, L"a processing instruction that is not well-formed"},
    {WC_E_CDSECTEND, L"\"]]>\" in text"},
    {WC_E_MOREDATA, L"the document ends too early"},
    {WC_E_DTDPROHIBITED, L"a document type declaration, which is refused"},
    {NC_E_UNDECLAREDPREFIX, L"a namespace prefix that is not declared"},
    {SC_E_MAXELEMENTDEPTH, L"elements nested too deeply"},
};

/// All results of the reader that are about the document.
constexpr unsigned firstXmlResult = 0xC00CE000;
constexpr unsigned lastXmlResult = 0xC00CEFFF;

using CreateXmlReaderFunction = HRESULT(WINAPI*)(REFIID, void**, IMalloc*);

/// The reader comes with the system; its import library does not come with every compiler.
HRESULT CreateReader(ComPtr<IXmlReader>& reader) {
    static const KyUtils::Module xmlLite = KyUtils::Module::FromSystemFolder(L"xmllite.dll");
    const auto create = xmlLite.Find<CreateXmlReaderFunction>("CreateXmlReader");
    return create ? create(__uuidof(IXmlReader), &reader, nullptr) : E_NOTIMPL;
}

/// Reads a document node by node and keeps where it got to.
class Inspection {
public:
    Inspection(IXmlReader& reader, XmlOrigin origin) : reader_(reader), origin_(origin) {}

    HRESULT Run() {
        HRESULT result;
        while ((result = reader_.Read(&node_)) == S_OK) {
            // At the end of a truncated document some readers return the last node again and again.
            if (!Advances()) return static_cast<HRESULT>(MX_E_INPUTEND);
            if (const HRESULT judged = JudgeNode(); FAILED(judged)) return judged;
            hasElement_ = hasElement_ || node_ == XmlNodeType_Element;
        }
        Advances();
        // Some readers accept a text without any element. Report it: nothing of it was inspected.
        return SUCCEEDED(result) && !hasElement_ ? static_cast<HRESULT>(WC_E_ROOTELEMENT) : result;
    }

    const XmlPlace& Place() const { return place_; }

private:
    HRESULT JudgeNode() {
        if (origin_ == XmlOrigin::Caller) return S_OK;
        if (node_ == XmlNodeType_DocumentType) return static_cast<HRESULT>(WC_E_DTDPROHIBITED);
        // Counted here, because readers do not agree on what depth an element has.
        if (node_ == XmlNodeType_EndElement) --depth_;
        if (node_ != XmlNodeType_Element) return S_OK;
        if (depth_ == maximumXmlDepth) return static_cast<HRESULT>(SC_E_MAXELEMENTDEPTH);
        if (!reader_.IsEmptyElement()) ++depth_;
        return S_OK;
    }

    /// False when the reader stands where it stood, with the same node. It has no position for some nodes.
    bool Advances() {
        UINT line = 0;
        UINT column = 0;
        reader_.GetLineNumber(&line);
        reader_.GetLinePosition(&column);
        const bool moved = node_ != lastNode_ || line != lastLine_ || column != lastColumn_;
        lastNode_ = node_;
        lastLine_ = line;
        lastColumn_ = column;
        if (line != 0) place_ = {line, column};
        return moved;
    }

    IXmlReader& reader_;
    XmlOrigin origin_;
    XmlNodeType node_ = XmlNodeType_None;
    XmlNodeType lastNode_ = XmlNodeType_None;
    UINT lastLine_ = 0;
    UINT lastColumn_ = 0;
    XmlPlace place_;
    unsigned depth_ = 0;
    bool hasElement_ = false;
};

/// Removes leading blanks, because some readers stop there as if the document ended.
/// \return how many lines went with them.
unsigned RemoveLeadingBlanks(std::string_view& document) {
    const size_t start = std::min(document.find_first_not_of(" \t\r\n"), document.size());
    const std::string_view blanks = document.substr(0, start);
    document.remove_prefix(start);
    return static_cast<unsigned>(std::count(blanks.begin(), blanks.end(), '\n'));
}

/// A declaration behind blanks is a fault, which the reader no longer sees once they are removed.
bool IsLateDeclaration(std::string_view document, size_t wholeLength) {
    return document.size() < wholeLength && document.substr(0, 6) == "<?xml ";
}

}  // namespace

HRESULT InspectXml(std::string_view document, XmlOrigin origin, XmlPlace& place) {
    const size_t wholeLength = document.size();
    const unsigned linesBefore = RemoveLeadingBlanks(document);
    if (IsLateDeclaration(document, wholeLength)) {
        place.line = linesBefore + 1;
        return static_cast<HRESULT>(WC_E_TEXTXMLDECL);
    }
    ComPtr<IXmlReader> reader;
    HRESULT result = CreateReader(reader);
    if (FAILED(result)) return result;
    const ComPtr<IStream> stream = KyUtils::StreamOver(document);
    if (!stream) return E_OUTOFMEMORY;
    const auto documentType = origin == XmlOrigin::Device ? DtdProcessing_Prohibit : DtdProcessing_Parse;
    reader->SetProperty(XmlReaderProperty_DtdProcessing, documentType);
    reader->SetProperty(XmlReaderProperty_MaxElementDepth, 0);
    result = reader->SetInput(stream.Get());
    if (FAILED(result)) return result;
    Inspection inspection(*reader.Get(), origin);
    result = inspection.Run();
    place = inspection.Place();
    if (place.line != 0) place.line += linesBefore;
    return FAILED(result) ? result : S_OK;
}

const wchar_t* XmlReason(HRESULT result) {
    const auto code = static_cast<unsigned>(result);
    const auto* found = std::find_if(std::begin(reasons), std::end(reasons),
                                     [code](const Reason& known) { return known.result == code; });
    if (found != std::end(reasons)) return found->text;
    return code >= firstXmlResult && code <= lastXmlResult ? L"not well-formed" : nullptr;
}

}  // namespace Corvix
