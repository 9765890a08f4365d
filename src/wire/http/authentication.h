/// What a device that wants a user name and password asks for, and the answers to it: Basic and Digest.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Corvix::Http {

/// One challenge of a "WWW-Authenticate" header. Scheme and parameter names are in lower case.
struct Challenge {
    std::string scheme;
    std::map<std::string, std::string> parameters;

    std::string Parameter(const std::string& name) const {
        const auto found = parameters.find(name);
        return found == parameters.end() ? std::string() : found->second;
    }
};

/// All challenges of one header value; what cannot be understood ends the list.
std::vector<Challenge> ParseChallenges(std::string_view headerValue);

/// The strongest challenge that we can answer: Digest with SHA-256, with MD5, then Basic.
std::optional<Challenge> ChooseChallenge(const std::vector<Challenge>& challenges);

enum class HashAlgorithm { Md5, Sha256 };

/// \return the hash in lower-case hexadecimal digits.
using HashFunction = std::function<std::string(HashAlgorithm algorithm, std::string_view bytes)>;

struct Credentials {
    std::string userName;
    std::string password;

    bool IsEmpty() const { return userName.empty() && password.empty(); }
};

/// What is different in each request that answers a Digest challenge.
struct DigestUse {
    std::string method;
    std::string target;
    /// A text of our own choice that the device could not foresee.
    std::string clientNonce;
    /// How many requests have answered this challenge, this one included.
    unsigned count = 1;
};

std::string MakeBasicAuthorization(const Credentials& credentials);
std::string MakeDigestAuthorization(const Challenge& challenge, const Credentials& credentials,
                                    const DigestUse& use, const HashFunction& hash);

}  // namespace Corvix::Http
