// The exported ways to a data collection: from a file, from text, from a DOM, from specifications; for an
// address or for a provider.
#include <memory>

#include "corvixdm/datacollection.h"
#include "datamodel/binding/createfromspecs.h"
#include "datamodel/dom/dom.h"
#include "utilslib/boundary.h"
#include "utilslib/com.h"
#include "utilslib/logging.h"

namespace {

using Corvix::Address;
using Corvix::ComPtr;
using Corvix::DataCollection;
using Corvix::DataMapSpecCollection;
using Corvix::ICacheProvider;

const KyUtils::LogSource logSource(L"CorvixDM");

struct DisposeCollection {
    void operator()(DataMapSpecCollection* maps) const { DataMapSpecCollection::Dispose(maps); }
};
using OwnedCollection = std::unique_ptr<DataMapSpecCollection, DisposeCollection>;

HRESULT CreateFromDom(Address* address, IXMLDOMNode* document, DataCollection** collection,
                      ICacheProvider* cache) {
    if (!document) return E_FAIL;
    ComPtr<IXMLDOMNode> root;
    const HRESULT selected = Corvix::SelectNode(document, L"DataMaps", root);
    if (FAILED(selected)) return selected;
    if (!root) return E_FAIL;
    const OwnedCollection maps(DataMapSpecCollection::CreateDataMapSpecCollection(root.Get()));
    return Corvix::CreateFromSpecs(address, maps.get(), collection, cache);
}

}  // namespace

HRESULT CreateDataCollectionFromFile(Address* address, const wchar_t* path, DataCollection** collection,
                                     ICacheProvider* cache) {
    const KyUtils::LogScope scope(logSource, "CreateDataCollectionFromFile");
    if (!address || !path || !collection) return E_FAIL;
    return KyUtils::RaisingComErrors([&] {
        const KyUtils::ComApartment apartment(logSource);
        ComPtr<IXMLDOMDocument> document;
        const HRESULT loaded = Corvix::LoadDomFile(path, document);
        return loaded == S_OK ? CreateFromDom(address, document.Get(), collection, cache) : loaded;
    });
}

HRESULT CreateDataCollectionFromXML(Address* address, const wchar_t* xml, DataCollection** collection,
                                    ICacheProvider* cache) {
    const KyUtils::LogScope scope(logSource, "CreateDataCollectionFromXML");
    if (!address || !xml || !collection) return E_FAIL;
    return KyUtils::RaisingComErrors([&] {
        const KyUtils::UncheckedComApartment apartment;
        ComPtr<IXMLDOMDocument> document;
        const HRESULT loaded = Corvix::LoadDomText(xml, document);
        return loaded == S_OK ? CreateFromDom(address, document.Get(), collection, cache) : loaded;
    });
}

HRESULT CreateDataCollectionFromDOM(Address* address, IXMLDOMNode* document, DataCollection** collection,
                                    ICacheProvider* cache) {
    const KyUtils::LogScope scope(logSource, "CreateDataCollectionFromDOM");
    return KyUtils::RaisingComErrors([&] { return CreateFromDom(address, document, collection, cache); });
}

HRESULT CreateDataCollectionFromDataMapSpecsCollection(Address* address, DataMapSpecCollection* maps,
                                                       DataCollection** collection, ICacheProvider* cache) {
    const KyUtils::LogScope scope(logSource, "CreateDataCollectionFromDataMapSpecsCollection");
    return KyUtils::RaisingComErrors(
        [&] { return Corvix::CreateFromSpecs(address, maps, collection, cache); });
}

HRESULT CreateDataCollectionFromIPPProvider(Corvix::IPPProvider* provider, DataMapSpecCollection* maps,
                                            DataCollection** collection, ICacheProvider* cache) {
    const KyUtils::LogScope scope(logSource, "CreateDataCollectionFromIPPProvider");
    return KyUtils::RaisingComErrors(
        [&] { return Corvix::CreateFromIppProvider(provider, maps, collection, cache); });
}
