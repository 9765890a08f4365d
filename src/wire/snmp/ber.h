/// The Basic Encoding Rules, as far as SNMP uses them. Bytes travel as std::string. Pure C++.
///
/// The writer encodes as short as possible. The reader takes what agents really send: lengths and integers
/// with needless leading octets are read, whatever would point outside the bytes at hand is refused.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Corvix::Snmp {

/// The arcs of an object identifier.
using Oid = std::vector<std::uint32_t>;

/// "1.3.6.1" to its arcs; a leading dot is allowed. Nothing for a text that is no object identifier of at
/// least two and at most 128 arcs.
std::optional<Oid> ParseOid(std::string_view text);
/// The same for a part of an identifier, such as the index of a row: one arc is enough, and any may come first.
std::optional<Oid> ParseArcs(std::string_view text);
std::string FormatOid(const Oid& oid);

namespace Ber {

using Tag = std::uint8_t;
constexpr Tag Integer = 0x02;
constexpr Tag OctetString = 0x04;
constexpr Tag Null = 0x05;
constexpr Tag ObjectIdentifier = 0x06;
constexpr Tag Sequence = 0x30;

struct Element {
    Tag tag = 0;
    std::string_view content;
};

/// Takes element after element off some bytes, which it does not own.
class Reader {
public:
    explicit Reader(std::string_view bytes) : rest_(bytes) {}

    bool AtEnd() const { return rest_.empty(); }
    /// The next element; nothing, and no progress, when the bytes do not hold a whole one.
    std::optional<Element> Next();
    /// The content of the next element; nothing when that has another tag.
    std::optional<std::string_view> Next(Tag tag);
    /// The next element as an INTEGER of 32 bits.
    std::optional<std::int32_t> NextInteger();

private:
    std::optional<size_t> TakeLength();
    std::optional<std::uint8_t> TakeOctet();

    std::string_view rest_;
};

/// A two's complement number of any length whose value fits.
std::optional<std::int64_t> DecodeInteger(std::string_view content);
/// A number without sign. A set top bit counts as part of the number, because agents forget the leading zero.
std::optional<std::uint64_t> DecodeUnsigned(std::string_view content);
/// An empty content is 0.0, as agents without a value for an identifier send it.
std::optional<Oid> DecodeOid(std::string_view content);

std::string Encode(Tag tag, std::string_view content);
/// The shortest two's complement of the number.
std::string IntegerContent(std::int64_t number);
/// The same for a number without sign: a leading zero keeps a set top bit from being one.
std::string UnsignedContent(std::uint64_t number);
/// One of fewer than two arcs is written as 0.0.
std::string OidContent(const Oid& oid);
std::string EncodeInteger(std::int64_t number);
std::string EncodeOid(const Oid& oid);

}  // namespace Ber
}  // namespace Corvix::Snmp
