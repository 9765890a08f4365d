// A data map document: its maps for the library, and what their items are for the user.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "corvixdm/datamapspec.h"
#include "maps/mapitems.h"

namespace CorvixCtl {

class MapFile {
public:
    // Throws Failure (BadMap) with the reason when there is nothing to use in it. The printer's path, where it
    // is given, takes the place of the one that an IPP map asks for.
    static MapFile Load(const std::wstring& path, const std::wstring& printerPath = {});

    const std::wstring& Path() const { return path_; }
    // The DataMaps element, for functions that take a document as text.
    const std::wstring& Text() const { return text_; }
    // Binding the maps to a device takes constants out of them: ask Maps() for what there was.
    Corvix::DataMapSpecCollection* Specs() const { return specs_.get(); }
    const std::vector<MapInfo>& Maps() const { return maps_; }
    const MapInfo* FindMap(Corvix::DataMapTypeEnum type) const;

private:
    struct DisposeSpecs {
        void operator()(Corvix::DataMapSpecCollection* specs) const {
            Corvix::DataMapSpecCollection::Dispose(specs);
        }
    };

    std::wstring path_;
    std::wstring text_;
    std::unique_ptr<Corvix::DataMapSpecCollection, DisposeSpecs> specs_;
    std::vector<MapInfo> maps_;
};

// "PLSXML", "OID", ...; null for an unknown kind of map.
const wchar_t* ProtocolName(Corvix::DataMapTypeEnum type);
// The kind of map that an XPath of DataCollection::GetDataMapName() selects.
Corvix::DataMapTypeEnum MapTypeOf(std::wstring_view dataMapName);

}  // namespace CorvixCtl
