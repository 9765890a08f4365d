// Whatever a device asks, the answer is one header line.
#include "check.h"
#include "wire/http/authentication.h"

namespace {

using namespace Corvix::Http;

// As a response reader hands it on.
bool IsReadableHeader(std::string_view value) {
    return value.find_first_of(std::string_view("\0\r\n", 3)) == std::string_view::npos;
}

bool IsOneLine(std::string_view text) { return text.find_first_of("\r\n") == std::string_view::npos; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size) {
    const std::string_view value(reinterpret_cast<const char*>(data), size);
    if (!IsReadableHeader(value)) return 0;
    const auto challenge = ChooseChallenge(ParseChallenges(value));
    if (!challenge || challenge->scheme != "digest") return 0;
    const auto hash = [](HashAlgorithm, std::string_view) { return std::string("0123456789abcdef"); };
    const std::string answer =
        MakeDigestAuthorization(*challenge, {"me", "pw"}, {"GET", "/", "nonce", 1}, hash);
    CORVIX_FUZZ_CHECK(IsOneLine(answer));
    return 0;
}
