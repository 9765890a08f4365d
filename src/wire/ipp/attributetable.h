/// The attributes that the engine knows by name.
#pragma once

#include <string_view>

namespace Corvix::Ipp {

/// The value tag of an attribute, by a constant table of 110 names; one that it does not hold counts as a keyword.
unsigned char GetTypeOfAttribute(std::string_view name);

}  // namespace Corvix::Ipp
