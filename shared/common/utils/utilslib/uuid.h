/// New universally unique identifiers.
#pragma once

#include <optional>
#include <string>

namespace KyUtils {

/// A fresh identifier in its 36-character lower-case form. Nothing when the system cannot make one.
std::optional<std::string> NewUuidText();

}  // namespace KyUtils
