#include "soap/handler.h"

#include "base/text.h"
#include "http/receiver.h"

namespace CorvixSim {
namespace {

constexpr size_t kMaxRequest = 1 << 20;
constexpr std::string_view kContentType = "application/soap+xml";

HttpResponse SoapResponse(int status, std::string envelope) {
    HttpResponse response;
    response.status = status;
    response.contentType = "application/soap+xml; charset=utf-8";
    response.body = std::move(envelope);
    return response;
}

HttpResponse FaultResponse(const SoapRequest& request, const std::string& subcode,
                           const std::string& reason) {
    return SoapResponse(400, SoapFault(request, subcode, reason));
}

/// "DeviceService" of "urn:veyra:imaging:con:service:device:DeviceService".
std::string LastPart(const std::string& resource) { return resource.substr(resource.find_last_of(":/") + 1); }

}  // namespace

HttpResponse SoapHandler::Handle(const HttpRequest& request, HttpReceiver& body) {
    if (request.method != "POST") return MethodNotAllowed("POST");
    if (!request.HasContentType(kContentType)) return PlainResponse(415);
    const std::optional<SoapRequest> soap = ReadSoapRequest(body.ReadAll(kMaxRequest));
    if (!soap)
        return FaultResponse({}, "wsa:InvalidMessageInformationHeader", "not a SOAP request with an action");
    device_.counters.CountOperation("ws", soap->Operation());
    HttpResponse response = Answer(*soap);
    response.faults = device_.faults.Match({"ws", request.path, soap->Operation()});
    return response;
}

HttpResponse SoapHandler::Answer(const SoapRequest& request) const {
    if (request.Operation() == "Get") return AnswerGet(request);
    if (request.Operation() == "GetPrinterElements") return AnswerGetPrinterElements(request);
    return FaultResponse(request, "wsa:ActionNotSupported", "no such action: " + request.action);
}

HttpResponse SoapHandler::AnswerGet(const SoapRequest& request) const {
    // Names of files, not paths: what is not embedded or below the device's folder cannot be reached.
    const auto file = device_.files.find("soap/Get/" + LastPart(request.resource) + ".xml");
    if (file == device_.files.end()) {
        return FaultResponse(request, "wsa:DestinationUnreachable", "no such resource: " + request.resource);
    }
    return SoapResponse(200, SoapAnswer(request, request.action + "Response",
                                        device_.values.Expand(file->second, EscapeXml)));
}

std::string SoapHandler::ElementData(const std::string& name) const {
    const auto file = device_.files.find("soap/PrinterElements/" + name + ".xml");
    const std::string start = "<wprt:ElementData Name=\"wprt:" + EscapeXml(name) + "\" Valid=";
    // The protocol answers for each element: one that does not exist is named and not valid.
    if (file == device_.files.end()) return start + "\"false\"/>\n";
    return start + "\"true\">\n" + device_.values.Expand(file->second, EscapeXml) + "</wprt:ElementData>\n";
}

HttpResponse SoapHandler::AnswerGetPrinterElements(const SoapRequest& request) const {
    std::string elements = "<wprt:GetPrinterElementsResponse>\n<wprt:PrinterElements>\n";
    for (const std::string& name : request.elementNames)
        elements += ElementData(name);
    elements += "</wprt:PrinterElements>\n</wprt:GetPrinterElementsResponse>\n";
    return SoapResponse(200, SoapAnswer(request, request.action + "Response", elements));
}

}  // namespace CorvixSim
