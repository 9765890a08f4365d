#include "utilslib/uuid.h"

#include <windows.h>

#include <rpc.h>

namespace KyUtils {
namespace {

/// Owns a text of the RPC runtime.
class RpcText {
public:
    RpcText() noexcept = default;
    ~RpcText() {
        if (text_) RpcStringFreeA(&text_);
    }
    RpcText(const RpcText&) = delete;
    RpcText& operator=(const RpcText&) = delete;

    [[nodiscard]] RPC_CSTR* Receive() noexcept { return &text_; }
    const char* Get() const noexcept { return reinterpret_cast<const char*>(text_); }

private:
    RPC_CSTR text_ = nullptr;
};

}  // namespace

std::optional<std::string> NewUuidText() {
    UUID uuid;
    const RPC_STATUS created = UuidCreate(&uuid);
    // A local one is unique on this machine, which is enough for message ids.
    if (created != RPC_S_OK && created != RPC_S_UUID_LOCAL_ONLY) return std::nullopt;
    RpcText text;
    if (UuidToStringA(&uuid, text.Receive()) != RPC_S_OK) return std::nullopt;
    return std::string(text.Get());
}

}  // namespace KyUtils
