#include "datamodel/dom/domreader.h"
#include "datamodel/maps/ownedmaps.h"
#include "utilslib/boundary.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

}  // namespace

DataMapSpecCollection* DataMapSpecCollection::CreateDataMapSpecCollection() {
    return CreateDataMapSpecCollection(nullptr);
}

DataMapSpecCollection* DataMapSpecCollection::CreateDataMapSpecCollection(IXMLDOMNode* node) {
    return KyUtils::Entry(logSource, "Corvix::DataMapSpecCollection::CreateDataMapSpecCollection", [node] {
        OwnedMaps collection(new DataMapSpecCollection);
        ForEachChild(node, [&collection](IXMLDOMNode* child) {
            collection->AddDataMapSpec(DataMapSpec::CreateDataMapSpec(child));
        });
        return collection.release();
    });
}

void DataMapSpecCollection::AddDataMapSpec(DataMapSpec* map) {
    const KyUtils::LogScope scope(logSource, "Corvix::DataMapSpecCollection::AddDataMapSpec");
    if (!map) return;
    // Owned before the vector may throw.
    DisposablePtr<DataMapSpec> adopted(map);
    KyUtils::RaisingComErrors([&] { maps_.push_back(std::move(adopted)); });
}

unsigned DataMapSpecCollection::GetCount() const { return static_cast<unsigned>(maps_.size()); }

DataMapSpec* DataMapSpecCollection::GetDataMapSpec(unsigned index) const {
    return index < maps_.size() ? maps_[index].Get() : nullptr;
}

void DataMapSpecCollection::Dispose(DataMapSpecCollection* collection) {
    const KyUtils::LogScope scope(logSource, "Corvix::DataMapSpecCollection::Dispose");
    delete collection;
}

HRESULT ReadDataMaps(IXMLDOMNode* document, OwnedMaps& maps) {
    ComPtr<IXMLDOMNode> root;
    const HRESULT selected = SelectNode(document, L"DataMaps", root);
    if (FAILED(selected)) return selected;
    if (!root) return E_FAIL;
    maps.reset(DataMapSpecCollection::CreateDataMapSpecCollection(root.Get()));
    return S_OK;
}

}  // namespace Corvix
