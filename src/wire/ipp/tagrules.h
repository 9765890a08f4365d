/// What the reader and the views of a message know about each value tag.
#pragma once

#include <cstdint>

#include "corvixdm/ippvalue.h"
#include "wire/ipp/tags.h"

namespace Corvix::Ipp {

/// How a value is read. Only those of HasText count for the joined text of an attribute: dates, texts with a
/// language, out-of-band and unknown values have always been passed over there.
enum class Handling : unsigned char { NoText, HasText, OpenCollection, CloseCollection, NameMember };

struct TagRule {
    Handling handling;
    IPPValueKind kind;
    std::uint16_t shortest;
    std::uint16_t longest;
    const char* reason;  ///< said when the length is another
};

/// The rule of a value's tag.
const TagRule& RuleOf(unsigned char tag);

}  // namespace Corvix::Ipp
