/// \file cacheprovider.h
/// Where a data collection keeps values beyond its own life.
#pragma once

#include <windows.h>

#include <oaidl.h>
#include <map>
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

/// One value that a registry cache keeps. The texts and the value are the library's, for the call of the visitor.
struct RegCacheEntry {
    const wchar_t* device;         ///< the identity of the device, as its key is named
    const wchar_t* protocol;       ///< of the data map, such as L"PLSXML"
    const wchar_t* name;           ///< of the item
    VARIANT value;                 ///< VT_BSTR or VT_I4
    unsigned long long timeStamp;  ///< FILETIME of when the value was obtained; 0 when it never grows old
};

/// Told one entry after the other. \param context what was passed along. Exceptions pass through.
using RegCacheVisitor = void (*)(const RegCacheEntry* entry, void* context);

}  // namespace Corvix

/// \name Factories
/// Each hands back a provider with one reference, owned by the caller, and throws _com_error with
/// E_OUTOFMEMORY when memory runs out.
/// @{
extern "C" {
/// Makes a cache that keeps values in the registry, below HKEY_LOCAL_MACHINE.
///
/// The key is `rootPath`, then the identity of the device, then the protocol of the data map. The identity is
/// read from the device whenever a collection is made with this cache. A device that does not tell who it is
/// gets no cache: its collection neither loads nor keeps values, for they might be another device's.
///
/// A value stands under its item's name as REG_SZ or REG_DWORD, with the FILETIME at which it was obtained as
/// decimal text under the name + ".Expires". Values of other types than VT_BSTR and VT_I4 are not kept.
///
/// \param rootPath a key path of the caller's own; null or empty makes a cache that keeps nothing. The
///     calling user must be allowed to write there: what cannot be written is logged and read from the device
///     next time.
CORVIXDM_API Corvix::ICacheProvider* CreateRegCacheProvider(const wchar_t* rootPath);

/// Makes a cache as CreateRegCacheProvider() does that also remembers which device answered, so that a later
/// collection, of a later process, too, need not ask for that: it answers what it finds in the registry without
/// a word to the device.
///
/// A collection of SNMP, PLSXML, Pavo or WS is then bound from memory. When the first value is wanted that is not
/// in the cache, the device is probed and asked who it is, as otherwise at the creation of the collection. If it
/// does not answer, or is another device than the one remembered, the collection asks nothing of it: each such
/// GetValue() fails with HRESULT_FROM_WIN32(ERROR_DEVICE_NOT_CONNECTED), and what was remembered is forgotten,
/// so that a new collection finds out. No value of one device is ever kept as another's; but until the first
/// value that is not in the cache, a device that took over the address answers with its predecessor's values.
/// The caller says for how long that may be. Collections of IPP always ask the device.
///
/// \param rootPath see CreateRegCacheProvider().
/// \param deviceName what tells the way to this device from the ways to others, such as its host name and port.
///     Null or empty remembers nothing.
/// \param lifespan how long to go by memory since the device last told who it is, in tenths of a second; 0 for
///     ever.
CORVIXDM_API Corvix::ICacheProvider* CreateRegCacheProviderForDevice(const wchar_t* rootPath,
                                                                     const wchar_t* deviceName,
                                                                     unsigned lifespan);

/// Makes a cache that keeps values in the spooler's data of one printer, under the key "UBidiData", and loads
/// what is there already.
/// \param printer an open printer handle; stays the caller's and stays open for as long as the provider
///     lives. Without one (null or INVALID_HANDLE_VALUE) the cache is empty and keeps nothing.
CORVIXDM_API Corvix::ICacheProvider* CreatePrintDataCacheProvider(HANDLE printer);
}
/// @}

/// \name Looking after registry caches
/// For whoever shows or clears what collections with a registry cache left below a base key: the values that carry
/// a time stamp, in the keys of devices and protocols. Nothing else there is listed or touched. Any thread.
///
/// \param rootPath the base key as CreateRegCacheProvider() takes it.
/// \return S_OK, also when there is no such key; E_FAIL for a null argument or an empty path; the registry's error
///     as an HRESULT, such as that of ERROR_ACCESS_DENIED.
/// \throws _com_error with E_OUTOFMEMORY when memory runs out.
/// @{
extern "C" {
/// Calls `visit` for every value, by device, protocol and name. What cannot be read below the base key is left out.
CORVIXDM_API HRESULT ListRegCache(const wchar_t* rootPath, Corvix::RegCacheVisitor visit, void* context);

/// Removes every value that ListRegCache() tells, the keys that are empty then, and what is remembered about which
/// device answered.
/// \param removed receives the number of values removed; may be null, untouched on failure.
CORVIXDM_API HRESULT ClearRegCache(const wchar_t* rootPath, unsigned* removed);

/// Tells whether the calling user may keep values below this key; makes the key when it is not there.
CORVIXDM_API HRESULT CheckRegCacheAccess(const wchar_t* rootPath);
}
/// @}
