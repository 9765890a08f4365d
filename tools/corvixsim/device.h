// The device that all services show.
#pragma once

#include "counters.h"
#include "devicefiles.h"
#include "documents.h"
#include "faults.h"
#include "values.h"

namespace CorvixSim {

struct Device {
    explicit Device(DeviceFiles deviceFiles) : files(std::move(deviceFiles)), documents(files) {}

    const DeviceFiles files;
    Values values;
    Documents documents;
    FaultTable faults;
    Counters counters;
};

}  // namespace CorvixSim
