/// Proves who the user is, when the device asks.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "transport/http/connectionpool.h"
#include "wire/http/authentication.h"
#include "wire/http/responsereader.h"

namespace CorvixTransport {

namespace Http = Corvix::Http;

/// The challenges that devices have put to an address, so that later requests answer them unasked: it saves an
/// exchange, and the body of a streamed request could not be sent twice. May be used from any thread.
class ChallengeMemory {
public:
    struct Use {
        Http::Challenge challenge;
        /// How often the challenge has been answered, this time included.
        unsigned count = 0;
    };

    std::optional<Use> Answer(const Endpoint& endpoint);
    void Remember(const Endpoint& endpoint, const Http::Challenge& challenge);
    void Forget(const Endpoint& endpoint);

private:
    std::mutex mutex_;
    std::map<Endpoint, Use> challenges_;
};

/// Answers for one request.
class Authenticator {
public:
    Authenticator(ChallengeMemory& memory, const Endpoint& endpoint, const Http::Credentials& credentials)
        : memory_(memory), endpoint_(endpoint), credentials_(credentials) {}

    bool HasCredentials() const { return !credentials_.IsEmpty(); }

    /// The value of "Authorization"; empty when the device has not asked, or there is nothing to tell.
    std::string MakeAuthorization(const std::string& method, const std::string& target);

    /// Takes the challenges of a 401 response. \return whether it is worth asking again.
    bool Learn(const Http::ResponseHead& head);

private:
    bool MayTryAgain(const Http::Challenge& challenge) const;

    ChallengeMemory& memory_;
    Endpoint endpoint_;
    Http::Credentials credentials_;
    std::string lastScheme_;
    unsigned attempts_ = 0;
};

}  // namespace CorvixTransport
