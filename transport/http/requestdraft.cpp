#include "transport/http/requestdraft.h"

#include <winhttp.h>

#include "utilslib/stringutils.h"
#include "wire/ascii.h"

namespace CorvixTransport {

namespace Ascii = Corvix::Ascii;

namespace {

std::string TextOf(const wchar_t* text) { return text ? KyUtils::ToUtf8(text) : std::string(); }

}  // namespace

void RequestDraft::Refuse(unsigned long error) {
    if (error_ == 0) error_ = error;
}

void RequestDraft::SetUri(const wchar_t* path) {
    if (!Http::MakeTarget(TextOf(path), target_)) Refuse(ERROR_WINHTTP_INVALID_URL);
}

bool RequestDraft::SetMethod(const wchar_t* method) {
    const std::string text = TextOf(method);
    if (!Http::IsToken(text)) return false;
    method_ = text;
    return true;
}

void RequestDraft::SetContentType(const wchar_t* contentType) {
    const std::string text = TextOf(contentType);
    if (!Http::IsFieldValue(text)) return Refuse(ERROR_WINHTTP_INVALID_HEADER);
    contentType_ = text;
}

void RequestDraft::AddHeader(const wchar_t* name, const wchar_t* value) {
    const std::string nameText = TextOf(name);
    const std::string valueText = TextOf(value);
    if (!Http::IsToken(nameText) || !Http::IsFieldValue(valueText))
        return Refuse(ERROR_WINHTTP_INVALID_HEADER);
    AddChecked(nameText, valueText);
}

// The transport writes the headers that frame the body itself: there must be exactly one of each.
void RequestDraft::AddChecked(const std::string& name, const std::string& value) {
    if (Ascii::EqualsIgnoringCase(name, "Content-Length")) return;
    if (Ascii::EqualsIgnoringCase(name, "Content-Type")) {
        contentType_ = value;
    } else if (!Ascii::EqualsIgnoringCase(name, "Transfer-Encoding")) {
        headers_.Add(name, value);
    } else if (Ascii::EqualsIgnoringCase(Ascii::Trim(value), "chunked")) {
        chunkedByCaller_ = true;
    } else {
        Refuse(ERROR_WINHTTP_INVALID_HEADER);
    }
}

Http::RequestHead RequestDraft::MakeHead(const std::string& host, BodyFraming framing,
                                         unsigned long long length) const {
    Http::RequestHead head = {method_, target_, {}};
    // What the caller sets replaces these.
    const auto addDefault = [&](const char* name, const std::string& value) {
        if (!headers_.Find(name)) head.headers.Add(name, value);
    };
    addDefault("Host", host);
    addDefault("User-Agent", "CorvixTransport/1.0");
    addDefault("Accept", "*/*");
    if (!contentType_.empty()) head.headers.Add("Content-Type", contentType_);
    if (framing == BodyFraming::Length) head.headers.Add("Content-Length", std::to_string(length));
    if (framing == BodyFraming::CallersChunks || framing == BodyFraming::OwnChunks)
        head.headers.Add("Transfer-Encoding", "chunked");
    for (const auto& [name, value] : headers_)
        head.headers.Add(name, value);
    return head;
}

}  // namespace CorvixTransport
