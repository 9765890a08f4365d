/// How values stand in a body, for those who read it.
#pragma once

#include <cstdint>
#include <string_view>

#include "datamodel/ipp/codec/tags.h"

namespace Corvix::Ipp {

inline std::uint32_t LoadShort(const char* bytes) {
    const auto* octets = reinterpret_cast<const unsigned char*>(bytes);
    return static_cast<std::uint32_t>(octets[0]) << 8 | octets[1];
}

inline std::uint32_t LoadInt(const char* bytes) { return LoadShort(bytes) << 16 | LoadShort(bytes + 2); }

/// What becomes of a value.
enum class Handling : unsigned char { Skip, Keep, OpenCollection, CloseCollection, NameMember };

struct TagRule {
    Handling handling;
    std::uint16_t shortest;
    std::uint16_t longest;
    const char* reason;  ///< said when the length is another
};

/// The rule of a value's tag.
const TagRule& RuleOf(unsigned char tag);

}  // namespace Corvix::Ipp
