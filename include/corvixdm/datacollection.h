/// \file datacollection.h
/// The object a caller holds to read the named values of one device.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include "cacheprovider.h"
#include "datamapspec.h"
#include "transport.h"

struct IXMLDOMNode;

namespace Corvix {

class IPPProvider;

/// Where a value came from.
enum class ValueSource : int {
    None = 0,    ///< nothing was answered
    Static = 1,  ///< a constant of the data map
    Store = 2,   ///< the collection's own store: fetched before in this collection
    Cache = 3,   ///< the cache provider: fetched by an earlier collection
    Device = 4,  ///< the device, just now
};

/// How the last answer of a collection came about.
struct ValueOrigin {
    ValueSource source;
    VARIANT raw;                   ///< the value before conversion, VT_EMPTY when it is not known; clear it
    unsigned long long timeStamp;  ///< FILETIME of when the value was obtained, 0 when it never expires
    unsigned lifespan;             ///< in tenths of a second, 0 for ever
};

/// The values of one device, bound to one data map.
///
/// Made by one of the factories below, given up with Dispose(). Used by one thread at a time, the one that
/// created it: the collection initialises COM there.
class CORVIXDM_API DataCollection : public virtual IDisposable {
public:
    virtual ~DataCollection();

    /// Answers one item: from the store while it is fresh there, else from the device.
    /// \param name the item's name, optionally with a prefix and ":" before it, and for elements of a walk or
    ///     a table with "." and the element's number after it.
    /// \param value set on success to a new value that the caller clears (VariantClear); left as it was on
    ///     failure.
    /// \return S_OK; E_FAIL for a null argument, an unknown item or one that the device does not answer;
    ///     another failure as the device's transport gave it.
    virtual HRESULT GetValue(const wchar_t* name, VARIANT* value) = 0;

    /// Tells how the last successful GetValue() came about. \return S_OK, or S_FALSE when there was none.
    virtual HRESULT GetValueOrigin(ValueOrigin* origin) const = 0;

    /// The XPath that selects this collection's map in a data map document, such as
    /// "XMLDataMap[@Protocol='PLSXML']".
    virtual std::wstring GetDataMapName() const = 0;

    /// Moves the constants of a map into the store. \return S_OK, or E_FAIL for a null or empty map.
    virtual HRESULT LoadStaticItems(DataMapSpec* map) = 0;

    /// Puts a copy of a value into the store, in place of an older one of that name.
    /// \param lifespan in tenths of a second; 0 never expires.
    virtual HRESULT StoreValue(const wchar_t* name, const VARIANT& value, unsigned lifespan) = 0;
};

}  // namespace Corvix

/// \name Factories
/// Bind a document's maps to a device: the first map whose provider can be made for the device wins.
///
/// \param address the device; the collection takes its own reference.
/// \param collection receives the new collection with one reference; untouched on failure.
/// \param cache where values are kept beyond the collection's life, or null; the collection takes its own
///     reference.
/// \return S_OK; E_FAIL for a null argument, a document without `DataMaps`, or when no map fits the device.
/// \throws _com_error with E_OUTOFMEMORY when memory runs out.
/// @{
extern "C" {
/// \param path of the document. A file that does not load gives the loader's own result, S_FALSE included.
CORVIXDM_API HRESULT CreateDataCollectionFromFile(Corvix::Address* address, const wchar_t* path,
                                                  Corvix::DataCollection** collection,
                                                  Corvix::ICacheProvider* cache);
/// \param xml the document's text. A text that does not load gives the loader's own result, S_FALSE included.
CORVIXDM_API HRESULT CreateDataCollectionFromXML(Corvix::Address* address, const wchar_t* xml,
                                                 Corvix::DataCollection** collection,
                                                 Corvix::ICacheProvider* cache);
/// \param document a parsed document, or a node that has a `DataMaps` child; stays the caller's.
CORVIXDM_API HRESULT CreateDataCollectionFromDOM(Corvix::Address* address, IXMLDOMNode* document,
                                                 Corvix::DataCollection** collection,
                                                 Corvix::ICacheProvider* cache);
/// \param maps stays the caller's; the collection takes a reference to the map that it serves.
CORVIXDM_API HRESULT CreateDataCollectionFromDataMapSpecsCollection(Corvix::Address* address,
                                                                    Corvix::DataMapSpecCollection* maps,
                                                                    Corvix::DataCollection** collection,
                                                                    Corvix::ICacheProvider* cache);
/// Binds the first `IPPDataMap` of the document to a provider that the caller made, for example one for a
/// secure printer. No exchange takes place unless a registry cache wants to know the printer's identity.
/// \param provider the printer, in place of an address; the collection takes its own reference.
CORVIXDM_API HRESULT CreateDataCollectionFromIPPProvider(Corvix::IPPProvider* provider,
                                                         Corvix::DataMapSpecCollection* maps,
                                                         Corvix::DataCollection** collection,
                                                         Corvix::ICacheProvider* cache);
}
/// @}
