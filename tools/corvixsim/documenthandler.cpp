#include "documenthandler.h"

#include "text.h"

namespace CorvixSim {
namespace {

bool IsXml(const Document& document) { return StartsWith(document.contentType, "text/xml"); }

}  // namespace

HttpResponse DocumentHandler::Handle(const HttpRequest& request, HttpBody&) {
    const std::string path = request.path == "/" ? "/index.html" : request.path;
    const std::optional<Document> document = device_.documents.Find(port_, path);
    if (!document) return PlainResponse(404);
    if (request.method != "GET" && request.method != "HEAD") {
        HttpResponse refusal = PlainResponse(405);
        refusal.headers.emplace_back("Allow", "GET, HEAD");
        return refusal;
    }
    HttpResponse response;
    response.contentType = document->contentType;
    response.body = device_.values.Expand(document->text, IsXml(*document) ? EscapeXml : nullptr);
    return response;
}

}  // namespace CorvixSim
