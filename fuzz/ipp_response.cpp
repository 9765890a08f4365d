// Any bytes as the body of a response: reading ends, and everything that was read can be asked for.
#include <string>

#include "check.h"
#include "wire/ipp/encodedattributes.h"
#include "wire/ipp/messagereader.h"

namespace {

using Corvix::Ipp::Message;

// What one answer may take: a text grows at most as far as a number does over its four bytes and a comma.
void CheckText(const Message& response, std::string_view name, std::size_t bodySize) {
    const auto text = response.ValueText(name);
    if (text) CORVIX_FUZZ_CHECK(text->size() <= 4 * bodySize);
    if (text && !text->empty()) CORVIX_FUZZ_CHECK(text->back() != ',');
}

void CheckNames(const Message& response, std::string_view path, std::size_t bodySize) {
    for (std::size_t i = 0; i < response.Names().size(); ++i) {
        const std::string name(response.Names()[i]);
        CORVIX_FUZZ_CHECK(response.Contains(name));
        CORVIX_FUZZ_CHECK(response.ValueText(name).has_value());
        if (i < 64) CheckText(response, name, bodySize);
        if (i < 64) CheckText(response, name + "." + std::string(path), bodySize);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const std::string_view body(reinterpret_cast<const char*>(data), size);
    const std::string_view path = body.substr(size - std::min<std::size_t>(size, 12));
    const Message response = Corvix::Ipp::ReadResponseData(body);
    if (const auto& fault = response.GetFault()) CORVIX_FUZZ_CHECK(fault->offset <= size);
    CheckNames(response, path, size);
    CheckText(response, path, size);

    // A reader that is told to heed the status stops earlier or reads the same.
    const Message strict = Corvix::Ipp::ReadResponseData(body, Corvix::Ipp::ReadOptions{true});
    CORVIX_FUZZ_CHECK(strict.Names().size() == 0 || strict.Names().size() == response.Names().size());

    // What stands before a fault reads the same without what follows it.
    if (const auto& fault = response.GetFault()) {
        const Message before = Corvix::Ipp::ReadResponseData(body.substr(0, fault->offset));
        CORVIX_FUZZ_CHECK(before.Names().size() == response.Names().size());
    }
    Corvix::Ipp::NamesOfAttributes(body);
    return 0;
}
