// Any bytes as the body of a response: reading ends, and everything that was read can be asked for and walked.
#include <string>

#include "check.h"
#include "wire/ipp/encodedattributes.h"
#include "wire/ipp/messagereader.h"

namespace {

using namespace Corvix::Ipp;

// What one answer may take: a text grows at most as far as a number does over its four bytes and a comma.
void CheckText(const Message& message, std::string_view name, std::size_t bodySize) {
    const auto text = message.ValueText(name);
    if (text) CORVIX_FUZZ_CHECK(text->size() <= 4 * bodySize);
    if (text && !text->empty()) CORVIX_FUZZ_CHECK(text->back() != ',');
}

void CheckNames(const Message& message, std::string_view path) {
    for (const std::string_view name : message.Names()) {
        CORVIX_FUZZ_CHECK(message.Contains(name));
        CORVIX_FUZZ_CHECK(message.ValueText(name).has_value());
        CheckText(message, name, message.Body().size());
        CheckText(message, std::string(name) + "." + std::string(path), message.Body().size());
    }
}

// Returns the number of values, collections taken apart as far as a stack may go.
std::size_t Walk(const Message& message, const Attribute& attribute, int depth) {
    std::size_t count = 0;
    ValueCursor values(message, attribute);
    while (const auto value = values.Next()) {
        ++count;
        const bool isCollection = Decode(*value).kind == Corvix::IPPValueKind::Collection;
        MemberCursor members(message, *value);
        while (const auto member = isCollection && depth < 50 ? members.Next() : std::nullopt)
            count += Walk(message, *member, depth + 1);
    }
    return count;
}

std::size_t CheckGroups(const Message& message) {
    std::size_t count = 0;
    for (std::uint32_t i = 0; i < message.GroupCount(); ++i) {
        const Group group = message.GetGroup(i);
        for (std::uint32_t at = group.first; at < group.end; ++at) {
            const Attribute attribute = message.GetAttribute(at);
            const std::size_t values = Walk(message, attribute, 0);
            CORVIX_FUZZ_CHECK(values > 0 && message.Find(group, attribute.name));
            count += values;
        }
    }
    return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const std::string_view body(reinterpret_cast<const char*>(data), size);
    const std::string_view path = body.substr(size - std::min<std::size_t>(size, 12));
    const Message message = ReadResponseData(body);
    CheckNames(message, path);
    CheckText(message, path, size);
    const std::size_t values = CheckGroups(message);
    CORVIX_FUZZ_CHECK(values <= size);

    // A reader that is told to heed the status stops earlier or reads the same.
    const Message strict = ReadResponseData(body, ReadOptions{true});
    CORVIX_FUZZ_CHECK(strict.GroupCount() == 0 || CheckGroups(strict) == values);

    // What stands before a fault reads the same without what follows it.
    if (const auto& fault = message.GetFault()) {
        CORVIX_FUZZ_CHECK(fault->offset <= size);
        CORVIX_FUZZ_CHECK(CheckGroups(ReadResponseData(body.substr(0, fault->offset))) == values);
    }
    NamesOfAttributes(body);
    return 0;
}
