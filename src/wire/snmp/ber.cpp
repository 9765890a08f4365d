#include "wire/snmp/ber.h"

#include <charconv>
#include <limits>

namespace Corvix::Snmp {
namespace {

constexpr size_t maxArcs = 128;

std::uint8_t OctetAt(std::string_view bytes, size_t index) { return static_cast<std::uint8_t>(bytes[index]); }

/// The first two arcs share one sub-identifier, which limits them.
bool HasEncodableRoot(const Oid& oid) {
    if (oid.size() < 2 || oid[0] > 2) return false;
    if (oid[0] < 2) return oid[1] < 40;
    return oid[1] <= std::numeric_limits<std::uint32_t>::max() - 80;
}

std::optional<std::uint32_t> TakeArc(std::string_view& text) {
    std::uint32_t arc = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), arc);
    if (error != std::errc()) return std::nullopt;
    text.remove_prefix(static_cast<size_t>(end - text.data()));
    return arc;
}

/// Takes one sub-identifier of seven bits an octet off the content.
std::optional<std::uint32_t> TakeSubIdentifier(std::string_view& content) {
    std::uint64_t number = 0;
    while (!content.empty()) {
        const std::uint8_t octet = OctetAt(content, 0);
        content.remove_prefix(1);
        number = number << 7 | (octet & 0x7Fu);
        if (number > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
        if ((octet & 0x80u) == 0) return static_cast<std::uint32_t>(number);
    }
    return std::nullopt;
}

/// The first sub-identifier holds two arcs: 40 times the first, which is at most 2, plus the second.
void AppendRoot(Oid& oid, std::uint32_t first) {
    const std::uint32_t root = first < 80 ? first / 40 : 2;
    oid.push_back(root);
    oid.push_back(first - root * 40);
}

void AppendSubIdentifier(std::string& content, std::uint32_t arc) {
    for (unsigned shift = 28; shift > 0; shift -= 7) {
        if (arc >> shift != 0) content.push_back(static_cast<char>((arc >> shift & 0x7Fu) | 0x80u));
    }
    content.push_back(static_cast<char>(arc & 0x7Fu));
}

/// The short form below 128, else the number of octets and then the octets.
std::string EncodeLength(size_t length) {
    if (length < 0x80) return std::string(1, static_cast<char>(length));
    std::string octets;
    for (; length != 0; length >>= 8)
        octets.insert(octets.begin(), static_cast<char>(length & 0xFF));
    octets.insert(octets.begin(), static_cast<char>(0x80 | octets.size()));
    return octets;
}

}  // namespace

std::optional<Oid> ParseArcs(std::string_view text) {
    if (!text.empty() && text.front() == '.') text.remove_prefix(1);
    Oid oid;
    for (;;) {
        const std::optional<std::uint32_t> arc = TakeArc(text);
        if (!arc || oid.size() == maxArcs) return std::nullopt;
        oid.push_back(*arc);
        if (text.empty()) return oid;
        if (text.front() != '.') return std::nullopt;
        text.remove_prefix(1);
    }
}

std::optional<Oid> ParseOid(std::string_view text) {
    std::optional<Oid> oid = ParseArcs(text);
    if (oid && !HasEncodableRoot(*oid)) return std::nullopt;
    return oid;
}

std::string FormatOid(const Oid& oid) {
    std::string text;
    for (const std::uint32_t arc : oid) {
        if (!text.empty()) text += '.';
        text += std::to_string(arc);
    }
    return text;
}

