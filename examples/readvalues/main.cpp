// Reads some values of a printer: readvalues HOST MAP [PORT-MAP]
#include <cstdio>

#include "corvixdm/corvixdm.h"
#include "transport/nettransport.h"

int wmain(int count, wchar_t** arguments) {
    if (count < 3) return 2;
    CorvixTransport::NetAddressOptions options;
    options.host = arguments[1];
    if (count > 3) options.portMap = CorvixTransport::PortMap::Parse(arguments[3]);
    const Corvix::DisposablePtr<Corvix::KyNetAddress> printer(CorvixTransport::CreateNetAddress(options));
    Corvix::DisposablePtr<Corvix::DataCollection> values;
    if (CreateDataCollectionFromFile(printer.Get(), arguments[2], values.Receive(), nullptr) != S_OK)
        return 1;
    for (const wchar_t* name : {L"device.model", L"status.device", L"about:map.vendor"}) {
        VARIANT value = {};
        if (values->GetValue(name, &value) == S_OK) std::printf("%ls: %ls\n", name, value.bstrVal);
        VariantClear(&value);
    }
    return 0;
}
