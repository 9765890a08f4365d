// IPP attributes as the simulated printer keeps them, to be changed and put together at will.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "wire/ipp/tags.h"
#include "wire/ipp/value.h"

namespace CorvixSim {

namespace Ipp = Corvix::Ipp;

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

/// A request that cannot be carried out: it is answered with the status.
class IppError : public std::runtime_error {
public:
    IppError(IppStatus status, const std::string& why) : std::runtime_error(why), status_(status) {}
    IppStatus Status() const { return status_; }

private:
    IppStatus status_;
};

/// Throws IppError unless the condition holds.
inline void Demand(bool condition, IppStatus status, const std::string& otherwise) {
    if (!condition) throw IppError(status, otherwise);
}

struct IppAttribute;

/// A value as it lies on the wire; a collection has members instead of bytes.
struct IppValue {
    uint8_t tag = Ipp::Tag::NoValue;
    std::string bytes;
    std::vector<IppAttribute> members;

    /// The number of an integer, enum or boolean; 0 for anything else.
    int32_t Number() const { return Ipp::Decode({tag, bytes}).number; }
};

struct IppAttribute {
    std::string name;
    std::vector<IppValue> values;
};

struct IppGroup {
    uint8_t tag = 0;
    std::vector<IppAttribute> attributes;

    const IppAttribute* Find(std::string_view name) const {
        for (const IppAttribute& attribute : attributes) {
            if (attribute.name == name) return &attribute;
        }
        return nullptr;
    }
};

}  // namespace CorvixSim
