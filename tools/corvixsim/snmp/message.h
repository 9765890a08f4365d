// SNMP messages of versions 1 and 2c.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "snmp/ber.h"

namespace CorvixSim {

enum class SnmpVersion : int64_t { V1 = 0, V2c = 1 };

enum class PduType : uint8_t { Get = 0xa0, GetNext = 0xa1, Response = 0xa2, Set = 0xa3, GetBulk = 0xa5 };

namespace SnmpTag {
constexpr uint8_t Integer = 0x02;
constexpr uint8_t OctetString = 0x04;
constexpr uint8_t Null = 0x05;
constexpr uint8_t ObjectId = 0x06;
constexpr uint8_t Sequence = 0x30;
constexpr uint8_t IpAddress = 0x40;
constexpr uint8_t Counter32 = 0x41;
constexpr uint8_t Gauge32 = 0x42;
constexpr uint8_t TimeTicks = 0x43;
constexpr uint8_t Opaque = 0x44;
constexpr uint8_t Counter64 = 0x46;
constexpr uint8_t NoSuchObject = 0x80;
constexpr uint8_t NoSuchInstance = 0x81;
constexpr uint8_t EndOfMibView = 0x82;
}  // namespace SnmpTag

enum class SnmpError : int32_t {
    None = 0,
    TooBig = 1,
    NoSuchName = 2,
    BadValue = 3,
    ReadOnly = 4,
    GenErr = 5,
    NoAccess = 6,
    WrongType = 7,
    WrongValue = 10,
    NotWritable = 17,
};

/// A value as it lies on the wire.
struct SnmpValue {
    uint8_t tag = SnmpTag::Null;
    std::string content;
};

struct VarBind {
    Oid oid;
    SnmpValue value;
};

struct SnmpMessage {
    SnmpVersion version = SnmpVersion::V1;
    std::string community;
    PduType type = PduType::Get;
    int64_t requestId = 0;
    int64_t errorStatus = 0;  ///< of a GetBulk: the number of non-repeaters
    int64_t errorIndex = 0;   ///< of a GetBulk: the number of repetitions
    std::vector<VarBind> bindings;
};

/// Throws BerError for bytes that are not a request of these versions.
SnmpMessage DecodeRequest(std::string_view datagram);

std::string EncodeMessage(const SnmpMessage& message);
std::string EncodeBinding(const VarBind& binding);

/// "get", "getnext", "getbulk" or "set".
const char* NameOf(PduType type);

}  // namespace CorvixSim
