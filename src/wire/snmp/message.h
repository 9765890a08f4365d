/// SNMP messages of versions 1 and 2c, written and read by managers and agents alike. Knows no sockets.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wire/snmp/ber.h"

namespace Corvix::Snmp {

/// The tags of the values that SNMP adds to the universal ones.
namespace Tag {
constexpr Ber::Tag IpAddress = 0x40;
constexpr Ber::Tag Counter32 = 0x41;
constexpr Ber::Tag Gauge32 = 0x42;
constexpr Ber::Tag TimeTicks = 0x43;
constexpr Ber::Tag Opaque = 0x44;
constexpr Ber::Tag Counter64 = 0x46;
constexpr Ber::Tag NoSuchObject = 0x80;
constexpr Ber::Tag NoSuchInstance = 0x81;
constexpr Ber::Tag EndOfMibView = 0x82;
}  // namespace Tag

namespace ErrorStatus {
constexpr std::int32_t NoError = 0;
constexpr std::int32_t TooBig = 1;
constexpr std::int32_t NoSuchName = 2;
constexpr std::int32_t BadValue = 3;
constexpr std::int32_t ReadOnly = 4;
constexpr std::int32_t GenErr = 5;
constexpr std::int32_t NoAccess = 6;
constexpr std::int32_t WrongType = 7;
constexpr std::int32_t WrongLength = 8;
constexpr std::int32_t WrongEncoding = 9;
constexpr std::int32_t WrongValue = 10;
constexpr std::int32_t AuthorizationError = 16;
constexpr std::int32_t NotWritable = 17;
}  // namespace ErrorStatus

/// The numbers are those on the wire.
enum class Version : std::int32_t { V1 = 0, V2c = 1 };

/// GetBulk is of version 2c only.
enum class PduType : Ber::Tag { Get = 0xA0, GetNext = 0xA1, Response = 0xA2, Set = 0xA3, GetBulk = 0xA5 };

/// A value as it stands on the wire.
struct Value {
    Ber::Tag tag = Ber::Null;
    std::string content;
};

/// An object and its value.
struct VarBind {
    Oid oid;
    Value value;
};

struct Message {
    Version version = Version::V2c;
    std::string community;
    PduType type = PduType::Get;
    std::int32_t requestId = 0;
    std::int32_t errorStatus = 0;  ///< of a GetBulk: the number of non-repeaters
    std::int32_t errorIndex = 0;   ///< of a GetBulk: the number of repetitions
    std::vector<VarBind> variables;
};

std::string Encode(const VarBind& variable);
std::string Encode(const Message& message);

/// Reads one datagram. Nothing when it is not a whole, well-formed message of a version and a type known
/// here; bytes after the message are ignored, since some agents pad.
std::optional<Message> DecodeMessage(std::string_view datagram);

}  // namespace Corvix::Snmp
