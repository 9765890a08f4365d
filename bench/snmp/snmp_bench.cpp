// What SNMP items cost, asked as a caller asks.
//   bench_snmp                  figures snmp.walk.calls_per_200, snmp.walk.flatness and snmp.group.requests
//   bench_snmp HOST PORT MAP PASSES
//                               the seconds that reading every item of a map takes so many times, elements
//                               included
#include <windows.h>

#include <msxml.h>
#include <wrl/client.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "corvixdm/corvixdm.h"
#include "lineardevice.h"
#include "support/figure.h"
#include "transport/nettransport.h"

namespace {

using Corvix::Address;
using Corvix::DataCollection;
using Corvix::DisposablePtr;
using CorvixBench::Calls;
using Microsoft::WRL::ComPtr;

[[noreturn]] void Abort(const char* what) {
    std::fputs(what, stderr);
    std::exit(1);
}

/// Reads an item; a text that it has.
std::wstring Read(DataCollection& collection, const std::wstring& name) {
    VARIANT value;
    VariantInit(&value);
    if (collection.GetValue(name.c_str(), &value) != S_OK) return {};
    const std::wstring text = value.vt == VT_BSTR ? value.bstrVal : L"";
    VariantClear(&value);
    return text;
}

DisposablePtr<DataCollection> Bind(const std::shared_ptr<Calls>& calls, const std::wstring& items) {
    const auto device = std::make_shared<CorvixTest::FakeDevice>();
    device->connectMib = [calls] { return new CorvixBench::LinearConnection(calls); };
    const DisposablePtr<Address> address(new CorvixTest::FakeAddress(device));
    const std::wstring document = L"<DataMaps><OIDDataMap>" + items + L"</OIDDataMap></DataMaps>";
    DisposablePtr<DataCollection> collection;
    if (CreateDataCollectionFromXML(address.Get(), document.c_str(), collection.Receive(), nullptr) != S_OK) {
        Abort("no collection\n");
    }
    return collection;
}

std::wstring WalkOf(int elements) {
    return L"<NextDataItem Name='Walk' OID='1.3.6.1.4.1.32473.9' Count='" + std::to_wstring(elements) +
           L"'/>";
}

int NextCallsOf(int elements) {
    const auto calls = std::make_shared<Calls>();
    if (Read(*Bind(calls, WalkOf(elements)), L"Walk") != L"Walk.###") Abort("the walk failed\n");
    return calls->nexts;
}

/// The time for each element of walks of one length. As many elements are kept whatever the length, so that
/// the processor's caches serve one length no better than the other.
double SecondsPerElement(int elements) {
    constexpr int allElements = 10'000;
    std::vector<DisposablePtr<DataCollection>> collections;
    for (int kept = 0; kept < allElements; kept += elements)
        collections.push_back(Bind(std::make_shared<Calls>(), WalkOf(elements)));
    const double seconds = CorvixBench::SecondsOf([&] {
        for (const auto& collection : collections)
            Read(*collection, L"Walk");
    });
    return seconds / allElements;
}

int GroupRequests(int members) {
    std::wstring items;
    for (int i = 0; i < members; ++i) {
        items += L"<DataItem Name='Item" + std::to_wstring(i) + L"' GroupID='g' OID='1.3.6.1.4.1.32473.9." +
                 std::to_wstring(i) + L"'/>";
    }
    const auto calls = std::make_shared<Calls>();
    const auto collection = Bind(calls, items);
    calls->gets = 0;
    if (Read(*collection, L"Item7").empty()) Abort("the group failed\n");
    return calls->groups + calls->gets + calls->nexts;
}

/// The names of all items of a map that a device is asked for.
std::vector<std::wstring> NamesOf(IXMLDOMDocument& document) {
    const BSTR query = SysAllocString(L"/DataMaps/OIDDataMap/*[@OID]/@Name");
    ComPtr<IXMLDOMNodeList> found;
    document.selectNodes(query, &found);
    SysFreeString(query);
    std::vector<std::wstring> names;
    ComPtr<IXMLDOMNode> node;
    while (found && found->nextNode(&node) == S_OK) {
        BSTR name = nullptr;
        node->get_text(&name);
        names.emplace_back(name, SysStringLen(name));
        SysFreeString(name);
        node.Reset();
    }
    return names;
}

ComPtr<IXMLDOMDocument> LoadDocument(const wchar_t* path) {
    constexpr CLSID domDocumentClass = {
        0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
    ComPtr<IXMLDOMDocument> document;
    CoCreateInstance(domDocumentClass, nullptr, CLSCTX_INPROC_SERVER, IID_IXMLDOMDocument, &document);
    if (!document) Abort("no XML parser\n");
    VARIANT source;
    source.vt = VT_BSTR;
    source.bstrVal = SysAllocString(path);
    VARIANT_BOOL loaded = VARIANT_FALSE;
    document->put_async(VARIANT_FALSE);
    document->load(source, &loaded);
    VariantClear(&source);
    if (!loaded) Abort("the map does not load\n");
    return document;
}

/// Reads an item and, of a walk or a table, all elements. \return how many values there were.
int ReadWithElements(DataCollection& collection, const std::wstring& name) {
    const auto read = [&](const std::wstring& each) {
        VARIANT value;
        VariantInit(&value);
        const bool answered = collection.GetValue(each.c_str(), &value) == S_OK;
        const bool isSequence = answered && value.vt == VT_BSTR && value.bstrVal == name + L".###";
        VariantClear(&value);
        return std::pair(answered, isSequence);
    };
    const auto [answered, isSequence] = read(name);
    if (!isSequence) return answered;
    int elements = 0;
    wchar_t sequence[16];
    do {
        std::swprintf(sequence, 16, L".%03d", ++elements);
    } while (read(name + sequence).first);
    return elements - 1;
}

void ReadMap(Address& device, const wchar_t* path, const std::vector<std::wstring>& names) {
    DisposablePtr<DataCollection> collection;
    if (CreateDataCollectionFromFile(&device, path, collection.Receive(), nullptr) != S_OK)
        Abort("no collection\n");
    int values = 0;
    for (const std::wstring& name : names)
        values += ReadWithElements(*collection, name);
    if (values < static_cast<int>(2 * names.size())) Abort("the agent lacks values\n");
}

int PrintSecondsOfMap(const wchar_t* host, const wchar_t* port, const wchar_t* map, int passes) {
    CorvixTransport::NetAddressOptions options;
    options.host = host;
    options.portMap.MapUdp(161, static_cast<unsigned short>(std::stoi(port)));
    const DisposablePtr<Address> address(CorvixTransport::CreateNetAddress(options));
    const std::vector<std::wstring> names = NamesOf(*LoadDocument(map).Get());
    const double seconds = CorvixBench::SecondsOf([&] {
        for (int pass = 0; pass < passes; ++pass)
            ReadMap(*address.Get(), map, names);
    });
    std::printf("%.6f\n", seconds);
    return 0;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    CoInitialize(nullptr);
    if (count == 5)
        return PrintSecondsOfMap(arguments[1], arguments[2], arguments[3], std::stoi(arguments[4]));
    CorvixBench::PrintFigure("snmp.walk.calls_per_200", NextCallsOf(200), "calls");
    const double flatness =
        CorvixBench::MedianOf(15, [] { return SecondsPerElement(10'000) / SecondsPerElement(100); });
    CorvixBench::PrintFigure("snmp.walk.flatness", flatness, "ratio");
    CorvixBench::PrintFigure("snmp.group.requests", GroupRequests(50), "requests");
    return 0;
}
