#include "device/device.h"

#include <chrono>
#include <ctime>

namespace CorvixSim {
namespace {

using Clock = std::chrono::steady_clock;
using Hundredths = std::chrono::duration<int64_t, std::centi>;

std::string DateNow() {
    const std::time_t now = std::time(nullptr);
    char date[32];
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%SZ", std::gmtime(&now));
    return date;
}

/// The time since the start in whole units, from 1 on: an up-time of 0 would mean that it is not known.
template <typename Unit>
std::string Since(Clock::time_point start) {
    return std::to_string(std::chrono::duration_cast<Unit>(Clock::now() - start).count() + 1);
}

void SetTimes(Values& values) {
    const auto start = Clock::now();
    values.SetComputed("uptime", [start] { return Since<std::chrono::seconds>(start); });
    values.SetComputed("uptime-ticks", [start] { return Since<Hundredths>(start); });
    values.SetComputed("now", DateNow);
    // These stay as they are until a job changes the state.
    values.Set("start-time", DateNow());
    values.Set("state-change-time", "1");
    values.Set("state-change-date-time", DateNow());
}

}  // namespace

Device::Device(DeviceFiles deviceFiles, const std::string& scenario)
    : files(std::move(deviceFiles)),
      documents(files),
      jobs(values, scenario.empty() ? File("scenario.txt") : scenario) {
    values.Load(File("values.txt"));
    SetTimes(values);
}

const std::string& Device::File(const std::string& name) const {
    static const std::string none;
    const auto file = files.find(name);
    return file == files.end() ? none : file->second;
}

}  // namespace CorvixSim
