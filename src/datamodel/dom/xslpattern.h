/// The expressions that select nodes, for a DOM that reads them worse than the system's own.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Corvix {

/// Says an expression so that Wine's DOM understands it. That crashes on what it cannot parse, which a predicate
/// that only asks whether something is there can be: "a[b/c]" becomes "a[not(not(b/c))]".
/// \return nothing for what is no location path of XPath 1.0 with its predicates, functions and comparisons.
///     Arithmetic and variables XSL patterns do not have.
std::optional<std::wstring> ToPlainXslPattern(std::wstring_view expression);

}  // namespace Corvix
