/// What a line of the log is, and which lines are switched on.
#pragma once

#include <cstdint>

namespace KyUtils {

/// What a line is, as its flags say: kinds, which decide whether it is written, and remarks, which only add a
/// marker.
namespace LineFlag {
constexpr std::uint32_t InfoLevelMask = 0xF;
constexpr std::uint32_t Info = 0x10;  // with the level in the lowest four bits
constexpr std::uint32_t Exception = 0x20;
constexpr std::uint32_t Warning = 0x40;
constexpr std::uint32_t Error = 0x80;
constexpr std::uint32_t State = 0x100;
constexpr std::uint32_t Debug = 0x200;
constexpr std::uint32_t Entry = 0x400;
constexpr std::uint32_t Exit = 0x800;
constexpr std::uint32_t KindMask = 0xFF0;

constexpr std::uint32_t PartMask = 0xF000;
constexpr unsigned PartShift = 12;
constexpr std::uint32_t Duration = 0x400000;  // an exit line tells the time spent
constexpr std::uint32_t Lock = 1u << 25;
constexpr std::uint32_t Network = 1u << 26;
constexpr std::uint32_t Remark = 1u << 29;
constexpr std::uint32_t Milestone = 1u << 30;

/// A line of a numbered part (1 to 15) of its module.
constexpr std::uint32_t Part(unsigned number) { return (number << PartShift) & PartMask; }
}  // namespace LineFlag

/// Which lines are written, packed into one word that is read without a lock: the kinds that are on stand
/// where a line's flags have them, the greatest informational level in the lowest four bits. 0 lets nothing
/// pass.
namespace LineGate {
constexpr std::uint32_t closed = 0;
constexpr std::uint32_t open = 0x80000000;
constexpr unsigned categoryShift = 4;  // category 1 is kind 0x10, category 2 is kind 0x20, ...

constexpr std::uint32_t Of(std::uint32_t categories, std::uint32_t infoDetailLevel) {
    const std::uint32_t level =
        infoDetailLevel < LineFlag::InfoLevelMask ? infoDetailLevel : LineFlag::InfoLevelMask;
    return open | ((categories << categoryShift) & LineFlag::KindMask) | level;
}

/// A line passes when one of its kinds is on; a line without a kind passes every open gate.
constexpr bool Passes(std::uint32_t gate, std::uint32_t flags) {
    if (gate == closed) return false;
    if (flags & gate & LineFlag::KindMask & ~LineFlag::Info) return true;
    if (flags & gate & LineFlag::Info)
        return (flags & LineFlag::InfoLevelMask) <= (gate & LineFlag::InfoLevelMask);
    return (flags & LineFlag::KindMask) == 0;
}
}  // namespace LineGate

}  // namespace KyUtils