namespace Ber {

std::optional<std::uint8_t> Reader::TakeOctet() {
    if (rest_.empty()) return std::nullopt;
    const std::uint8_t octet = OctetAt(rest_, 0);
    rest_.remove_prefix(1);
    return octet;
}

std::optional<size_t> Reader::TakeLength() {
    const std::optional<std::uint8_t> first = TakeOctet();
    if (!first || *first < 0x80) return first;
    const unsigned octets = *first & 0x7Fu;
    // 0x80 is the indefinite length, which SNMP rules out.
    if (octets == 0) return std::nullopt;
    size_t length = 0;
    // Any number of leading zeros is read; a length beyond 32 bits points outside of every datagram.
    for (unsigned i = 0; i < octets; ++i) {
        const std::optional<std::uint8_t> octet = TakeOctet();
        if (!octet || length > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
        length = length << 8 | *octet;
    }
    return length;
}

std::optional<Element> Reader::Next() {
    // Read from a copy, so that an element that is not whole leaves the place as it is.
    Reader ahead = *this;
    const std::optional<std::uint8_t> tag = ahead.TakeOctet();
    // Tag numbers of several octets do not occur in SNMP.
    if (!tag || (*tag & 0x1Fu) == 0x1Fu) return std::nullopt;
    const std::optional<size_t> length = ahead.TakeLength();
    if (!length || *length > ahead.rest_.size()) return std::nullopt;
    const Element element{*tag, ahead.rest_.substr(0, *length)};
    rest_ = ahead.rest_.substr(*length);
    return element;
}

std::optional<std::string_view> Reader::Next(Tag tag) {
    const Reader before = *this;
    const std::optional<Element> element = Next();
    if (element && element->tag == tag) return element->content;
    *this = before;
    return std::nullopt;
}

std::optional<std::int32_t> Reader::NextInteger() {
    const std::optional<std::string_view> content = Next(Integer);
    if (!content) return std::nullopt;
    const std::optional<std::int64_t> number = DecodeInteger(*content);
    if (!number || *number != static_cast<std::int32_t>(*number)) return std::nullopt;
    return static_cast<std::int32_t>(*number);
}

std::optional<std::int64_t> DecodeInteger(std::string_view content) {
    if (content.empty()) return std::nullopt;
    // Octets that only repeat the sign do not count; what is left must fit, sign included.
    const bool negative = OctetAt(content, 0) >= 0x80;
    const char fill = negative ? '\xFF' : '\0';
    while (content.size() > 8 && content.front() == fill)
        content.remove_prefix(1);
    if (content.size() > 8 || (OctetAt(content, 0) >= 0x80) != negative) return std::nullopt;
    std::uint64_t number = negative ? ~std::uint64_t{0} : 0;
    for (const char octet : content)
        number = number << 8 | static_cast<std::uint8_t>(octet);
    return static_cast<std::int64_t>(number);
}

std::optional<std::uint64_t> DecodeUnsigned(std::string_view content) {
    if (content.empty()) return std::nullopt;
    while (content.size() > 8 && content.front() == '\0')
        content.remove_prefix(1);
    if (content.size() > 8) return std::nullopt;
    std::uint64_t number = 0;
    for (const char octet : content)
        number = number << 8 | static_cast<std::uint8_t>(octet);
    return number;
}

std::optional<Oid> DecodeOid(std::string_view content) {
    if (content.empty()) return Oid{0, 0};
    Oid oid;
    while (!content.empty()) {
        const std::optional<std::uint32_t> number = TakeSubIdentifier(content);
        if (!number || oid.size() == maxArcs) return std::nullopt;
        if (oid.empty()) {
            AppendRoot(oid, *number);
        } else {
            oid.push_back(*number);
        }
    }
    return oid;
}

std::string Encode(Tag tag, std::string_view content) {
    std::string bytes(1, static_cast<char>(tag));
    bytes += EncodeLength(content.size());
    bytes += content;
    return bytes;
}

/// Stops as soon as the octets written so far hold the number and its sign.
std::string IntegerContent(std::int64_t number) {
    std::string content;
    bool more = true;
    while (more) {
        content.insert(content.begin(), static_cast<char>(number & 0xFF));
        const bool topBit = (number & 0x80) != 0;
        number >>= 8;
        more = number != (topBit ? -1 : 0);
    }
    return content;
}

std::string UnsignedContent(std::uint64_t number) {
    std::string content;
    do {
        content.insert(content.begin(), static_cast<char>(number & 0xFF));
        number >>= 8;
    } while (number != 0);
    // Without it the number would be read as a negative one.
    if (OctetAt(content, 0) >= 0x80) content.insert(content.begin(), '\0');
    return content;
}

std::string OidContent(const Oid& oid) {
    if (oid.size() < 2) return std::string(1, '\0');
    std::string content;
    AppendSubIdentifier(content, oid[0] * 40 + oid[1]);
    for (size_t i = 2; i < oid.size(); ++i)
        AppendSubIdentifier(content, oid[i]);
    return content;
}

std::string EncodeInteger(std::int64_t number) { return Encode(Integer, IntegerContent(number)); }

std::string EncodeOid(const Oid& oid) { return Encode(ObjectIdentifier, OidContent(oid)); }

}  // namespace Ber
}  // namespace Corvix::Snmp
