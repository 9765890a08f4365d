// The part of ASN.1's Basic Encoding Rules that SNMP uses.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace CorvixSim {

using Oid = std::vector<uint32_t>;

/// Bytes that are not what they should be.
class BerError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Takes elements off the front of some bytes. Every operation throws BerError for bytes that do not fit.
class BerReader {
public:
    explicit BerReader(std::string_view bytes) : rest_(bytes) {}

    bool AtEnd() const { return rest_.empty(); }

    struct Element {
        uint8_t tag;
        std::string_view content;
    };
    Element Read();

    /// The content of the next element, which must have this tag.
    std::string_view Read(uint8_t tag);
    int64_t ReadInteger(uint8_t tag);

private:
    uint8_t ReadByte();
    size_t ReadLength();

    std::string_view rest_;
};

int64_t DecodeInteger(std::string_view content);
uint64_t DecodeUnsigned(std::string_view content);
Oid DecodeOid(std::string_view content);

std::string EncodeElement(uint8_t tag, std::string_view content);
std::string EncodeInteger(int64_t number);
std::string EncodeUnsigned(uint64_t number);

/// The content of an OID; one of a single arc or none is written as 0.0.
std::string EncodeOid(const Oid& oid);

/// "1.3.6.1"; a leading dot is allowed. Nothing for a text that is no OID.
std::optional<Oid> ParseOid(std::string_view text);
std::string FormatOid(const Oid& oid);

}  // namespace CorvixSim
