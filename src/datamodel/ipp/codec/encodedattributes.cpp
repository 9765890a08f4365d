#include "datamodel/ipp/codec/encodedattributes.h"

#include "datamodel/ipp/codec/wire.h"

namespace Corvix::Ipp {
namespace {

constexpr std::size_t longest = 1023;

/// Takes a text of a two-byte length off the front; false when there are fewer bytes than announced.
bool TakeText(std::string_view& bytes, std::string_view& text) {
    if (bytes.size() < 2) return false;
    const std::size_t size = LoadShort(bytes.data());
    if (bytes.size() - 2 < size) return false;
    text = bytes.substr(2, size);
    bytes.remove_prefix(2 + size);
    return true;
}

void AppendText(std::string& encoded, std::string_view text) {
    encoded += static_cast<char>(text.size() >> 8);
    encoded += static_cast<char>(text.size() & 0xFF);
    encoded += text;
}

}  // namespace

std::vector<std::string_view> NamesOfAttributes(std::string_view encoded) {
    std::vector<std::string_view> names;
    while (!encoded.empty()) {
        const auto tag = static_cast<unsigned char>(encoded.front());
        encoded.remove_prefix(1);
        if (tag < Tag::FirstValue) continue;
        std::string_view name;
        std::string_view value;
        if (!TakeText(encoded, name) || !TakeText(encoded, value)) break;
        if (!name.empty()) names.push_back(name);
    }
    return names;
}

bool EncodeAttribute(unsigned char tag, std::string_view name, std::string_view value, std::string& encoded) {
    if (tag < Tag::FirstValue || name.empty() || name.size() > longest || value.size() > longest)
        return false;
    encoded += static_cast<char>(tag);
    AppendText(encoded, name);
    AppendText(encoded, value);
    return true;
}

}  // namespace Corvix::Ipp
