/// Hashes and random texts, by the system's cryptography.
#pragma once

#include <string>
#include <string_view>

#include "wire/http/authentication.h"

namespace CorvixTransport {

namespace Http = Corvix::Http;

/// Both throw a Failure when the system refuses, as it may do for MD5.
std::string HashToHexadecimal(Http::HashAlgorithm algorithm, std::string_view bytes);
std::string MakeClientNonce();

}  // namespace CorvixTransport
