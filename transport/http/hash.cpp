#include "transport/http/hash.h"

#include "transport/sockets/failure.h"

#include <bcrypt.h>

#include <array>

namespace CorvixTransport {

namespace {

std::string ToHexadecimal(const unsigned char* bytes, size_t count) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 15];
    }
    return text;
}

// Owns an algorithm provider for the time of one hash.
class HashProvider {
public:
    explicit HashProvider(const wchar_t* algorithm) {
        const NTSTATUS status = BCryptOpenAlgorithmProvider(&handle_, algorithm, nullptr, 0);
        ThrowUnless(status >= 0, ERROR_NOT_SUPPORTED);
    }
    ~HashProvider() { BCryptCloseAlgorithmProvider(handle_, 0); }
    HashProvider(const HashProvider&) = delete;
    HashProvider& operator=(const HashProvider&) = delete;

    BCRYPT_ALG_HANDLE Get() const { return handle_; }

private:
    BCRYPT_ALG_HANDLE handle_ = nullptr;
};

}  // namespace

std::string HashToHexadecimal(Http::HashAlgorithm algorithm, std::string_view bytes) {
    const bool md5 = algorithm == Http::HashAlgorithm::Md5;
    const HashProvider provider(md5 ? BCRYPT_MD5_ALGORITHM : BCRYPT_SHA256_ALGORITHM);
    std::array<unsigned char, 32> hash = {};
    const ULONG length = md5 ? 16 : 32;
    std::string input(bytes);
    const NTSTATUS status =
        BCryptHash(provider.Get(), nullptr, 0, reinterpret_cast<unsigned char*>(input.data()),
                   static_cast<ULONG>(input.size()), hash.data(), length);
    // The policy of a system may rule MD5 out.
    ThrowUnless(status >= 0, ERROR_NOT_SUPPORTED);
    return ToHexadecimal(hash.data(), length);
}

std::string MakeClientNonce() {
    std::array<unsigned char, 16> random = {};
    const NTSTATUS status = BCryptGenRandom(nullptr, random.data(), static_cast<ULONG>(random.size()),
                                            BCRYPT_USE_SYSTEM_PREFERRED_RNG);
    ThrowUnless(status >= 0, ERROR_NOT_SUPPORTED);
    return ToHexadecimal(random.data(), random.size());
}

}  // namespace CorvixTransport
