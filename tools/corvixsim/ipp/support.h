// Whether the printer supports what a client wishes.
#pragma once

#include "ipp/attributetext.h"

namespace CorvixSim {

/// The attribute of this name in any of the groups, or null.
const IppAttribute* FindAttribute(const IppAttributeGroups& groups, const std::string& name);

/// Whether the printer's "NAME-supported" attribute allows for every value of the attribute.
bool IsSupported(const IppAttributeGroups& printer, const IppAttribute& attribute);

}  // namespace CorvixSim
