#include "wire/ipp/encodedattributes.h"

#include "wire/ipp/messagewriter.h"

namespace Corvix::Ipp {

std::vector<std::string_view> NamesOfAttributes(std::string_view encoded) {
    std::vector<std::string_view> names;
    while (!encoded.empty()) {
        const auto tag = static_cast<unsigned char>(encoded.front());
        encoded.remove_prefix(1);
        if (tag < Tag::FirstValue) continue;
        std::string_view name;
        std::string_view value;
        if (!TakeSized(encoded, name) || !TakeSized(encoded, value)) break;
        if (!name.empty()) names.push_back(name);
    }
    return names;
}

bool EncodeAttribute(unsigned char tag, std::string_view name, std::string_view value, std::string& encoded) {
    constexpr std::size_t longest = 1023;
    if (tag < Tag::FirstValue || name.empty() || name.size() > longest || value.size() > longest)
        return false;
    MessageWriter(encoded).Octets(tag, name, value);
    return true;
}

}  // namespace Corvix::Ipp
