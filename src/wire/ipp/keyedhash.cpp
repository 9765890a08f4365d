#include "wire/ipp/keyedhash.h"

#include <cstring>
#include <random>

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

}  // namespace

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

}  // namespace Corvix::Ipp
