/// The one clock of the library.
#pragma once

#include <cstdint>
#include <optional>

namespace KyUtils {

/// The current UTC time as a FILETIME count: 100 ns units since 1601. Nothing when the clock cannot be read.
std::optional<std::uint64_t> CurrentFileTime();

/// Whether something of this age is too old: `lifespan` is in tenths of a second, 0 never expires. A stamp in
/// the future, or a clock that cannot be read, counts as expired.
bool IsExpired(std::uint64_t timeStamp, std::uint32_t lifespan);

/// Puts another clock in the system's place, for as long as the object lives.
class ClockOverride {
public:
    using Source = std::optional<std::uint64_t> (*)();
    explicit ClockOverride(Source source);
    ~ClockOverride();
    ClockOverride(const ClockOverride&) = delete;
    ClockOverride& operator=(const ClockOverride&) = delete;

private:
    Source previous_;
};

}  // namespace KyUtils
