/// The settings of the log, as the registry has them and as the processes of one user share them.
#pragma once

#include <cstdint>
#include <string>

#include "utilslib/registryvalues.h"
#include "utilslib/sharedblock.h"

namespace KyUtils {

/// What decides about the log file. Logging is off while there is no file name.
struct LogSettings {
    std::uint32_t pollTime = 0;  // milliseconds between two readings
    std::uint32_t infoDetailLevel = 0;
    std::uint32_t categories = 0;
    std::uint32_t options = 0;
    std::uint32_t sizeLimitKilobytes = 0;  // 0: none
    std::wstring fileName;

    static LogSettings Read(const RegistryKey& key);
};

/// What decides about an external monitor; there is none while the class id is empty.
struct MonitorSettings {
    std::uint32_t pollTime = 0;
    std::uint32_t flags = 0;
    std::wstring classId;
    std::wstring parmFile;

    static MonitorSettings Read(const RegistryKey& key);
};

/// A text within a shared block. One that does not fit stays in the registry, where every process reads it.
template <size_t Capacity>
struct SharedText {
    static constexpr std::uint32_t tooLong = 0xFFFFFFFF;

    std::uint32_t length;
    wchar_t characters[Capacity];

    void Store(const std::wstring& text) {
        length = text.size() <= Capacity ? static_cast<std::uint32_t>(text.size()) : tooLong;
        if (length != tooLong) text.copy(characters, Capacity);
    }
    std::wstring Load(const RegistryKey& key, const wchar_t* valueName) const {
        return length <= Capacity ? std::wstring(characters, length) : TextValue(key, valueName);
    }
};

/// The shared form of LogSettings. Programs of other builds read it too: its layout does not change.
struct LogSettingsBlock {
    SharedBlockHead head;
    std::uint32_t pollTime;
    std::uint32_t infoDetailLevel;
    std::uint32_t categories;
    std::uint32_t options;
    std::uint32_t sizeLimitKilobytes;
    SharedText<80> fileName;

    void Store(const LogSettings& settings);
    LogSettings Load(const RegistryKey& key) const;
};
static_assert(sizeof(LogSettingsBlock) == 208);

/// The shared form of MonitorSettings.
struct MonitorSettingsBlock {
    SharedBlockHead head;
    std::uint32_t pollTime;
    std::uint32_t flags;
    SharedText<40> classId;
    SharedText<260> parmFile;

    void Store(const MonitorSettings& settings);
    MonitorSettings Load(const RegistryKey& key) const;
};

/// The key that holds the settings; none when the user has never made it.
RegistryKey OpenLogSettingsKey() noexcept;

/// Settings that the processes of one user read from the registry in turns. One thread at a time.
template <class Settings, class Block>
class SharedSettings {
public:
    struct Reading {
        Settings settings;
        std::uint64_t keptUntil;  // the tick count up to which the settings are good
    };

    /// \param stem begins the names of the block and of its mutex.
    explicit SharedSettings(const std::wstring& stem) : block_(stem) {}

    /// The settings at tick count `now`: what the block has while that is good, else what the registry has.
    /// With `anew` the registry is read in any case.
    Reading Current(std::uint64_t now, bool anew = false) {
        const RegistryKey key = OpenLogSettingsKey();
        const std::uint64_t origin = KeyIdentity(key);
        const auto block = block_.Access();
        if (!anew && block && block->head.IsGood(origin, now))
            return {block->Load(key), block->head.keptUntil};

        Reading reading{Settings::Read(key), now};
        reading.keptUntil += reading.settings.pollTime;
        if (block && block->head.MayTake(origin)) {
            block->Store(reading.settings);
            block->head = {origin, reading.keptUntil, sizeof(Block)};
        }
        return reading;
    }

private:
    SharedBlock<Block> block_;
};

using SharedLogSettings = SharedSettings<LogSettings, LogSettingsBlock>;
using SharedMonitorSettings = SharedSettings<MonitorSettings, MonitorSettingsBlock>;

}  // namespace KyUtils
