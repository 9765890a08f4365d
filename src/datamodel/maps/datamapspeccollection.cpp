#include "corvixdm/datamapspec.h"
#include "datamodel/dom/domreader.h"
#include "utilslib/boundary.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

}  // namespace

DataMapSpecCollection* DataMapSpecCollection::CreateDataMapSpecCollection() {
    return CreateDataMapSpecCollection(nullptr);
}

DataMapSpecCollection* DataMapSpecCollection::CreateDataMapSpecCollection(IXMLDOMNode* node) {
    const KyUtils::LogScope scope(logSource, "Corvix::DataMapSpecCollection::CreateDataMapSpecCollection");
    return KyUtils::RaisingComErrors([node] {
        std::unique_ptr<DataMapSpecCollection, decltype(&Dispose)> collection(new DataMapSpecCollection,
                                                                              &Dispose);
        ForEachChild(node, [&collection](IXMLDOMNode* child) {
            collection->AddDataMapSpec(DataMapSpec::CreateDataMapSpec(child));
        });
        return collection.release();
    });
}

void DataMapSpecCollection::AddDataMapSpec(DataMapSpec* map) {
    const KyUtils::LogScope scope(logSource, "Corvix::DataMapSpecCollection::AddDataMapSpec");
    if (!map) return;
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

}  // namespace Corvix
