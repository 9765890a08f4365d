#include "transport/http/netresponse.h"

#include "utilslib/stringutils.h"

namespace CorvixTransport {

NetResponse::NetResponse(const Http::ResponseHead& head, std::string body)
    : status_(head.status), reason_(KyUtils::ToWideOrLatin1(head.reason)), body_(std::move(body)) {
    // Only the first of several headers of one name is kept.
    for (const auto& [name, value] : head.headers)
        headers_.emplace(KyUtils::ToLower(KyUtils::ToWideOrLatin1(name)), KyUtils::ToWideOrLatin1(value));
}

const wchar_t* NetResponse::GetHeader(const wchar_t* name) {
    if (!name) return nullptr;
    const auto found = headers_.find(KyUtils::ToLower(name));
    return found == headers_.end() ? nullptr : found->second.c_str();
}

const unsigned char* NetResponse::GetBody() {
    return body_.empty() ? nullptr : reinterpret_cast<const unsigned char*>(body_.c_str());
}

}  // namespace CorvixTransport
