// A response has one meaning, however the network cuts it, and never more body than allowed.
#include <string>

#include "check.h"
#include "wire/http/responsereader.h"

namespace {

using Corvix::Http::Limits;
using Corvix::Http::ResponseReader;

constexpr Limits limits = {512, 1024};

ResponseReader Read(std::string_view text, size_t pieceSize, bool toHead) {
    ResponseReader reader(limits, toHead);
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, pieceSize);
        const size_t taken = reader.Feed(piece);
        text.remove_prefix(taken);
        if (taken < piece.size()) break;
    }
    reader.End();
    return reader;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size) {
    if (size < 1) return 0;
    const bool toHead = (data[0] & 1) != 0;
    const size_t pieceSize = 1 + (data[0] >> 1);
    const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
    const ResponseReader whole = Read(text, text.size() + 1, toHead);
    const ResponseReader cut = Read(text, pieceSize, toHead);
    CORVIX_FUZZ_CHECK(whole.IsComplete() != whole.IsFaulty());
    CORVIX_FUZZ_CHECK(whole.Body().size() <= limits.bodyBytes);
    CORVIX_FUZZ_CHECK(whole.Fault() == cut.Fault());
    CORVIX_FUZZ_CHECK(whole.KeepsConnection() == cut.KeepsConnection());
    if (whole.IsComplete())
        CORVIX_FUZZ_CHECK(whole.Body() == cut.Body() && whole.Head().status == cut.Head().status);
    return 0;
}
