// The device that all services show.
#pragma once

#include "device/counters.h"
#include "device/devicefiles.h"
#include "device/documents.h"
#include "device/faults.h"
#include "device/jobs.h"
#include "device/values.h"

namespace CorvixSim {

struct Device {
    /// `scenario` replaces the device's own file "scenario.txt" unless it is empty.
    /// Throws std::invalid_argument when a file or the scenario is malformed.
    Device(DeviceFiles deviceFiles, const std::string& scenario);

    /// The text of a file of the device; empty when there is none.
    const std::string& File(const std::string& name) const;

    const DeviceFiles files;
    Values values;
    Documents documents;
    FaultTable faults;
    Counters counters;
    Jobs jobs;
};

}  // namespace CorvixSim
