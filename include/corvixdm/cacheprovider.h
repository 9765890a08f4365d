/// \file cacheprovider.h
/// Where a data collection keeps values beyond its own life.
#pragma once

#include <windows.h>

#include <map>
#include <oaidl.h>
#include <string>

#include "disposable.h"
#include "export.h"

namespace Corvix {

/// One value as it is cached. A plain record: it does not own what `value` holds.
struct CachedValue {
    VARIANT value;                 ///< VT_BSTR or VT_I4
    unsigned long long timeStamp;  ///< FILETIME (100 ns units since 1601, UTC) of when the value was obtained
    unsigned lifespan;             ///< in tenths of a second, 0 for ever
};

/// Cached values by item name. The map does not own the VARIANTs.
using CachedValueMap = std::map<std::wstring, CachedValue, std::less<>>;

/// A store of values that outlives the collection. Used by one collection, one thread at a time.
class CORVIXDM_API ICacheProvider : public virtual IDisposable {
public:
    virtual ~ICacheProvider();

    /// Copies a value loaded before into `value`, which the caller clears. Does not test its age.
    /// \return S_OK, or S_FALSE when there is none of that name (`value` is left as it was).
    virtual HRESULT GetDataValue(const wchar_t* name, VARIANT* value) = 0;
    /// Writes one value. \return S_OK, or S_FALSE when it could not be written.
    virtual HRESULT SetDataValue(const wchar_t* name, const VARIANT& value, unsigned long long timeStamp) = 0;
    /// Writes all values that are not expired. \return S_OK, or S_FALSE when they could not be written.
    virtual HRESULT SetDataValues(const CachedValueMap* values) = 0;
};

}  // namespace Corvix
