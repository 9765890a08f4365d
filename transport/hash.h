// Hashes and random texts, by the system's cryptography.
#pragma once

#include <string>
#include <string_view>

#include "transport/wire/authentication.h"

namespace CorvixTransport {

// Both throw a Failure when the system refuses, as it may do for MD5.
std::string HashToHexadecimal(HashAlgorithm algorithm, std::string_view bytes);
std::string MakeClientNonce();

}  // namespace CorvixTransport
