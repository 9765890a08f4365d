/// \file datamapspec.h
/// Data maps: items by name, and the maps of a document in order.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "dataitemspec.h"
#include "disposable.h"
#include "disposableptr.h"

namespace Corvix {

/// The kind of a data map, told by its protocol text.
enum class DataMapTypeEnum : int { Unknown = 0, Pavo = 1, WS = 2, PLSXML = 3, IPP = 4, OID = 5 };

/// One data map: a protocol and the items that are fetched over it. Owns its items. One thread at a time.
class CORVIXDM_API DataMapSpec : public virtual IDisposable {
public:
    /// The items in the order of their names' UTF-16 code units.
    using Items = std::map<std::wstring, std::unique_ptr<CvxDataItem>, std::less<>>;

    virtual ~DataMapSpec();

    /// A new empty map that holds one reference, owned by the caller.
    static DataMapSpec* CreateDataMapSpec();
    /// The same with the protocol of `type`; Unknown leaves it empty.
    static DataMapSpec* CreateDataMapSpec(DataMapTypeEnum type);
    /// The same, read from a map element; an element that is no map gives an empty map of type Unknown.
    static DataMapSpec* CreateDataMapSpec(IXMLDOMNode* node);

    /// Stores an item under a name and takes it over. An item that stood there is destroyed. Null arguments
    /// are ignored (the item stays the caller's then).
    /// \throws _com_error E_OUTOFMEMORY; the item is destroyed, too, and the map is as it was.
    virtual void AddDataItemSpec(const wchar_t* name, CvxDataItem* item) = 0;
    /// The item stored under exactly this name, or null. Owned by the map.
    virtual CvxDataItem* GetDataItemSpec(const wchar_t* name) const = 0;

    /// Puts the iteration position on the first item in name order.
    virtual void Begin() = 0;
    /// The item at the iteration position, which moves on; null at the end. Owned by the map.
    virtual CvxDataItem* GetNextDataItemSpec() = 0;
    /// Destroys the item that GetNextDataItemSpec() returned last, unless the position is at the end: the
    /// last item in name order cannot be removed this way.
    virtual void RemoveFromMap() = 0;

    virtual unsigned SizeOf() const = 0;
    /// "Pavo", "WS", "PLSXML", "IPP", "OID", what the document says instead, or empty.
    virtual std::wstring GetProtocolType() const = 0;
    virtual DataMapTypeEnum GetDataMapType() const = 0;
    /// The items, for readers that must leave the iteration position alone.
    virtual const Items& GetItems() const = 0;
};

/// The maps of one document, in its order.
class CORVIXDM_API DataMapSpecCollection {
public:
    /// A new empty collection, owned by the caller, who ends it with Dispose().
    static DataMapSpecCollection* CreateDataMapSpecCollection();
    /// The same with a map for every child node of a `DataMaps` element.
    static DataMapSpecCollection* CreateDataMapSpecCollection(IXMLDOMNode* node);

    DataMapSpecCollection(const DataMapSpecCollection&) = delete;
    DataMapSpecCollection& operator=(const DataMapSpecCollection&) = delete;

    /// Appends a map and takes over the caller's reference. Null is ignored.
    void AddDataMapSpec(DataMapSpec* map);
    unsigned GetCount() const;
    /// The map at a position counted from 0, or null outside. Owned by the collection.
    DataMapSpec* GetDataMapSpec(unsigned index) const;
    /// Destroys the collection, releasing one reference on each map; null is ignored.
    static void Dispose(DataMapSpecCollection* collection);

private:
    DataMapSpecCollection() = default;
    ~DataMapSpecCollection() = default;

    std::vector<DisposablePtr<DataMapSpec>> maps_;
};

}  // namespace Corvix
