/// A hash that a device cannot aim at.
#pragma once

#include <cstdint>
#include <string_view>

namespace Corvix::Ipp {

/// SipHash-1-3 under a key that differs from process to process, so that no response can be made up of names
/// that fall into one slot.
std::uint64_t KeyedHash(std::string_view text);

}  // namespace Corvix::Ipp
