#include "maps/mapfile.h"

#include <algorithm>

#include "maps/mapdocument.h"

namespace CorvixCtl {
namespace {

using Corvix::DataMapSpecCollection;
using Corvix::DataMapTypeEnum;

struct Protocol {
    DataMapTypeEnum type;
    const wchar_t* name;
    const wchar_t* mapName;  // what a collection bound to such a map calls it
};
constexpr Protocol protocols[] = {
    {DataMapTypeEnum::Pavo, L"Pavo", L"XMLDataMap[@Protocol='Pavo']"},
    {DataMapTypeEnum::WS, L"WS", L"XMLDataMap[@Protocol='WS']"},
    {DataMapTypeEnum::PLSXML, L"PLSXML", L"XMLDataMap[@Protocol='PLSXML']"},
    {DataMapTypeEnum::IPP, L"IPP", L"IPPDataMap"},
    {DataMapTypeEnum::OID, L"OID", L"OIDDataMap"},
};

// Comments and unknown elements become empty maps of no kind, which nobody wants to see.
bool IsMap(const MapInfo& map) {
    return map.type != DataMapTypeEnum::Unknown || !map.protocol.empty() || !map.items.empty();
}

}  // namespace

MapFile MapFile::Load(const std::wstring& path, const std::wstring& printerPath) {
    const KyUtils::ComPtr<IXMLDOMNode> root = LoadDataMaps(path, printerPath);
    MapFile file;
    file.path_ = path;
    file.text_ = XmlOf(*root.Get());
    file.specs_.reset(DataMapSpecCollection::CreateDataMapSpecCollection(root.Get()));
    // Described before anything is bound: a bound collection has taken its constants out of the maps.
    for (unsigned i = 0; i < file.specs_->GetCount(); ++i) {
        MapInfo info = DescribeMap(*file.specs_->GetDataMapSpec(i));
        if (IsMap(info)) file.maps_.push_back(std::move(info));
    }
    if (file.maps_.empty())
        throw BadMap(path, L"DataMaps holds no map; add an XMLDataMap, OIDDataMap or IPPDataMap element");
    return file;
}

const MapInfo* MapFile::FindMap(DataMapTypeEnum type) const {
    const auto found =
        std::find_if(maps_.begin(), maps_.end(), [&](const MapInfo& map) { return map.type == type; });
    return found == maps_.end() ? nullptr : &*found;
}

const wchar_t* ProtocolName(DataMapTypeEnum type) {
    for (const Protocol& protocol : protocols) {
        if (protocol.type == type) return protocol.name;
    }
    return nullptr;
}

DataMapTypeEnum MapTypeOf(std::wstring_view dataMapName) {
    for (const Protocol& protocol : protocols) {
        if (dataMapName == protocol.mapName) return protocol.type;
    }
    return DataMapTypeEnum::Unknown;
}

}  // namespace CorvixCtl
