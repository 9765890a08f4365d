/// The maps of a document, owned.
#pragma once

#include <memory>

#include "corvixdm/datamapspec.h"
#include "datamodel/dom/dom.h"

namespace Corvix {

struct DisposeMaps {
    void operator()(DataMapSpecCollection* maps) const { DataMapSpecCollection::Dispose(maps); }
};
using OwnedMaps = std::unique_ptr<DataMapSpecCollection, DisposeMaps>;

/// Reads the maps below the node "DataMaps" of a document, or of any node that has one.
/// \return S_OK with `maps` set; otherwise, with `maps` as it was, the failure to select the node, or E_FAIL without
///     one.
HRESULT ReadDataMaps(IXMLDOMNode* document, OwnedMaps& maps);

}  // namespace Corvix
