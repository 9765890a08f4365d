#include "soap/message.h"

#include "base/text.h"

namespace CorvixSim {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";

std::string LocalName(std::string_view name) { return std::string(name.substr(name.find(':') + 1)); }

/// Walks over the tags of a document and keeps what a request says in elements without child elements.
class SoapReader {
public:
    explicit SoapReader(std::string_view xml) : rest_(xml) {}

    bool Read() {
        while (Next()) {
        }
        return !failed_ && sawElement_ && open_.empty();
    }

    SoapRequest request;

private:
    bool Next() {
        const size_t tag = rest_.find('<');
        if (tag == std::string_view::npos) return false;
        text_ = rest_.substr(0, tag);
        rest_.remove_prefix(tag);
        if (StartsWith(rest_, "<!--")) return Skip("-->");
        if (StartsWith(rest_, "<?")) return Skip("?>");
        // A document type has no place in SOAP, and what entities it declares is not to be found out here.
        if (StartsWith(rest_, "<!")) return Fail();
        // Attributes are passed over: nothing that is asked for here depends on one.
        const size_t end = rest_.find('>');
        if (end == std::string_view::npos) return Fail();
        const std::string_view content = rest_.substr(1, end - 1);
        rest_.remove_prefix(end + 1);
        return !content.empty() && content.front() == '/' ? Close(content.substr(1)) : Open(content);
    }

    bool Open(std::string_view content) {
        const bool isEmpty = !content.empty() && content.back() == '/';
        const std::string_view name = content.substr(0, content.find_first_of(" \t\r\n/"));
        if (name.empty() || (sawElement_ && open_.empty())) return Fail();
        sawElement_ = true;
        afterStart_ = !isEmpty;
        if (isEmpty) {
            Keep(name, {});
        } else {
            open_.push_back(name);
        }
        return true;
    }

    bool Close(std::string_view name) {
        name = name.substr(0, name.find_first_of(kBlanks));
        if (open_.empty() || open_.back() != name) return Fail();
        // Text counts only between a start tag and its own end tag.
        if (afterStart_) Keep(name, UnescapeXml(Trim(text_)));
        open_.pop_back();
        afterStart_ = false;
        return true;
    }

    // By their local names: clients differ in the prefixes, and even in the version of WS-Addressing.
    void Keep(std::string_view prefixedName, const std::string& text) {
        const std::string name = LocalName(prefixedName);
        if (name == "Action") request.action = text;
        if (name == "MessageID") request.messageId = text;
        if (name == "ResourceURI") request.resource = text;
        if (name == "Name") request.elementNames.push_back(LocalName(text));
    }

    bool Skip(std::string_view ending) {
        const size_t end = rest_.find(ending);
        if (end == std::string_view::npos) return Fail();
        rest_.remove_prefix(end + ending.size());
        return true;
    }

    bool Fail() {
        failed_ = true;
        return false;
    }

    std::string_view rest_;
    std::string_view text_;
    std::vector<std::string_view> open_;
    bool afterStart_ = false;
    bool sawElement_ = false;
    bool failed_ = false;
};

std::string Envelope(const SoapRequest& request, const std::string& action, const std::string& body) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
           "<soap:Envelope xmlns:soap=\"http://www.w3.org/2003/05/soap-envelope\""
           " xmlns:wsa=\"http://schemas.xmlsoap.org/ws/2004/08/addressing\""
           " xmlns:wprt=\"http://schemas.microsoft.com/windows/2006/08/wdp/print\">\n<soap:Header>\n"
           "<wsa:To>http://schemas.xmlsoap.org/ws/2004/08/addressing/role/anonymous</wsa:To>\n<wsa:Action>" +
           EscapeXml(action) + "</wsa:Action>\n<wsa:RelatesTo>" + EscapeXml(request.messageId) +
           "</wsa:RelatesTo>\n</soap:Header>\n<soap:Body>\n" + body + "</soap:Body>\n</soap:Envelope>\n";
}

}  // namespace

std::string SoapRequest::Operation() const { return action.substr(action.rfind('/') + 1); }

std::optional<SoapRequest> ReadSoapRequest(std::string_view xml) {
    SoapReader reader(xml);
    const bool isSoap =
        reader.Read() && xml.find("http://www.w3.org/2003/05/soap-envelope") != std::string_view::npos;
    if (!isSoap || reader.request.action.empty()) return std::nullopt;
    return std::move(reader.request);
}

std::string SoapAnswer(const SoapRequest& request, const std::string& action, const std::string& body) {
    return Envelope(request, action, body);
}

std::string SoapFault(const SoapRequest& request, const std::string& subcode, const std::string& reason) {
    return Envelope(
        request, "http://schemas.xmlsoap.org/ws/2004/08/addressing/fault",
        "<soap:Fault>\n<soap:Code><soap:Value>soap:Sender</soap:Value><soap:Subcode><soap:Value>" + subcode +
            "</soap:Value></soap:Subcode></soap:Code>\n<soap:Reason><soap:Text xml:lang=\"en\">" +
            EscapeXml(reason) + "</soap:Text></soap:Reason>\n</soap:Fault>\n");
}

}  // namespace CorvixSim
