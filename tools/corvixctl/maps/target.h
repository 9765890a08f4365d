// Whom a data map is read from: a device of any kind, or an IPP printer.
#pragma once

#include <optional>
#include <string>

#include "corvixdm/datacollection.h"
#include "device/printer.h"
#include "maps/mapfile.h"

namespace CorvixCtl {

class Target {
public:
    // The printer of --uri; the device of --device, which is a printer when the document holds IPP maps only.
    // Throws UsageError, and Failure (BadMap). Nothing is sent yet.
    static Target Open(const Arguments& arguments, const std::wstring& mapPath);

    const Device& GetDevice() const { return printer_ ? printer_->device : device_; }

    // The document as it is to be bound: the path of a printer's URI is that of its map, too.
    MapFile LoadMap() const;
    // Throws Failure when no map of the document fits.
    Corvix::DisposablePtr<Corvix::DataCollection> Bind(const MapFile& file,
                                                       Corvix::ICacheProvider* cache) const;

private:
    std::wstring mapPath_;
    Device device_;
    std::optional<Printer> printer_;
};

}  // namespace CorvixCtl
