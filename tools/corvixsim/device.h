// The device that all services show.
#pragma once

#include "counters.h"
#include "devicefiles.h"
#include "documents.h"
#include "faults.h"
#include "jobs.h"
#include "values.h"

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
