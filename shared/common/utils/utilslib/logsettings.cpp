#include "utilslib/logsettings.h"

namespace KyUtils {
namespace {

constexpr wchar_t settingsKey[] = L"Software\\Veyra\\Ky\\Logging";
constexpr wchar_t pollTimeValue[] = L"LogParmsPollTime";
constexpr wchar_t fileNameValue[] = L"LogFileName";
constexpr wchar_t monitorClassValue[] = L"ExtMonitorCLSID";
constexpr wchar_t monitorParmFileValue[] = L"ExtMonitorParmFile";

/// In milliseconds.
constexpr std::uint32_t defaultPollTime = 5000;
/// Exceptions, errors, warnings and information of level 0 cannot be switched off.
constexpr std::uint32_t alwaysOnCategories = 15;

}  // namespace

RegistryKey OpenLogSettingsKey() noexcept {
    RegistryKey key;
    key.Open(HKEY_CURRENT_USER, settingsKey, KEY_READ);
    return key;
}

LogSettings LogSettings::Read(const RegistryKey& key) {
    LogSettings settings;
    settings.pollTime = NumberValue(key, pollTimeValue, defaultPollTime);
    settings.infoDetailLevel = NumberValue(key, L"LogInfoDetailLevel", 0);
    settings.categories = NumberValue(key, L"LogCategories", 0) | alwaysOnCategories;
    settings.options = NumberValue(key, L"LogOptions", 0);
    settings.sizeLimitKilobytes = NumberValue(key, L"LogFileSizeLimit", 0);
    settings.fileName = TextValue(key, fileNameValue);
    return settings;
}

void LogSettingsBlock::Store(const LogSettings& settings) {
    pollTime = settings.pollTime;
    infoDetailLevel = settings.infoDetailLevel;
    categories = settings.categories;
    options = settings.options;
    sizeLimitKilobytes = settings.sizeLimitKilobytes;
    fileName.Store(settings.fileName);
}

LogSettings LogSettingsBlock::Load(const RegistryKey& key) const {
    return {pollTime, infoDetailLevel,    categories,
            options,  sizeLimitKilobytes, fileName.Load(key, fileNameValue)};
}

MonitorSettings MonitorSettings::Read(const RegistryKey& key) {
    MonitorSettings settings;
    settings.pollTime = NumberValue(key, pollTimeValue, defaultPollTime);
    settings.flags = NumberValue(key, L"ExtMonitorFlags", 0);
    settings.classId = TextValue(key, monitorClassValue);
    settings.parmFile = TextValue(key, monitorParmFileValue);
    return settings;
}

void MonitorSettingsBlock::Store(const MonitorSettings& settings) {
    pollTime = settings.pollTime;
    flags = settings.flags;
    classId.Store(settings.classId);
    parmFile.Store(settings.parmFile);
}

MonitorSettings MonitorSettingsBlock::Load(const RegistryKey& key) const {
    return {pollTime, flags, classId.Load(key, monitorClassValue), parmFile.Load(key, monitorParmFileValue)};
}

}  // namespace KyUtils
