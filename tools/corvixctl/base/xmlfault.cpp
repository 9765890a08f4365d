#include "base/xmlfault.h"

#include <xmllite.h>

#include "base/com.h"
#include "base/systemtext.h"

namespace CorvixCtl {
namespace {

struct Reason {
    HRESULT result;
    const wchar_t* text;
};
#define CORVIXCTL_REASON(code, text) \
    { static_cast<HRESULT>(code), text }
constexpr Reason reasons[] = {
    CORVIXCTL_REASON(MX_E_INPUTEND, L"the document ends too early"),
    CORVIXCTL_REASON(MX_E_ENCODING, L"bytes that do not fit the document's encoding"),
    CORVIXCTL_REASON(MX_E_ENCODINGSWITCH, L"an encoding that does not fit the document's first bytes"),
    CORVIXCTL_REASON(MX_E_ENCODINGSIGNATURE, L"an encoding mark that is not known"),
    CORVIXCTL_REASON(WC_E_WHITESPACE, L"a blank is missing"),
    CORVIXCTL_REASON(WC_E_SEMICOLON, L"a \";\" is missing"),
    CORVIXCTL_REASON(WC_E_GREATERTHAN, L"a \">\" is missing"),
    CORVIXCTL_REASON(WC_E_QUOTE, L"a quote is missing"),
    CORVIXCTL_REASON(WC_E_EQUAL, L"a \"=\" is missing"),
    CORVIXCTL_REASON(WC_E_LESSTHAN, L"a \"<\" where none may stand"),
    CORVIXCTL_REASON(WC_E_HEXDIGIT, L"a hexadecimal digit is missing"),
    CORVIXCTL_REASON(WC_E_DIGIT, L"a digit is missing"),
    CORVIXCTL_REASON(WC_E_XMLCHARACTER, L"a character that XML does not allow"),
    CORVIXCTL_REASON(WC_E_NAMECHARACTER, L"a character that no name may hold"),
    CORVIXCTL_REASON(WC_E_SYNTAX, L"not the syntax of XML"),
    CORVIXCTL_REASON(WC_E_CDSECT, L"a CDATA section that is not well-formed"),
    CORVIXCTL_REASON(WC_E_COMMENT, L"a comment that is not well-formed"),
    CORVIXCTL_REASON(WC_E_NAME, L"a name is missing"),
    CORVIXCTL_REASON(WC_E_ROOTELEMENT, L"text outside the root element, or no root element"),
    CORVIXCTL_REASON(WC_E_ELEMENTMATCH, L"an end tag that fits no start tag"),
    CORVIXCTL_REASON(WC_E_UNIQUEATTRIBUTE, L"an attribute that is given twice"),
    CORVIXCTL_REASON(WC_E_TEXTXMLDECL, L"an XML declaration that is not at the document's start"),
    CORVIXCTL_REASON(WC_E_LEADINGXML, L"a name that begins with \"xml\""),
    CORVIXCTL_REASON(WC_E_XMLDECL, L"an XML declaration that is not well-formed"),
    CORVIXCTL_REASON(WC_E_ENCNAME, L"an encoding's name that is not well-formed"),
    CORVIXCTL_REASON(WC_E_UNDECLAREDENTITY, L"an entity that is not declared"),
    CORVIXCTL_REASON(WC_E_PI, L"a processing instruction that is not well-formed"),
    CORVIXCTL_REASON(WC_E_CDSECTEND, L"\"]]>\" in text"),
    CORVIXCTL_REASON(WC_E_MOREDATA, L"the document ends too early"),
    CORVIXCTL_REASON(WC_E_DTDPROHIBITED, L"a document type declaration, which is refused"),
    CORVIXCTL_REASON(NC_E_UNDECLAREDPREFIX, L"a namespace prefix that is not declared"),
    CORVIXCTL_REASON(SC_E_MAXELEMENTDEPTH, L"elements nested too deeply"),
};
#undef CORVIXCTL_REASON

// All results of the reader are in these ranges.
bool IsXmlResult(HRESULT result) {
    const auto code = static_cast<unsigned long>(result);
    return code >= 0xC00CE000 && code <= 0xC00CEFFF;
}

// The reader comes with the system; its import library does not come with every compiler.
class XmlLite {
public:
    XmlLite() : module_(LoadLibraryExW(L"xmllite.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32)) {}
    ~XmlLite() {
        if (module_) FreeLibrary(module_);
    }
    XmlLite(const XmlLite&) = delete;
    XmlLite& operator=(const XmlLite&) = delete;

    ComPtr<IXmlReader> CreateReader() const {
        using Create = HRESULT(WINAPI*)(REFIID, void**, IMalloc*);
        ComPtr<IXmlReader> reader;
        const FARPROC function = module_ ? GetProcAddress(module_, "CreateXmlReader") : nullptr;
        if (function) {
            const auto create = reinterpret_cast<Create>(reinterpret_cast<void*>(function));
            create(__uuidof(IXmlReader), &reader, nullptr);
        }
        return reader;
    }

private:
    HMODULE module_;
};

// Reads a document to its end and keeps where it got to.
class Inspection {
public:
    explicit Inspection(IXmlReader& reader) : reader_(reader) {}

    HRESULT Run() {
        HRESULT result = S_OK;
        while (result == S_OK)
            result = ReadNode();
        NotePosition();
        // Not every system's reader minds a text without any element.
        return SUCCEEDED(result) && !hasElement_ ? static_cast<HRESULT>(WC_E_ROOTELEMENT) : result;
    }

    UINT Line() const { return line_; }
    UINT Column() const { return column_; }

private:
    HRESULT ReadNode() {
        XmlNodeType node = XmlNodeType_None;
        const HRESULT result = reader_.Read(&node);
        // Some readers give the last node of a text that breaks off again and again.
        if (!NotePosition() && result == S_OK && node == last_) return static_cast<HRESULT>(MX_E_INPUTEND);
        last_ = node;
        hasElement_ = hasElement_ || node == XmlNodeType_Element;
        return result;
    }

    // False when the reader stands where it stood. Readers have no position for some nodes.
    bool NotePosition() {
        UINT line = 0;
        UINT column = 0;
        reader_.GetLineNumber(&line);
        reader_.GetLinePosition(&column);
        if (line == 0 || (line == line_ && column == column_)) return false;
        line_ = line;
        column_ = column;
        return true;
    }

    IXmlReader& reader_;
    XmlNodeType last_ = XmlNodeType_None;
    bool hasElement_ = false;
    UINT line_ = 0;
    UINT column_ = 0;
};

}  // namespace

std::wstring XmlReason(HRESULT result) {
    for (const Reason& reason : reasons) {
        if (reason.result == result) return reason.text;
    }
    return IsXmlResult(result) ? L"not well-formed (" + ToHex(static_cast<unsigned long>(result)) + L")"
                               : std::wstring();
}

std::optional<XmlFault> FindXmlFault(IStream& document) {
    const XmlLite xmlLite;
    const ComPtr<IXmlReader> reader = xmlLite.CreateReader();
    if (!reader || FAILED(reader->SetProperty(XmlReaderProperty_DtdProcessing, DtdProcessing_Parse)) ||
        FAILED(reader->SetInput(&document)))
        return std::nullopt;
    Inspection inspection(*reader.Get());
    const HRESULT result = inspection.Run();
    if (SUCCEEDED(result)) return std::nullopt;
    const std::wstring reason = XmlReason(result);
    return XmlFault{inspection.Line(), inspection.Column(),
                    reason.empty() ? SystemText(static_cast<unsigned long>(result)) : reason};
}

}  // namespace CorvixCtl
