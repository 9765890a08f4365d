#include "http/message.h"

#include "base/text.h"
#include "wire/ascii.h"

namespace CorvixSim {

bool HttpRequest::HasContentType(std::string_view type) const {
    const std::string sent = Header("Content-Type");
    return Corvix::Ascii::EqualsIgnoringCase(Trim(std::string_view(sent).substr(0, sent.find(';'))), type);
}

HttpResponse PlainResponse(int status, const std::string& text) {
    HttpResponse response;
    response.status = status;
    response.body = (text.empty() ? Corvix::Http::ReasonOf(static_cast<unsigned>(status)) : text) + "\n";
    return response;
}

HttpResponse MethodNotAllowed(std::string_view allowed) {
    HttpResponse refusal = PlainResponse(405);
    refusal.headers.Add("Allow", allowed);
    return refusal;
}

}  // namespace CorvixSim
