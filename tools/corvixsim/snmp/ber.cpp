#include "snmp/ber.h"

#include <algorithm>

#include "base/text.h"

namespace CorvixSim {
namespace {

constexpr size_t kMaxArcs = 128;

void AppendArc(std::string& content, uint64_t arc) {
    std::string bytes;
    do {
        bytes += static_cast<char>((arc & 0x7f) | (bytes.empty() ? 0 : 0x80));
        arc >>= 7;
    } while (arc != 0);
    content.append(bytes.rbegin(), bytes.rend());
}

}  // namespace

uint8_t BerReader::ReadByte() {
    if (rest_.empty()) throw BerError("the bytes end too early");
    const uint8_t byte = static_cast<uint8_t>(rest_.front());
    rest_.remove_prefix(1);
    return byte;
}

size_t BerReader::ReadLength() {
    const uint8_t first = ReadByte();
    if (first < 0x80) return first;
    const int count = first & 0x7f;
    if (count == 0 || count > 4) throw BerError("not a length");
    size_t length = 0;
    for (int i = 0; i < count; ++i)
        length = length << 8 | ReadByte();
    return length;
}

BerReader::Element BerReader::Read() {
    const uint8_t tag = ReadByte();
    const size_t length = ReadLength();
    if (length > rest_.size()) throw BerError("an element is longer than what holds it");
    const std::string_view content = rest_.substr(0, length);
    rest_.remove_prefix(length);
    return {tag, content};
}

std::string_view BerReader::Read(uint8_t tag) {
    const Element element = Read();
    if (element.tag != tag) throw BerError("an element of another type than expected");
    return element.content;
}

int64_t BerReader::ReadInteger(uint8_t tag) { return DecodeInteger(Read(tag)); }

int64_t DecodeInteger(std::string_view content) {
    if (content.empty() || content.size() > 8) throw BerError("not an integer");
    // Starting from the sign in all bits keeps it, whatever the number of bytes.
    uint64_t number = (content.front() & 0x80) != 0 ? UINT64_MAX : 0;
    for (const char c : content)
        number = number << 8 | static_cast<uint8_t>(c);
    return static_cast<int64_t>(number);
}

uint64_t DecodeUnsigned(std::string_view content) {
    if (content.size() == 9 && content.front() == 0) content.remove_prefix(1);
    if (content.empty() || content.size() > 8) throw BerError("not an unsigned integer");
    uint64_t number = 0;
    for (const char c : content)
        number = number << 8 | static_cast<uint8_t>(c);
    return number;
}

Oid DecodeOid(std::string_view content) {
    Oid oid;
    uint64_t arc = 0;
    bool inArc = false;
    for (const char c : content) {
        arc = arc << 7 | (c & 0x7f);
        inArc = (c & 0x80) != 0;
        if (arc > UINT32_MAX || oid.size() >= kMaxArcs) throw BerError("an OID is too large");
        if (inArc) continue;
        if (oid.empty()) {
            const uint64_t top = std::min<uint64_t>(arc / 40, 2);
            oid.push_back(static_cast<uint32_t>(top));
            arc -= top * 40;
        }
        oid.push_back(static_cast<uint32_t>(arc));
        arc = 0;
    }
    if (inArc || oid.empty()) throw BerError("an OID breaks off");
    return oid;
}

std::string EncodeElement(uint8_t tag, std::string_view content) {
    std::string bytes(1, static_cast<char>(tag));
    if (content.size() < 0x80) {
        bytes += static_cast<char>(content.size());
    } else {
        const std::string length = EncodeUnsigned(content.size());
        const std::string digits = length.front() == 0 ? length.substr(1) : length;
        bytes += static_cast<char>(0x80 | digits.size());
        bytes += digits;
    }
    return bytes.append(content);
}

std::string EncodeInteger(int64_t number) {
    std::string bytes;
    for (int shift = 56; shift >= 0; shift -= 8)
        bytes += static_cast<char>(number >> shift);
    // A leading byte that only repeats the sign is left out.
    size_t start = 0;
    while (start < 7 && (bytes[start] == 0 || bytes[start] == '\xff') &&
           ((bytes[start] ^ bytes[start + 1]) & 0x80) == 0) {
        ++start;
    }
    return bytes.substr(start);
}

std::string EncodeUnsigned(uint64_t number) {
    if (number <= INT64_MAX) return EncodeInteger(static_cast<int64_t>(number));
    return '\0' + EncodeInteger(static_cast<int64_t>(number));
}

std::string EncodeOid(const Oid& oid) {
    if (oid.size() < 2) return std::string(1, '\0');
    std::string content;
    AppendArc(content, uint64_t{oid[0]} * 40 + oid[1]);
    for (size_t i = 2; i < oid.size(); ++i)
        AppendArc(content, oid[i]);
    return content;
}

std::optional<Oid> ParseOid(std::string_view text) {
    if (!text.empty() && text.front() == '.') text.remove_prefix(1);
    Oid oid;
    for (const std::string_view part : Split(text, '.')) {
        const auto arc = ParseNumber(part, UINT32_MAX);
        if (!arc || oid.size() == kMaxArcs) return std::nullopt;
        oid.push_back(static_cast<uint32_t>(*arc));
    }
    if (oid.empty()) return std::nullopt;
    return oid;
}

std::string FormatOid(const Oid& oid) {
    std::string text;
    for (const uint32_t arc : oid)
        text += (text.empty() ? "" : ".") + std::to_string(arc);
    return text;
}

}  // namespace CorvixSim
