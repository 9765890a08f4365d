/// The attributes of a printer as they were learned over time.
#pragma once

#include <windows.h>

#include <oaidl.h>
#include <memory>
#include <string_view>
#include <vector>

#include "wire/ipp/message.h"

namespace Corvix {

/// Responses in the order in which they were merged. It is only ever added to: an attribute keeps the value
/// with which it came first.
class IPPAttributeCache {
public:
    /// Takes the attributes of a response that are not here yet.
    void Merge(std::shared_ptr<const Ipp::Message> response);
    /// Answers the values of one attribute, or of a member by its dotted path, as text.
    /// \return S_OK, or S_FALSE when it is not here; `value` is then left as it was.
    HRESULT GetValue(std::string_view name, VARIANT* value) const;

private:
    bool HoldsAllNamesOf(const Ipp::Message& response) const;

    std::vector<std::shared_ptr<const Ipp::Message>> responses_;
};

/// Puts the text of an attribute into `value`, which the function clears first.
/// \return S_OK, or S_FALSE when the response has no such attribute; `value` is then left as it was.
HRESULT CopyAttributeText(const Ipp::Message& response, std::string_view name, VARIANT* value);

}  // namespace Corvix
