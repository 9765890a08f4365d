/// Values as they stand in a message, and what they mean.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "corvixdm/ippvalue.h"

namespace Corvix::Ipp {

inline std::uint32_t LoadShort(const char* bytes) {
    const auto* octets = reinterpret_cast<const unsigned char*>(bytes);
    return static_cast<std::uint32_t>(octets[0]) << 8 | octets[1];
}

inline std::uint32_t LoadInt(const char* bytes) { return LoadShort(bytes) << 16 | LoadShort(bytes + 2); }

/// Takes a text that follows its two-byte length off the front. \return false, with nothing taken, when there
/// are fewer bytes than announced.
bool TakeSized(std::string_view& bytes, std::string_view& text);

/// One value of a message that was read: its length is one that its tag allows. The bytes are the message's.
struct RawValue {
    unsigned char tag = 0;
    std::string_view bytes;
    std::uint32_t end = 0;  ///< the byte of the body behind it; where the members of a collection begin
};

/// The value by its type. A text with a language whose two lengths do not fill it is of the kind Other.
IPPValue Decode(const RawValue& value);

/// Appends the value as text: a number in decimal, a range as "1-9", a resolution as "600x300dpi", an octet
/// string as the list that devices put into one, all else as its bytes.
void AppendText(std::string& text, const RawValue& value);

}  // namespace Corvix::Ipp
