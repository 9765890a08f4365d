#include "wire/ipp/nameindex.h"

#include <algorithm>
#include <cstring>
#include <random>

#include "wire/ipp/value.h"

namespace Corvix::Ipp {
namespace {

struct Key {
    std::uint64_t first;
    std::uint64_t second;
};

Key MakeKey() {
    std::random_device device;
    const auto draw = [&] { return static_cast<std::uint64_t>(device()) << 32 | device(); };
    return {draw(), draw()};
}

constexpr std::uint64_t RotateLeft(std::uint64_t value, int bits) {
    return value << bits | value >> (64 - bits);
}

struct State {
    std::uint64_t v0, v1, v2, v3;

    void Round() {
        v0 += v1;
        v2 += v3;
        v1 = RotateLeft(v1, 13) ^ v0;
        v3 = RotateLeft(v3, 16) ^ v2;
        v0 = RotateLeft(v0, 32);
        v2 += v1;
        v0 += v3;
        v1 = RotateLeft(v1, 17) ^ v2;
        v3 = RotateLeft(v3, 21) ^ v0;
        v2 = RotateLeft(v2, 32);
    }
    void Absorb(std::uint64_t word) {
        v3 ^= word;
        Round();
        v0 ^= word;
    }
};

std::uint64_t LoadWord(const char* bytes, std::size_t count) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, count);
    return word;
}

/// SipHash-1-3 under a key that differs from process to process.
std::uint64_t KeyedHash(std::string_view text) {
    static const Key key = MakeKey();
    State state{key.first ^ 0x736F6D6570736575u, key.second ^ 0x646F72616E646F6Du,
                key.first ^ 0x6C7967656E657261u, key.second ^ 0x7465646279746573u};
    const std::size_t whole = text.size() & ~std::size_t{7};
    for (std::size_t at = 0; at < whole; at += 8)
        state.Absorb(LoadWord(text.data() + at, 8));
    const std::uint64_t length = static_cast<std::uint64_t>(text.size()) << 56;
    state.Absorb(length | (text.size() > whole ? LoadWord(text.data() + whole, text.size() - whole) : 0));
    state.v2 ^= 0xFF;
    for (int i = 0; i < 3; ++i)
        state.Round();
    return state.v0 ^ state.v1 ^ state.v2 ^ state.v3;
}

}  // namespace

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
