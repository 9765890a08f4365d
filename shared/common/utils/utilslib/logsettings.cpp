#include "utilslib/logsettings.h"

namespace KyUtils {
namespace {

constexpr wchar_t settingsKey[] = L"Software\\Veyra\\Ky\\Logging";
constexpr wchar_t pollTimeValue[] = L"LogParmsPollTime";
constexpr wchar_t fileNameValue[] = L"LogFileName";
constexpr wchar_t monitorClassValue[] = L"ExtMonitorCLSID";
constexpr wchar_t monitorParmFileValue[] = L"ExtMonitorParmFile";

constexpr std::uint32_t defaultPollTime = 5000;
constexpr std::uint32_t alwaysOnCategories = 15;

}  // namespace

RegistryKey OpenLogSettingsKey() noexcept {
    return RegistryKey::OpenForReading(HKEY_CURRENT_USER, settingsKey);
}

LogSettings LogSettings::Read(const RegistryKey& key) {
    LogSettings settings;
    settings.pollTime = key.Number(pollTimeValue, defaultPollTime);
    settings.infoDetailLevel = key.Number(L"LogInfoDetailLevel", 0);
    settings.categories = key.Number(L"LogCategories", 0) | alwaysOnCategories;
    settings.options = key.Number(L"LogOptions", 0);
    settings.sizeLimitKilobytes = key.Number(L"LogFileSizeLimit", 0);
    settings.fileName = key.Text(fileNameValue);
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
    settings.pollTime = key.Number(pollTimeValue, defaultPollTime);
    settings.flags = key.Number(L"ExtMonitorFlags", 0);
    settings.classId = key.Text(monitorClassValue);
    settings.parmFile = key.Text(monitorParmFileValue);
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
