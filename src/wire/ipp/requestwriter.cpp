#include "wire/ipp/requestwriter.h"

#include <algorithm>
#include <cstring>

#include "wire/ipp/attributetable.h"
#include "wire/ipp/messagewriter.h"

namespace Corvix::Ipp {
namespace {

constexpr std::uint32_t requestId = 100;

bool HasRoom(int length, std::size_t bytes) {
    return bytes <= static_cast<std::size_t>(attributePartLimit - std::min(length, attributePartLimit));
}

/// Where a message writer puts its bytes: whoever writes has made sure that they fit.
class Area {
public:
    Area(unsigned char* buffer, int& length) : buffer_(buffer), length_(length) {}
    void append(const char* bytes, std::size_t size) {
        if (size > 0) std::memcpy(buffer_ + length_, bytes, size);
        length_ += static_cast<int>(size);
    }
    BasicMessageWriter<Area> Write() { return BasicMessageWriter<Area>(*this); }

private:
    unsigned char* buffer_;
    int& length_;
};

bool IsNull(std::string_view text) { return text.data() == nullptr; }

/// What stands in the way of an attribute of this name and so many bytes in all.
int Check(int length, std::string_view name, std::size_t bytes) {
    if (name.empty()) return EmptyName;
    return HasRoom(length, bytes) ? Written : NoRoom;
}

}  // namespace

int AddStringToIPPRequest(unsigned char* buffer, int& length, unsigned char tag, std::string_view name,
                          std::string_view value) {
    if (name.empty() && !IsNull(name)) return EmptyName;
    if (!HasRoom(length, 5 + name.size() + value.size())) return NoRoom;
    Area(buffer, length).Write().Octets(tag, name, value);
    return Written;
}

int AddStringsToIPPRequest(unsigned char* buffer, int& length, unsigned char tag, std::string_view name,
                           std::string_view list) {
    const auto elements = static_cast<std::size_t>(std::count(list.begin(), list.end(), ',')) + 1;
    if (const int refused = Check(length, name, 2 * elements + 3 + name.size() + list.size())) return refused;
    Area area(buffer, length);
    for (std::size_t begin = 0, left = elements; left > 0; --left) {
        const std::size_t end = std::min(list.find(',', begin), list.size());
        area.Write().Octets(tag, begin == 0 ? name : std::string_view(), list.substr(begin, end - begin));
        begin = end + 1;
    }
    return Written;
}

int AddIntegerToIPPRequest(unsigned char* buffer, int& length, unsigned char tag, std::string_view name,
                           std::int32_t value) {
    if (const int refused = Check(length, name, 9 + name.size())) return refused;
    Area(buffer, length).Write().Integer(tag, name, value);
    return Written;
}

int AddBooleanToIPPRequest(unsigned char* buffer, int& length, std::string_view name, unsigned char value) {
    if (const int refused = Check(length, name, 6 + name.size())) return refused;
    Area(buffer, length).Write().Boolean(name, value);
    return Written;
}

int AddRangeToIPPRequest(unsigned char* buffer, int& length, std::string_view name, std::int32_t lower,
                         std::int32_t upper) {
    if (const int refused = Check(length, name, 13 + name.size())) return refused;
    Area(buffer, length).Write().Range(name, {lower, upper});
    return Written;
}

int AddResolutionToIPPRequest(unsigned char* buffer, int& length, std::string_view name, unsigned char units,
                              std::int32_t crossFeed, std::int32_t feed) {
    if (const int refused = Check(length, name, 14 + name.size())) return refused;
    Area(buffer, length).Write().Resolution(name, {crossFeed, feed, units});
    return Written;
}

int AddAttributeBasedOnType(unsigned char* buffer, int& length, std::string_view attributeName) {
    return AddStringToIPPRequest(buffer, length, GetTypeOfAttribute(attributeName), "requested-attributes",
                                 attributeName);
}

int AddIPPAttributesToIPPHeader(unsigned char* buffer, int& length, std::string_view attributes) {
    if (!HasRoom(length, attributes.size())) return NoRoom;
    Area(buffer, length).append(attributes.data(), attributes.size());
    return Written;
}

int AddDelimiter(unsigned char* buffer, int& length, unsigned char tag) {
    if (!HasRoom(length, 1)) return NoRoom;
    Area(buffer, length).Write().Group(tag);
    return Written;
}

int AddHeader(unsigned char* buffer, int& length, int operation, std::string_view language,
              std::string_view printerUri) {
    if (!HasRoom(length, 9)) return NoRoom;
    const int wireOperation = operation == Operation::StreamedPrintJob ? Operation::PrintJob : operation;
    MessageHeader header;
    header.code = static_cast<std::uint16_t>(wireOperation);
    header.requestId = requestId;
    Area(buffer, length).Write().Header(header).Group(Tag::OperationAttributes);
    if (const int refused =
            AddStringToIPPRequest(buffer, length, Tag::Charset, "attributes-charset", "utf-8"))
        return refused;
    if (const int refused =
            AddStringToIPPRequest(buffer, length, Tag::NaturalLanguage, "attributes-natural-language",
                                  language.empty() ? "en" : language))
        return refused;
    // These two name the job that they are about instead.
    if (operation == Operation::CancelJob || operation == Operation::GetJobAttributes) return Written;
    return AddStringToIPPRequest(buffer, length, Tag::Uri, "printer-uri", printerUri);
}

}  // namespace Corvix::Ipp
