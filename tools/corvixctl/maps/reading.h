// Reads items of a bound collection and keeps how each answer came about.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "corvixdm/datacollection.h"
#include "device/device.h"
#include "maps/mapfile.h"
#include "output/records.h"

namespace CorvixCtl {

// One item, or one element of a walk or a table.
struct Reading {
    std::wstring name;
    Cell value;
    Cell error;  // a text when the item was not answered
    Corvix::ValueSource source = Corvix::ValueSource::None;
    Cell raw;   // before conversion
    Cell age;   // since it was obtained
    Cell left;  // of its lifespan
};

class ItemReader {
public:
    // All of them outlive the reader.
    ItemReader(Corvix::DataCollection& collection, const MapInfo& map, const Device& device)
        : collection_(collection), map_(map), device_(device) {}

    // Reads one item; a walk or a table, asked for as a whole, element by element.
    void Read(const std::wstring& name);

    const std::vector<Reading>& Readings() const { return readings_; }

    // Whether the collection was made for a device remembered from an earlier run that is not there: what was read
    // is worth nothing, and a new collection asks who is.
    bool WasMisled() const { return lastResult_ == misled; }

private:
    static constexpr HRESULT misled = HRESULT_FROM_WIN32(ERROR_DEVICE_NOT_CONNECTED);

    // Whether the last failure was about the way to the device, which a further element would take, too.
    bool IsCutOff() const;
    Reading ReadOne(const std::wstring& name);
    void ReadElements(const std::wstring& name, const Elements& elements);
    const MapItem* FindItem(const std::wstring& name) const;
    bool IsBadXPath(const MapItem& item, HRESULT result) const;
    std::wstring ReasonOfFailure(const std::wstring& name, const MapItem* item, HRESULT result);
    std::wstring ReasonOfUnknown(const std::wstring& name) const;

    Corvix::DataCollection& collection_;
    const MapInfo& map_;
    const Device& device_;
    std::vector<Reading> readings_;
    HRESULT lastResult_ = S_OK;
    // Why a document could not be had, so that not every item of it waits for the same again.
    std::map<std::wstring, std::wstring> failedResources_;
};

// The names of all items of a map that have values.
std::vector<std::wstring> NamesOf(const MapInfo& map);
// A text, a number, or the bytes of an array in hexadecimal.
Cell ToCell(const VARIANT& value);

}  // namespace CorvixCtl
