#include "datamodel/caches/devicememory.h"

#include <windows.h>

#include <utility>

#include "datamodel/caches/cachedvalues.h"
#include "utilslib/clock.h"
#include "utilslib/logging.h"
#include "utilslib/registry.h"
#include "utilslib/registryvalues.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

/// Between protocol and identity in a record. No protocol contains one, identities may.
constexpr wchar_t separator = L' ';

std::optional<KnownDevice> Parse(const std::wstring& text) {
    const size_t end = text.find(separator);
    // A record that cannot be read is no record: the device is asked again.
    if (end == std::wstring::npos || end + 1 == text.size()) return std::nullopt;
    return KnownDevice{text.substr(0, end), text.substr(end + 1)};
}

}  // namespace

DeviceMemory::DeviceMemory(std::wstring rootPath, std::wstring deviceName, unsigned lifespan)
    : rootPath_(std::move(rootPath)), deviceName_(std::move(deviceName)), lifespan_(lifespan) {}

std::wstring DeviceMemory::NameOf(const std::wstring& question) const {
    return deviceName_ + L" [" + question + L"]";
}

std::optional<KnownDevice> DeviceMemory::Recall(const std::wstring& question) const {
    KyUtils::RegistryKey key;
    if (key.Open(HKEY_LOCAL_MACHINE, rootPath_.c_str(), KEY_READ) != ERROR_SUCCESS) return std::nullopt;
    const std::wstring name = NameOf(question);
    const auto timeStamp = ParseTimeStamp(KyUtils::TextValue(key, ExpiresName(name).c_str()));
    if (!timeStamp || KyUtils::IsExpired(*timeStamp, lifespan_)) return std::nullopt;
    return Parse(KyUtils::TextValue(key, name.c_str()));
}

void DeviceMemory::Remember(const std::wstring& question, const KnownDevice& device) const {
    const auto now = KyUtils::CurrentFileTime();
    if (!now) return;
    KyUtils::RegistryKey key;
    LSTATUS written = key.Create(HKEY_LOCAL_MACHINE, rootPath_.c_str(), KEY_ALL_ACCESS);
    const std::wstring name = NameOf(question);
    if (written == ERROR_SUCCESS)
        written = KyUtils::WriteText(key, name, device.protocol + separator + device.identity);
    if (written == ERROR_SUCCESS) written = KyUtils::WriteText(key, ExpiresName(name), FormatTimeStamp(*now));
    if (written != ERROR_SUCCESS)
        logSource.Error(L"The device cannot be remembered: error %ld", static_cast<long>(written));
}

void DeviceMemory::Forget(const std::wstring& question) const {
    KyUtils::RegistryKey key;
    if (key.Open(HKEY_LOCAL_MACHINE, rootPath_.c_str(), KEY_SET_VALUE) != ERROR_SUCCESS) return;
    // Delete the stamp first: without it the record is ignored, even if deleting the rest fails.
    const std::wstring name = NameOf(question);
    RegDeleteValueW(key.Get(), ExpiresName(name).c_str());
    RegDeleteValueW(key.Get(), name.c_str());
}

}  // namespace Corvix
