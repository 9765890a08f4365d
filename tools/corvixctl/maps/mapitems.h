// The items of a data map in words, for those who look into it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "corvixdm/datamapspec.h"

namespace CorvixCtl {

// The element of an IPP map that says how its requests are made, and the name of its item.
constexpr const wchar_t* parametersItem = L"IPPParams";

// Walks and tables answer a row of elements.
struct Elements {
    bool untilEnd;
    int count;         // beyond the first one; without a meaning when the device sets the end
    bool mayHaveGaps;  // elements may follow one that the device does not have
};

struct MapItem {
    std::wstring name;      // by which a collection is asked for it
    const wchar_t* kind;    // the item's element in the document
    std::wstring source;    // where its value comes from
    std::wstring resource;  // the document of the device that it is a part of; empty for every other kind
    bool isConstant = false;
    bool isParameters = false;  // settings of the map's requests: no value
    bool isTransient = false;
    unsigned lifespan = 0;  // in tenths of a second, 0 for ever
    std::optional<Elements> elements;
    const wchar_t* lack = nullptr;  // why it can never be answered
};

struct MapInfo {
    Corvix::DataMapTypeEnum type;
    std::wstring protocol;  // as the document writes it
    std::vector<MapItem> items;
    std::wstring printerPath;  // that an IPP map asks for; empty when it names none
};

MapInfo DescribeMap(const Corvix::DataMapSpec& map);

}  // namespace CorvixCtl
