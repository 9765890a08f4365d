#include "transport/authenticator.h"

#include <bcrypt.h>

#include <array>

#include "transport/failure.h"
#include "transport/text.h"

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

std::string Hash(HashAlgorithm algorithm, std::string_view bytes) {
    const bool md5 = algorithm == HashAlgorithm::Md5;
    const HashProvider provider(md5 ? BCRYPT_MD5_ALGORITHM : BCRYPT_SHA256_ALGORITHM);
    std::array<unsigned char, 32> hash = {};
    const ULONG length = md5 ? 16 : 32;
    std::string input(bytes);
    const NTSTATUS status =
        BCryptHash(provider.Get(), nullptr, 0, reinterpret_cast<unsigned char*>(input.data()),
                   static_cast<ULONG>(input.size()), hash.data(), length);
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

std::vector<Challenge> ChallengesOf(const ResponseHead& head) {
    std::vector<Challenge> challenges;
    for (const std::string_view line : head.headers.FindAll("WWW-Authenticate")) {
        for (Challenge& challenge : ParseChallenges(line))
            challenges.push_back(std::move(challenge));
    }
    return challenges;
}

}  // namespace

std::optional<ChallengeMemory::Use> ChallengeMemory::Answer(const Endpoint& endpoint) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = challenges_.find(endpoint);
    if (found == challenges_.end()) return std::nullopt;
    ++found->second.count;
    return found->second;
}

void ChallengeMemory::Remember(const Endpoint& endpoint, const Challenge& challenge) {
    const std::lock_guard<std::mutex> lock(mutex_);
    challenges_[endpoint] = {challenge, 0};
}

void ChallengeMemory::Forget(const Endpoint& endpoint) {
    const std::lock_guard<std::mutex> lock(mutex_);
    challenges_.erase(endpoint);
}

std::string Authenticator::MakeAuthorization(const std::string& method, const std::string& target) {
    if (!HasCredentials()) return {};
    const std::optional<ChallengeMemory::Use> use = memory_.Answer(endpoint_);
    if (!use) return {};
    lastScheme_ = use->challenge.scheme;
    if (lastScheme_ == "basic") return MakeBasicAuthorization(credentials_);
    const DigestUse digest = {method, target, MakeClientNonce(), use->count};
    return MakeDigestAuthorization(use->challenge, credentials_, digest, Hash);
}

bool Authenticator::Learn(const ResponseHead& head) {
    if (head.status != 401 || !HasCredentials()) return false;
    const std::optional<Challenge> challenge = ChooseChallenge(ChallengesOf(head));
    if (!challenge || !MayTryAgain(*challenge)) {
        memory_.Forget(endpoint_);
        return false;
    }
    ++attempts_;
    memory_.Remember(endpoint_, *challenge);
    return true;
}

// The same password is not refused twice, which some devices punish: only a nonce may have been too old.
bool Authenticator::MayTryAgain(const Challenge& challenge) const {
    if (attempts_ == 0) return !(lastScheme_ == "basic" && challenge.scheme == "basic");
    if (attempts_ > 1 || challenge.scheme != "digest") return false;
    const std::string stale = challenge.Parameter("stale");
    return EqualsIgnoringCase(stale, "true");
}

}  // namespace CorvixTransport
