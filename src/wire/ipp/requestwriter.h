/// Writes the attributes of a request, byte for byte.
///
/// Every writer takes the buffer and the running length, which it advances by exactly the bytes that it
/// wrote. Texts are UTF-8; a null view (a default-constructed one) is a text that is not there.
#pragma once

#include <cstdint>
#include <string_view>

namespace Corvix::Ipp {

/// What a writer returns.
enum WriteResult : int {
    Written = 0,
    NoRoom = 1,      ///< the attribute part would grow past its limit; nothing was written
    EmptyName = -1,  ///< nothing was written
};

/// The attribute part of a request, its end tag included, is never longer.
constexpr int attributePartLimit = 2048;

/// The writer of lists checks two bytes for each element where it writes up to five, so it may pass the limit
/// (the end tag then no longer fits, and the request fails). Every buffer handed to a writer has this size.
constexpr int attributePartCapacity = 2 * attributePartLimit;

/// One value. A null name writes none, which makes it a further value of the attribute before it.
int AddStringToIPPRequest(unsigned char* buffer, int& length, unsigned char tag, std::string_view name,
                          std::string_view value);

/// A set of values from a comma-separated list; an empty element is a value of length 0.
int AddStringsToIPPRequest(unsigned char* buffer, int& length, unsigned char tag, std::string_view name,
                           std::string_view list);

int AddIntegerToIPPRequest(unsigned char* buffer, int& length, unsigned char tag, std::string_view name,
                           std::int32_t value);

int AddBooleanToIPPRequest(unsigned char* buffer, int& length, std::string_view name, unsigned char value);

int AddRangeToIPPRequest(unsigned char* buffer, int& length, std::string_view name, std::int32_t lower,
                         std::int32_t upper);

int AddResolutionToIPPRequest(unsigned char* buffer, int& length, std::string_view name, unsigned char units,
                              std::int32_t crossFeed, std::int32_t feed);

/// A "requested-attributes" value, written with the tag of the attribute that it names.
int AddAttributeBasedOnType(unsigned char* buffer, int& length, std::string_view attributeName);

/// Attributes that a caller encoded itself, with group delimiters of their own if need be.
int AddIPPAttributesToIPPHeader(unsigned char* buffer, int& length, std::string_view attributes);

/// A group delimiter.
int AddDelimiter(unsigned char* buffer, int& length, unsigned char tag);

/// Version 2.0, the operation, the request id (the same for every request: answers are not told apart by it),
/// and the beginning of the operation group.
int AddHeader(unsigned char* buffer, int& length, int operation, std::string_view language,
              std::string_view printerUri);

}  // namespace Corvix::Ipp
