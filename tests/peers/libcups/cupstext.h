// What our library should answer for an attribute, worked out from libcups' own reading.
#pragma once

#include <map>
#include <string>

#include "support/libcups.h"

namespace Corvix::Testing {

/// The texts of an attribute and of everything that a dotted path reaches in it, by name; absent where all
/// its values are of kinds that are not kept.
std::map<std::string, std::string> ExpectedTexts(ipp_attribute_t* attribute);

}  // namespace Corvix::Testing
