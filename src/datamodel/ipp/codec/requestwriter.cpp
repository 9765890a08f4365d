#include "datamodel/ipp/codec/requestwriter.h"

#include <algorithm>
#include <cstring>

#include "datamodel/ipp/codec/attributetable.h"
#include "datamodel/ipp/codec/tags.h"

namespace Corvix::Ipp {
namespace {

constexpr int requestId = 100;

bool HasRoom(int length, std::size_t bytes) {
    return bytes <= static_cast<std::size_t>(attributePartLimit - std::min(length, attributePartLimit));
}

/// Puts bytes to the end of the request; whoever uses it has made sure that they fit.
class Output {
public:
    Output(unsigned char* buffer, int& length) : buffer_(buffer), length_(length) {}

    Output& Byte(unsigned value) {
        buffer_[length_++] = static_cast<unsigned char>(value);
        return *this;
    }
    Output& Short(std::size_t value) {
        return Byte(static_cast<unsigned>(value >> 8) & 0xFF).Byte(static_cast<unsigned>(value) & 0xFF);
    }
    Output& Int(std::int32_t value) {
        const auto bits = static_cast<std::uint32_t>(value);
        return Short(bits >> 16).Short(bits & 0xFFFF);
    }
    Output& Bytes(std::string_view bytes) {
        if (!bytes.empty()) std::memcpy(buffer_ + length_, bytes.data(), bytes.size());
        length_ += static_cast<int>(bytes.size());
        return *this;
    }
    Output& Text(std::string_view text) { return Short(text.size()).Bytes(text); }
    Output& Value(unsigned char tag, std::string_view name, std::size_t valueLength) {
        return Byte(tag).Text(name).Short(valueLength);
    }

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
    Output(buffer, length).Value(tag, name, value.size()).Bytes(value);
    return Written;
}

int AddStringsToIPPRequest(unsigned char* buffer, int& length, unsigned char tag, std::string_view name,
                           std::string_view list) {
    const auto elements = static_cast<std::size_t>(std::count(list.begin(), list.end(), ',')) + 1;
    if (const int refused = Check(length, name, 2 * elements + 3 + name.size() + list.size())) return refused;
    Output output(buffer, length);
    for (std::size_t begin = 0, left = elements; left > 0; --left) {
        const std::size_t end = std::min(list.find(',', begin), list.size());
        const std::string_view element = list.substr(begin, end - begin);
        output.Value(tag, begin == 0 ? name : std::string_view(), element.size()).Bytes(element);
        begin = end + 1;
    }
    return Written;
}

int AddIntegerToIPPRequest(unsigned char* buffer, int& length, unsigned char tag, std::string_view name,
                           std::int32_t value) {
    if (const int refused = Check(length, name, 9 + name.size())) return refused;
    Output(buffer, length).Value(tag, name, 4).Int(value);
    return Written;
}

int AddBooleanToIPPRequest(unsigned char* buffer, int& length, std::string_view name, unsigned char value) {
    if (const int refused = Check(length, name, 6 + name.size())) return refused;
    Output(buffer, length).Value(Tag::Boolean, name, 1).Byte(value);
    return Written;
}

int AddRangeToIPPRequest(unsigned char* buffer, int& length, std::string_view name, std::int32_t lower,
                         std::int32_t upper) {
    if (const int refused = Check(length, name, 13 + name.size())) return refused;
    Output(buffer, length).Value(Tag::RangeOfInteger, name, 8).Int(lower).Int(upper);
    return Written;
}

int AddResolutionToIPPRequest(unsigned char* buffer, int& length, std::string_view name, unsigned char units,
                              std::int32_t crossFeed, std::int32_t feed) {
    if (const int refused = Check(length, name, 14 + name.size())) return refused;
    Output(buffer, length).Value(Tag::Resolution, name, 9).Int(crossFeed).Int(feed).Byte(units);
    return Written;
}

int AddAttributeBasedOnType(unsigned char* buffer, int& length, std::string_view attributeName) {
    return AddStringToIPPRequest(buffer, length, GetTypeOfAttribute(attributeName), "requested-attributes",
                                 attributeName);
}

int AddEncodedAttributes(unsigned char* buffer, int& length, std::string_view bytes) {
    if (!HasRoom(length, bytes.size())) return NoRoom;
    Output(buffer, length).Bytes(bytes);
    return Written;
}

int AddDelimiter(unsigned char* buffer, int& length, unsigned char tag) {
    if (!HasRoom(length, 1)) return NoRoom;
    Output(buffer, length).Byte(tag);
    return Written;
}

int AddHeader(unsigned char* buffer, int& length, int operation, std::string_view language,
              std::string_view printerUri) {
    if (!HasRoom(length, 9)) return NoRoom;
    const int wireOperation = operation == Operation::StreamedPrintJob ? Operation::PrintJob : operation;
    Output(buffer, length)
        .Byte(2)
        .Byte(0)
        .Short(static_cast<std::size_t>(wireOperation))
        .Int(requestId)
        .Byte(Tag::OperationAttributes);
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
