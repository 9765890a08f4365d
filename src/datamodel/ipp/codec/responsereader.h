/// Reads the body of a response.
#pragma once

#include <string_view>

#include "datamodel/ipp/codec/response.h"

namespace Corvix::Ipp {

struct ReadOptions {
    /// Stops at the header of a response whose status is neither 0 nor client-error-not-found: the latter
    /// still carries what was found.
    bool failOnErrorStatus = false;
};

/// Reads the body in one pass, in time linear to its length, whatever stands in it. Only responses of IPP 2.x
/// are read. On malformed bytes the response has a fault, and holds what was read before it.
Response ReadResponse(std::string_view body, ReadOptions options = {});

}  // namespace Corvix::Ipp
