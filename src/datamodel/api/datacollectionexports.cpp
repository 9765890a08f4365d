// The exported ways to a data collection: from a file, from text, from a DOM, from specifications; for an
// address or for a provider.
#include "corvixdm/datacollection.h"
#include "datamodel/binding/createfromspecs.h"
#include "datamodel/maps/ownedmaps.h"
#include "utilslib/boundary.h"

namespace {

using Corvix::Address;
using Corvix::ComPtr;
using Corvix::DataCollection;
using Corvix::DataMapSpecCollection;
using Corvix::ICacheProvider;
using KyUtils::Entry;

const KyUtils::LogSource logSource(L"CorvixDM");

HRESULT CreateFromDom(Address* address, IXMLDOMNode* document, DataCollection** collection,
                      ICacheProvider* cache) {
    if (!document) return E_FAIL;
    Corvix::OwnedMaps maps;
    const HRESULT read = Corvix::ReadDataMaps(document, maps);
    return FAILED(read) ? read : Corvix::CreateFromSpecs(address, maps.get(), collection, cache);
}

}  // namespace

HRESULT CreateDataCollectionFromFile(Address* address, const wchar_t* path, DataCollection** collection,
                                     ICacheProvider* cache) {
    return Entry(logSource, "CreateDataCollectionFromFile", [&] {
        if (!address || !path || !collection) return E_FAIL;
        const KyUtils::ComApartment apartment(logSource);
        ComPtr<IXMLDOMDocument> document;
        const HRESULT loaded = Corvix::LoadDomFile(path, document);
        return loaded == S_OK ? CreateFromDom(address, document.Get(), collection, cache) : loaded;
    });
}

HRESULT CreateDataCollectionFromXML(Address* address, const wchar_t* xml, DataCollection** collection,
                                    ICacheProvider* cache) {
    return Entry(logSource, "CreateDataCollectionFromXML", [&] {
        if (!address || !xml || !collection) return E_FAIL;
        // Unlike the file entry point, left whatever entering it returned: callers count on it.
        const KyUtils::UncheckedComApartment apartment;
        ComPtr<IXMLDOMDocument> document;
        const HRESULT loaded = Corvix::LoadDomText(xml, document);
        return loaded == S_OK ? CreateFromDom(address, document.Get(), collection, cache) : loaded;
    });
}

HRESULT CreateDataCollectionFromDOM(Address* address, IXMLDOMNode* document, DataCollection** collection,
                                    ICacheProvider* cache) {
    return Entry(logSource, "CreateDataCollectionFromDOM",
                 [&] { return CreateFromDom(address, document, collection, cache); });
}

HRESULT CreateDataCollectionFromDataMapSpecsCollection(Address* address, DataMapSpecCollection* maps,
                                                       DataCollection** collection, ICacheProvider* cache) {
    return Entry(logSource, "CreateDataCollectionFromDataMapSpecsCollection",
                 [&] { return Corvix::CreateFromSpecs(address, maps, collection, cache); });
}

HRESULT CreateDataCollectionFromIPPProvider(Corvix::IPPProvider* provider, DataMapSpecCollection* maps,
                                            DataCollection** collection, ICacheProvider* cache) {
    return Entry(logSource, "CreateDataCollectionFromIPPProvider",
                 [&] { return Corvix::CreateFromIppProvider(provider, maps, collection, cache); });
}
