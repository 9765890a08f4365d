// What loading a data map document costs: figures map.load.*.
#include <cstdlib>
#include <string>

#include "corvixdm/datamapspec.h"
#include "datamodel/dom/dom.h"
#include "support/figure.h"
#include "utilslib/com.h"

namespace {

using Corvix::ComPtr;
using Corvix::DataMapSpecCollection;

std::wstring DocumentOf(int items) {
    std::wstring text = L"<DataMaps><OIDDataMap>";
    for (int i = 0; i < items; ++i) {
        const std::wstring number = std::to_wstring(i);
        text += L"<DataItem Name=\"item." + number + L"\" OID=\"1.3.6.1.2.1.43.11.1.1.9.1." + number +
                L"\" LifeSpan=\"3000\" Type=\"text\"><Conversion Equals=\"3\" Value=\"idle\"/></DataItem>";
    }
    return text + L"</OIDDataMap></DataMaps>";
}

ComPtr<IXMLDOMDocument> LoadDom(const std::wstring& text) {
    ComPtr<IXMLDOMDocument> document;
    Corvix::LoadDomText(text, document);
    return document;
}

unsigned LoadMaps(const std::wstring& text) {
    const ComPtr<IXMLDOMDocument> document = LoadDom(text);
    ComPtr<IXMLDOMNode> root;
    Corvix::SelectNode(document.Get(), L"DataMaps", root);
    DataMapSpecCollection* maps = DataMapSpecCollection::CreateDataMapSpecCollection(root.Get());
    const unsigned items = maps->GetDataMapSpec(0)->SizeOf();
    DataMapSpecCollection::Dispose(maps);
    return items;
}

double SecondsOfLoads(const std::wstring& text, int loads) {
    return CorvixBench::SecondsOf([&] {
        for (int i = 0; i < loads; ++i) {
            if (LoadMaps(text) == 0) std::abort();
        }
    });
}

/// One document of 50,000 items over fifty of 1,000: the same number of items, one after the other.
double LargeOverSmall() {
    const std::wstring large = DocumentOf(50'000);
    const std::wstring small = DocumentOf(1'000);
    return CorvixBench::MedianOf(5, [&] {
        const double oneLarge = SecondsOfLoads(large, 1);
        return oneLarge / SecondsOfLoads(small, 50);
    });
}

/// Our load, which includes the DOM's, over the DOM's alone, one after the other.
double OverBareDom() {
    const std::wstring text = DocumentOf(10'000);
    return CorvixBench::MedianOf(7, [&] {
        const double dom = CorvixBench::SecondsOf([&] { LoadDom(text); });
        return CorvixBench::SecondsOf([&] { LoadMaps(text); }) / dom;
    });
}

}  // namespace

int wmain() {
    const KyUtils::ComApartment apartment;
    CorvixBench::PrintFigure("map.load.flatness", LargeOverSmall(), "ratio");
    CorvixBench::PrintFigure("map.load.vs_dom", OverBareDom(), "ratio");
    return 0;
}
