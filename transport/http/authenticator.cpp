#include "transport/http/authenticator.h"

#include "transport/http/hash.h"
#include "wire/ascii.h"

namespace CorvixTransport {

namespace {

std::vector<Http::Challenge> ChallengesOf(const Http::ResponseHead& head) {
    std::vector<Http::Challenge> challenges;
    for (const std::string_view line : head.headers.FindAll("WWW-Authenticate")) {
        for (Http::Challenge& challenge : Http::ParseChallenges(line))
            challenges.push_back(std::move(challenge));
    }
    return challenges;
}

}  // namespace

std::optional<ChallengeMemory::Use> ChallengeMemory::Answer(const Endpoint& endpoint) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = challenges_.find(endpoint);
    if (found == challenges_.end()) return std::nullopt;
    // A device refuses a count that it has seen, so two requests must not share one.
    ++found->second.count;
    return found->second;
}

void ChallengeMemory::Remember(const Endpoint& endpoint, const Http::Challenge& challenge) {
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
    if (lastScheme_ == "basic") return Http::MakeBasicAuthorization(credentials_);
    const Http::DigestUse digest = {method, target, MakeClientNonce(), use->count};
    return Http::MakeDigestAuthorization(use->challenge, credentials_, digest, HashToHexadecimal);
}

bool Authenticator::Learn(const Http::ResponseHead& head) {
    if (head.status != 401 || !HasCredentials()) return false;
    const std::optional<Http::Challenge> challenge = Http::ChooseChallenge(ChallengesOf(head));
    // From now on requests tell no credentials unasked: these were of no use.
    if (!challenge || !MayTryAgain(*challenge)) {
        memory_.Forget(endpoint_);
        return false;
    }
    ++attempts_;
    memory_.Remember(endpoint_, *challenge);
    return true;
}

// A refused password is not tried again, because some devices lock the account; only a stale nonce is worth a
// second attempt.
bool Authenticator::MayTryAgain(const Http::Challenge& challenge) const {
    if (attempts_ == 0) return !(lastScheme_ == "basic" && challenge.scheme == "basic");
    if (attempts_ > 1 || challenge.scheme != "digest") return false;
    return Corvix::Ascii::EqualsIgnoringCase(challenge.Parameter("stale"), "true");
}

}  // namespace CorvixTransport
