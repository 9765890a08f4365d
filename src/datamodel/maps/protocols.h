/// The protocol texts of data maps and the kinds that they stand for.
#pragma once

#include <string>
#include <string_view>

#include "corvixdm/datamapspec.h"

namespace Corvix {

/// Empty for Unknown and for values that are no kind.
std::wstring ProtocolText(DataMapTypeEnum type);
/// Compared without case; Unknown for every other text.
DataMapTypeEnum ProtocolType(std::wstring_view text);

}  // namespace Corvix
