#include "maps/target.h"

#include <algorithm>

#include "base/console.h"
#include "base/exitcodes.h"
#include "utilslib/com.h"

namespace CorvixCtl {
namespace {

using Corvix::DataCollection;
using Corvix::DataMapTypeEnum;
using Corvix::DisposablePtr;
using Corvix::ICacheProvider;
using Corvix::IPPProvider;

// A document of IPP maps alone can only mean a printer, also when its device is named.
bool IsForPrinters(const MapFile& file) {
    return std::all_of(file.Maps().begin(), file.Maps().end(),
                       [](const MapInfo& map) { return map.type == DataMapTypeEnum::IPP; });
}

// Of several maps the first is bound: its path holds.
std::wstring PrinterPathOf(const MapFile& file) {
    const std::wstring& path = file.Maps().front().printerPath;
    return path.empty() ? L"/ipp/printer" : path;
}

void RequireKnownMap(const MapFile& file) {
    const bool known = std::any_of(file.Maps().begin(), file.Maps().end(),
                                   [](const MapInfo& map) { return map.type != DataMapTypeEnum::Unknown; });
    if (known) return;
    throw Failure(ExitCode::BadMap, L"map " + file.Path() + L": the protocol \"" +
                                        file.Maps().front().protocol +
                                        L"\" is not known; use PLSXML, Pavo or WS for an XMLDataMap");
}

[[noreturn]] void FailToBind(const Device& device, const MapFile& file) {
    // Most likely reasons first: interrupted, not there at all, no SNMP, another kind of device.
    StopIfInterrupted();
    if (const auto& exchange = device.journal->Unreachable(); exchange && !device.journal->HasAnswered())
        FailAsUnreachable(device, DescribeConnection(*exchange));
    if (file.FindMap(DataMapTypeEnum::OID)) {
        FailAsUnreachable(device, WhyNoSnmp(*device.address)
                                      .value_or(L"its SNMP agent answers, but does not "
                                                L"describe a device (1.3.6.1.2.1.25.3.2.1.3.1)"));
    }
    FailAsUnreachable(device, L"no map of " + file.Path() + L" fits it");
}

DisposablePtr<DataCollection> BindToDevice(const Device& device, const MapFile& file, ICacheProvider* cache) {
    RequireKnownMap(file);
    DisposablePtr<DataCollection> collection;
    const HRESULT result = CreateDataCollectionFromDataMapSpecsCollection(device.address.Get(), file.Specs(),
                                                                          collection.Receive(), cache);
    if (result != S_OK || !collection) FailToBind(device, file);
    return collection;
}

DisposablePtr<DataCollection> BindToPrinter(const Printer& printer, const MapFile& file,
                                            ICacheProvider* cache) {
    if (!file.FindMap(DataMapTypeEnum::IPP)) {
        throw Failure(ExitCode::BadMap,
                      L"map " + file.Path() + L": --uri is for an IPPDataMap, and it holds none");
    }
    const DisposablePtr<IPPProvider> provider = ConnectPrinter(printer);
    // With all attributes at once the provider answers what does not change without further exchanges.
    KyUtils::Variant ignored;
    provider->GetIPPValue("all", 0, ignored.Receive(), nullptr, nullptr, 0, 1, " ");
    DisposablePtr<DataCollection> collection;
    CreateDataCollectionFromIPPProvider(provider.Get(), file.Specs(), collection.Receive(), cache);
    if (!collection) FailToBind(printer.device, file);
    return collection;
}

}  // namespace

Target Target::Open(const Arguments& arguments, const std::wstring& mapPath) {
    Target target;
    target.mapPath_ = mapPath;
    if (arguments.Has(L"uri")) {
        target.printer_ = OpenPrinter(arguments);
        return target;
    }
    target.device_ = OpenDevice(arguments);
    const MapFile file = MapFile::Load(mapPath);
    if (IsForPrinters(file)) {
        target.printer_ = OpenPrinter(arguments, InterruptEvent(), PrinterPathOf(file));
        return target;
    }
    for (const wchar_t* option : {L"resource", L"insecure"}) {
        if (arguments.Has(option))
            throw UsageError(L"--" + std::wstring(option) + L" is for documents of IPP maps alone");
    }
    return target;
}

MapFile Target::LoadMap() const {
    return printer_ ? MapFile::Load(mapPath_, printer_->resource) : MapFile::Load(mapPath_);
}

DisposablePtr<DataCollection> Target::Bind(const MapFile& file, ICacheProvider* cache) const {
    return printer_ ? BindToPrinter(*printer_, file, cache) : BindToDevice(device_, file, cache);
}

}  // namespace CorvixCtl
