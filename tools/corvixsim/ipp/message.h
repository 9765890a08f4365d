// IPP messages (RFC 8010), decoded and encoded without anything of the library.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "http/message.h"

namespace CorvixSim {

namespace IppTag {
constexpr uint8_t OperationAttributes = 0x01;
constexpr uint8_t JobAttributes = 0x02;
constexpr uint8_t EndOfAttributes = 0x03;
constexpr uint8_t PrinterAttributes = 0x04;
constexpr uint8_t UnsupportedAttributes = 0x05;
constexpr uint8_t FirstValueTag = 0x10;
constexpr uint8_t Unsupported = 0x10;
constexpr uint8_t Unknown = 0x12;
constexpr uint8_t NoValue = 0x13;
constexpr uint8_t Integer = 0x21;
constexpr uint8_t Boolean = 0x22;
constexpr uint8_t Enum = 0x23;
constexpr uint8_t OctetString = 0x30;
constexpr uint8_t DateTime = 0x31;
constexpr uint8_t Resolution = 0x32;
constexpr uint8_t RangeOfInteger = 0x33;
constexpr uint8_t BeginCollection = 0x34;
constexpr uint8_t EndCollection = 0x37;
constexpr uint8_t Text = 0x41;
constexpr uint8_t Name = 0x42;
constexpr uint8_t Keyword = 0x44;
constexpr uint8_t Uri = 0x45;
constexpr uint8_t UriScheme = 0x46;
constexpr uint8_t Charset = 0x47;
constexpr uint8_t NaturalLanguage = 0x48;
constexpr uint8_t MimeMediaType = 0x49;
constexpr uint8_t MemberName = 0x4a;
}  // namespace IppTag

enum class IppStatus : uint16_t {
    Ok = 0x0000,
    OkIgnoredOrSubstituted = 0x0001,
    BadRequest = 0x0400,
    NotPossible = 0x0404,
    NotFound = 0x0406,
    RequestEntityTooLarge = 0x0408,
    DocumentFormatNotSupported = 0x040a,
    AttributesOrValuesNotSupported = 0x040b,
    UriSchemeNotSupported = 0x040c,
    CharsetNotSupported = 0x040d,
    CompressionNotSupported = 0x040f,
    InternalError = 0x0500,
    OperationNotSupported = 0x0501,
    VersionNotSupported = 0x0503,
    NotAcceptingJobs = 0x0506,
    Busy = 0x0507,
    JobCanceled = 0x0508,
    MultipleDocumentJobsNotSupported = 0x0509,
};

struct IppAttribute;

/// A value as it lies on the wire; a collection has members instead of bytes.
struct IppValue {
    uint8_t tag = IppTag::NoValue;
    std::string bytes;
    std::vector<IppAttribute> members;

    /// The number of an integer, enum or boolean; 0 for anything else.
    int32_t Number() const;
};

struct IppAttribute {
    std::string name;
    std::vector<IppValue> values;
};

struct IppGroup {
    uint8_t tag = 0;
    std::vector<IppAttribute> attributes;

    const IppAttribute* Find(std::string_view name) const;
};

struct IppMessage {
    uint8_t major = 2;
    uint8_t minor = 0;
    uint16_t code = 0;  ///< operation or status
    uint32_t requestId = 0;
    std::vector<IppGroup> groups;

    /// The first group of this kind, or null.
    const IppGroup* Group(uint8_t tag) const;

    /// The first value of an operation attribute, or null.
    const IppValue* Operand(std::string_view name) const;

    /// The bytes of the first value of an operation attribute; empty without one.
    std::string OperandText(std::string_view name) const;
};

IppValue MakeNumber(uint8_t tag, int32_t number);
IppValue MakeBoolean(bool value);
IppAttribute NumberAttribute(uint8_t tag, std::string name, int32_t number);
IppAttribute TextAttribute(uint8_t tag, std::string name, std::string text);

/// A request that cannot be carried out: it is answered with the status.
class IppError : public std::runtime_error {
public:
    IppError(IppStatus status, const std::string& why) : std::runtime_error(why), status_(status) {}
    IppStatus Status() const { return status_; }

private:
    IppStatus status_;
};

/// The body of an IPP request: first the attributes, then the document's data.
class IppSource {
public:
    explicit IppSource(HttpBody& body) : body_(body) {}

    /// Exactly `count` bytes of the attributes. Throws IppError when the body ends before or they are too
    /// many.
    std::string Take(size_t count);

    /// The next bytes of the document; 0 at its end.
    size_t ReadDocument(char* buffer, size_t size);

private:
    HttpBody& body_;
    std::string buffer_;
    size_t next_ = 0;
    size_t taken_ = 0;
};

/// Reads a request's version, operation and id, and then its attributes, into `request`. Throws IppError for
/// what is not encoded as it should be; then `request` holds what was read before.
void ReadIppRequest(IppSource& source, IppMessage& request);

std::string EncodeIppMessage(const IppMessage& message);

}  // namespace CorvixSim
