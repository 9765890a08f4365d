#include "wire/ipp/nameindex.h"

#include <algorithm>

#include "wire/ipp/keyedhash.h"
#include "wire/ipp/value.h"

namespace Corvix::Ipp {

std::string_view NameIndex::NameAt(std::string_view body, std::uint32_t offset) {
    return body.substr(offset + 2, LoadShort(body.data() + offset));
}

/// The slot that holds this name, or the free one where it belongs.
std::size_t NameIndex::SlotOf(std::string_view body, std::string_view name, std::uint32_t hash) const {
    const std::size_t mask = slots_.size() - 1;
    std::size_t slot = hash & mask;
    while (slots_[slot] != none) {
        const Entry& entry = entries_[slots_[slot]];
        if (entry.hash == hash && NameAt(body, entry.offset) == name) break;
        slot = (slot + 1) & mask;
    }
    return slot;
}

const NameIndex::Entry* NameIndex::Find(std::string_view body, std::string_view name) const {
    if (slots_.empty()) return nullptr;
    const auto hash = static_cast<std::uint32_t>(KeyedHash(name));
    const std::uint32_t index = slots_[SlotOf(body, name, hash)];
    return index == none ? nullptr : &entries_[index];
}

std::uint32_t NameIndex::Add(std::string_view body, std::uint32_t offset) {
    // At most half of the slots are taken, so that a search is short.
    if ((entries_.size() + 1) * 2 > slots_.size()) GrowSlots();
    const std::string_view name = NameAt(body, offset);
    const auto hash = static_cast<std::uint32_t>(KeyedHash(name));
    std::uint32_t& slot = slots_[SlotOf(body, name, hash)];
    if (slot == none) {
        slot = static_cast<std::uint32_t>(entries_.size());
        entries_.push_back({hash, offset, none, none});
    }
    return slot;
}

void NameIndex::GrowSlots() {
    constexpr std::size_t firstSize = 64;
    slots_.assign(std::max(firstSize, slots_.size() * 2), none);
    const std::size_t mask = slots_.size() - 1;
    for (std::uint32_t index = 0; index < entries_.size(); ++index) {
        std::size_t slot = entries_[index].hash & mask;
        while (slots_[slot] != none)
            slot = (slot + 1) & mask;
        slots_[slot] = index;
    }
}

}  // namespace Corvix::Ipp
