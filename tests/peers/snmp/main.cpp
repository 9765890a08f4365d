// Reads a real SNMP agent through the library, as a caller does.
//   snmppeer values HOST PORT 1|2c MAP EXPECTED    compares every item with what net-snmp's tools read
//   snmppeer trigger HOST PORT OID TRIGGER         reads an item whose read is acknowledged by a write
#include <windows.h>

#include <cstdio>
#include <stdexcept>
#include <string>

#include "comparison.h"
#include "corvixdm/corvixdm.h"
#include "transport/nettransport.h"

namespace {

using Corvix::Address;
using Corvix::DataCollection;
using Corvix::DisposablePtr;

class ComApartment {
public:
    ComApartment() { status_ = CoInitialize(nullptr); }
    ~ComApartment() {
        if (SUCCEEDED(status_)) CoUninitialize();
    }
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;

private:
    HRESULT status_;
};

DisposablePtr<Address> OpenDevice(const wchar_t* host, const wchar_t* port, const std::wstring& version) {
    CorvixTransport::NetAddressOptions options;
    options.host = host;
    options.portMap.MapUdp(161, static_cast<unsigned short>(std::stoi(port)));
    options.snmp.version =
        version == L"1" ? CorvixTransport::SnmpVersion::V1 : CorvixTransport::SnmpVersion::V2c;
    options.snmp.readCommunity = "public";
    options.snmp.writeCommunity = "private";
    return DisposablePtr<Address>(CorvixTransport::CreateNetAddress(options));
}

int CompareValues(wchar_t** arguments) {
    const DisposablePtr<Address> device = OpenDevice(arguments[0], arguments[1], arguments[2]);
    SnmpPeer::Comparison comparison(*device, arguments[3], SnmpPeer::ExpectedObjects::Load(arguments[4]));
    comparison.Run();
    std::printf("%d values agree, %d do not\n", comparison.Agreed(), comparison.Disagreed());
    return comparison.Agreed() > 0 && comparison.Disagreed() == 0 ? 0 : 1;
}

int Trigger(wchar_t** arguments) {
    const DisposablePtr<Address> device = OpenDevice(arguments[0], arguments[1], L"2c");
    const std::wstring map = std::wstring(L"<DataMaps><OIDDataMap><DataItem Name='item' OID='") +
                             arguments[2] + L";" + arguments[3] + L"'/></OIDDataMap></DataMaps>";
    DisposablePtr<DataCollection> collection;
    if (CreateDataCollectionFromXML(device.Get(), map.c_str(), collection.Receive(), nullptr) != S_OK)
        return 1;
    VARIANT value;
    VariantInit(&value);
    const HRESULT result = collection->GetValue(L"item", &value);
    VariantClear(&value);
    return result == S_OK ? 0 : 1;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    try {
        const ComApartment apartment;
        if (count == 7 && std::wstring(arguments[1]) == L"values") return CompareValues(arguments + 2);
        if (count == 6 && std::wstring(arguments[1]) == L"trigger") return Trigger(arguments + 2);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    std::fputs("usage: snmppeer values|trigger ...\n", stderr);
    return 2;
}
