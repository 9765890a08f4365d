/// Steps through the objects of a device in their order.
#pragma once

#include <string>
#include <string_view>

#include "corvixdm/oidprovider.h"
#include "utilslib/com.h"

namespace Corvix {

class OidWalk {
public:
    /// \param provider must outlive the walk.
    OidWalk(OIDProvider& provider, std::wstring_view start);

    /// From now on the walk ends at the first object that is not below `root`, and where the device does not
    /// go forward, which some do for ever.
    void StayBelow(std::wstring_view root);

    /// Reads the next object with one get-next call, more only where the room for its name was too small.
    /// \param value receives a new value; untouched unless S_OK.
    /// \return S_OK; S_FALSE at the end that StayBelow() sets; the failure that ends the walk otherwise.
    HRESULT Next(KyUtils::Variant& value);

private:
    HRESULT AskForNext(KyUtils::Variant& value);
    bool MayContinueAt(std::wstring_view next) const;

    OIDProvider& provider_;
    std::wstring current_;
    std::wstring root_;
    bool bounded_ = false;
    // Grows with the walk, as names do; its size is what the device is told.
    std::wstring next_;
};

}  // namespace Corvix
