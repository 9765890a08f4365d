/// Attributes that travel as encoded bytes: how a caller's own attributes come into a request.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Corvix::Ipp {

/// The names of encoded attributes outside collections. Bytes that can't be read end the list.
std::vector<std::string_view> NamesOfAttributes(std::string_view encoded);

/// Encodes one attribute of one value. \return false, with nothing written, for an empty name, a name or
/// value longer than 1023 bytes, or a tag that is no value's.
bool EncodeAttribute(unsigned char tag, std::string_view name, std::string_view value, std::string& encoded);

}  // namespace Corvix::Ipp
