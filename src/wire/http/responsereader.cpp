#include "wire/http/responsereader.h"

#include <utility>

#include "wire/ascii.h"

namespace Corvix::Http {

bool ResponseReader::KeepsConnection() const {
    return IsSelfDelimiting() && !ambiguous_ && WantsConnectionKept(head_.minorVersion, head_.headers);
}

// "HTTP/1.1 200 OK"; the reason, and even the blank before it, may be missing.
void ResponseReader::TakeStartLine(std::string_view line) {
    constexpr std::string_view version = "HTTP/1.";
    const bool isStatusLine = line.size() >= 12 && line.substr(0, version.size()) == version &&
                              Ascii::IsDigit(line[7]) && line[8] == ' ' && line[9] >= '1' && line[9] <= '5' &&
                              Ascii::IsDigit(line[10]) && Ascii::IsDigit(line[11]) &&
                              (line.size() == 12 || line[12] == ' ');
    if (!isStatusLine) return Fail(MessageFault::BadStartLine);
    head_ = {};
    head_.minorVersion = static_cast<unsigned>(line[7] - '0');
    head_.status = static_cast<unsigned>((line[9] - '0') * 100 + (line[10] - '0') * 10 + (line[11] - '0'));
    if (line.size() > 13) head_.reason = Ascii::Trim(line.substr(13));
}

void ResponseReader::EndHead(Headers headers) {
    head_.headers = std::move(headers);
    if (head_.status < 200) {
        // No request asks to switch protocols, so what follows 101 cannot be read.
        if (head_.status == 101) return Fail(MessageFault::BadStartLine);
        continued_ = continued_ || head_.status == 100;
        return BeginAnotherHead();
    }
    // Their "Content-Length" tells what another request would get, and no body follows.
    if (HasNoBody()) return BeginLengthBody(0);
    // Chunks win over a length, but such a connection is not used again.
    ambiguous_ = head_.headers.Find("Transfer-Encoding") && head_.headers.Find("Content-Length");
    if (!BeginAnnouncedBody(head_.headers)) BeginBodyUntilEnd();
}

}  // namespace Corvix::Http
