// What it costs to poll many devices at a time.
//   bench_fleet serve COUNT    is the devices, until standard input ends; prints their ports
//   bench_fleet poll PORT...   figures fleet.flatness and fleet.p99_ms
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "agents.h"
#include "corvixdm/corvixdm.h"
#include "support/figure.h"
#include "transport/nettransport.h"

namespace {

using Corvix::Address;
using Corvix::DataCollection;
using Corvix::DisposablePtr;

constexpr int mostThreads = 16;
constexpr int itemsPerDevice = 20;

[[noreturn]] void Abort(const char* what) {
    std::fputs(what, stderr);
    std::exit(1);
}

std::wstring ItemName(int item) { return L"Item" + std::to_wstring(item); }

std::wstring Document() {
    std::wstring items;
    for (int i = 0; i < itemsPerDevice; ++i) {
        items += L"<DataItem Name='" + ItemName(i) + L"' OID='1.3.6.1.4.1.32473.9." + std::to_wstring(i) +
                 L"' LifeSpan='50'/>";
    }
    return L"<DataMaps><OIDDataMap>" + items + L"</OIDDataMap></DataMaps>";
}

/// The devices, each on an address and a port of its own.
class Fleet {
public:
    explicit Fleet(std::vector<unsigned short> ports) : ports_(std::move(ports)) {}
    int Size() const { return static_cast<int>(ports_.size()); }

    /// A collection of its own for the device, all items, and its end.
    void Poll(int device) const {
        CorvixTransport::NetAddressOptions options;
        options.host = CorvixBench::HostOf(device);
        options.portMap.MapUdp(161, ports_[static_cast<size_t>(device)]);
        const DisposablePtr<Address> address(CorvixTransport::CreateNetAddress(options));
        DisposablePtr<DataCollection> collection;
        if (CreateDataCollectionFromXML(address.Get(), document_.c_str(), collection.Receive(), nullptr) !=
            S_OK) {
            Abort("no collection\n");
        }
        for (int i = 0; i < itemsPerDevice; ++i) {
            VARIANT value;
            VariantInit(&value);
            if (collection->GetValue(ItemName(i).c_str(), &value) != S_OK) Abort("no value\n");
            VariantClear(&value);
        }
    }

private:
    std::vector<unsigned short> ports_;
    std::wstring document_ = Document();
};

struct Round {
    double seconds;
    std::vector<double> deviceSeconds;
};

/// Polls every device once, each thread one after another. The threads exist before the clock starts.
Round PollAll(const Fleet& fleet, int devices) {
    Round round{0, std::vector<double>(static_cast<size_t>(devices))};
    std::atomic<int> next{0};
    std::promise<void> gate;
    const std::shared_future<void> open = gate.get_future().share();
    std::vector<std::thread> threads;
    for (int i = 0; i < std::min(mostThreads, devices); ++i) {
        threads.emplace_back([&] {
            open.wait();
            for (int device = next++; device < devices; device = next++) {
                round.deviceSeconds[static_cast<size_t>(device)] =
                    CorvixBench::SecondsOf([&] { fleet.Poll(device); });
            }
        });
    }
    round.seconds = CorvixBench::SecondsOf([&] {
        gate.set_value();
        for (std::thread& thread : threads)
            thread.join();
    });
    return round;
}

/// The median of rounds over so many devices, which together poll as often whatever the number of devices.
double SecondsPerDevice(const Fleet& fleet, int devices) {
    return CorvixBench::MedianOf(fleet.Size() / devices, [&] { return PollAll(fleet, devices).seconds; }) /
           devices;
}

double Percentile99(std::vector<double> values) {
    const size_t rank = (values.size() * 99 + 99) / 100 - 1;
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(rank), values.end());
    return values[rank];
}

void Measure(const Fleet& fleet) {
    constexpr int few = 10;
    const int many = fleet.Size();
    constexpr int runs = 5;
    PollAll(fleet, many);  // what is only slow the first time
    const double flatness = CorvixBench::MedianOf(
        runs, [&] { return SecondsPerDevice(fleet, many) / SecondsPerDevice(fleet, few); });
    const double p99 =
        CorvixBench::MedianOf(runs, [&] { return Percentile99(PollAll(fleet, many).deviceSeconds) * 1000; });
    CorvixBench::PrintFigure("fleet.flatness", flatness, "ratio");
    CorvixBench::PrintFigure("fleet.p99_ms", p99, "ms");
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    const std::wstring mode = count >= 3 ? arguments[1] : L"";
    if (mode == L"serve") CorvixBench::ServeDevices(std::stoi(arguments[2]));
    if (mode != L"poll") Abort("usage: bench_fleet serve COUNT | poll PORT...\n");
    std::vector<unsigned short> ports;
    for (int i = 2; i < count; ++i)
        ports.push_back(static_cast<unsigned short>(std::stoi(arguments[i])));
    Measure(Fleet(std::move(ports)));
    return 0;
}
