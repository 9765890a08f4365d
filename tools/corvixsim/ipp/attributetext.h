// Attributes written as text, in the form of ipptool's ATTR lines.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "device/ippmodel.h"

namespace CorvixSim {

/// Attributes by the groups that requested-attributes may name, in the order of the text.
using IppAttributeGroups = std::vector<std::pair<std::string, std::vector<IppAttribute>>>;

/// Reads GROUP and ATTR lines. Throws std::invalid_argument, naming the line, for anything else.
IppAttributeGroups ParseIppAttributes(std::string_view text);

/// A text for use between the quotes of such a line.
std::string QuoteForIppAttributes(std::string_view text);

/// A value as people read it: the text, the number, "600dpi", "{media-size={x-dimension=21000 ...}}".
std::string FormatIppValue(const IppValue& value);

}  // namespace CorvixSim
