// What a printer is asked, and how long that takes, through the library and the reference transport:
//   bench_ippprovider map PORT              the figures ipp.map.exchanges_...
//   bench_ippprovider exchanges PORT COUNT  the seconds of so many Get-Printer-Attributes exchanges
// PORT is that of a printer on this machine.
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "support/ippport.h"
// Winsock's header comes before every other that includes windows.h.
#include "corvixdm/corvixdm.h"
#include "support/figure.h"
#include "transport/nettransport.h"

namespace {

using Corvix::DataCollection;
using Corvix::DisposablePtr;
using Corvix::IPPProvider;
using Corvix::KyNetAddress;

/// 40 attributes that the printer reports when it is asked for all.
constexpr const wchar_t* attributes[] = {
    L"color-supported",
    L"copies-default",
    L"copies-supported",
    L"finishings-supported",
    L"media-default",
    L"media-ready",
    L"media-supported",
    L"media-source-supported",
    L"media-type-supported",
    L"orientation-requested-default",
    L"output-bin-supported",
    L"pages-per-minute",
    L"print-color-mode-supported",
    L"print-quality-default",
    L"printer-device-id",
    L"printer-input-tray",
    L"printer-make-and-model",
    L"printer-resolution-supported",
    L"printer-supply",
    L"printer-supply-description",
    L"sides-supported",
    L"charset-supported",
    L"compression-supported",
    L"document-format-supported",
    L"generated-natural-language-supported",
    L"ipp-features-supported",
    L"ipp-versions-supported",
    L"job-priority-supported",
    L"media-col-supported",
    L"natural-language-configured",
    L"operations-supported",
    L"printer-info",
    L"printer-name",
    L"printer-uuid",
    L"uri-security-supported",
    L"which-jobs-supported",
    L"printer-icons",
    L"printer-more-info",
    L"printer-state",
    L"printer-uri-supported",
};
static_assert(std::size(attributes) == 40);

struct Printer {
    explicit Printer(int port) {
        CorvixTransport::NetAddressOptions options;
        options.host = host;
        options.portMap.MapTcp(CorvixTest::IppPort::number, static_cast<unsigned short>(port));
        options.observer = [this](const CorvixTransport::ExchangeRecord&) { ++exchanges; };
        address = DisposablePtr<KyNetAddress>(CorvixTransport::CreateNetAddress(options));
        if (!ippPort) throw std::runtime_error("port 631 cannot be taken");
    }
    Printer(const Printer&) = delete;
    Printer& operator=(const Printer&) = delete;

    static constexpr const wchar_t* host = L"127.0.0.1";
    CorvixTest::IppPort ippPort{host};
    int exchanges = 0;
    DisposablePtr<KyNetAddress> address;
};

void MeasureMap(int port) {
    Printer printer(port);
    std::wstring document = L"<DataMaps><IPPDataMap><IPPParams ResourceURI='/ipp/print'/>";
    for (const wchar_t* name : attributes)
        document +=
            std::wstring(L"<DataItem LifeSpan='600' Name='") + name + L"' AttributeID='" + name + L"'/>";
    document += L"</IPPDataMap></DataMaps>";
    DisposablePtr<DataCollection> collection;
    if (CreateDataCollectionFromXML(printer.address.Get(), document.c_str(), collection.Receive(), nullptr) !=
        S_OK)
        throw std::runtime_error("no collection");
    const auto exchangesOfAPass = [&] {
        printer.exchanges = 0;
        for (const wchar_t* name : attributes) {
            VARIANT value;
            VariantInit(&value);
            if (collection->GetValue(name, &value) != S_OK) throw std::runtime_error("an item has no value");
            VariantClear(&value);
        }
        return printer.exchanges;
    };
    CorvixBench::PrintFigure("ipp.map.exchanges_first_pass", exchangesOfAPass(), "exchanges");
    CorvixBench::PrintFigure("ipp.map.exchanges_second_pass", exchangesOfAPass(), "exchanges");
}

void Exchange(IPPProvider& provider) {
    VARIANT value;
    VariantInit(&value);
    if (provider.GetIPPValue("all", 0, &value, nullptr, nullptr, 0, 0, "printer-name") != S_OK ||
        value.vt != VT_BSTR)
        throw std::runtime_error("an exchange failed");
    VariantClear(&value);
}

void MeasureExchanges(int port, int count) {
    Printer printer(port);
    const DisposablePtr<IPPProvider> provider(CreateIPPProvider(printer.address.Get(), "/ipp/print"));
    if (!provider) throw std::runtime_error("no provider");
    std::printf("%.6f\n", CorvixBench::SecondsOf([&] {
                    for (int i = 0; i < count; ++i)
                        Exchange(*provider);
                }));
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    const std::wstring mode = argc > 2 ? argv[1] : L"";
    try {
        if (mode == L"map" && argc == 3) return MeasureMap(_wtoi(argv[2])), 0;
        if (mode == L"exchanges" && argc == 4) return MeasureExchanges(_wtoi(argv[2]), _wtoi(argv[3])), 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "error: %s\n", error.what());
        return 1;
    }
    return 2;
}
