/// What the registry knows about the device behind an address.
#pragma once

#include <optional>
#include <string>

namespace Corvix {

/// A device that answered.
struct KnownDevice {
    std::wstring protocol;  ///< of the data map that it was bound to
    std::wstring identity;
};

/// Remembers who answered to which question: a question is the protocols that a document's maps offer, in their
/// order, such as "Pavo,OID". Kept in the cache's base key as the values are kept in theirs, with a companion
/// that holds the time stamp. What cannot be written is asked again.
class DeviceMemory {
public:
    /// \param rootPath the base key, below HKEY_LOCAL_MACHINE.
    /// \param lifespan in tenths of a second, 0 for ever.
    DeviceMemory(std::wstring rootPath, std::wstring deviceName, unsigned lifespan);

    /// Nothing when nobody answered, or too long ago.
    std::optional<KnownDevice> Recall(const std::wstring& question) const;
    void Remember(const std::wstring& question, const KnownDevice& device) const;
    void Forget(const std::wstring& question) const;

private:
    std::wstring NameOf(const std::wstring& question) const;

    std::wstring rootPath_;
    std::wstring deviceName_;
    unsigned lifespan_;
};

}  // namespace Corvix
