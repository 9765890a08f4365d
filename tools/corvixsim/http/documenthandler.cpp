#include "http/documenthandler.h"

#include "base/text.h"

namespace CorvixSim {
namespace {

/// The text with the values of the device in it; what is no text stays as it is.
std::string Filled(const Document& document, const Values& values) {
    // An image may hold two braces by chance.
    if (!StartsWith(document.contentType, "text/")) return document.text;
    return values.Expand(document.text, StartsWith(document.contentType, "text/xml") ? EscapeXml : nullptr);
}

}  // namespace

HttpResponse DocumentHandler::Handle(const HttpRequest& request, HttpReceiver&) {
    const std::string path = request.path == "/" ? "/index.html" : request.path;
    const std::optional<Document> document = device_.documents.Find(port_, path);
    if (!document) return PlainResponse(404);
    if (request.method != "GET" && request.method != "HEAD") return MethodNotAllowed("GET, HEAD");
    HttpResponse response;
    response.contentType = document->contentType;
    response.body = Filled(*document, device_.values);
    return response;
}

}  // namespace CorvixSim
