/// The different names of the attributes in a message.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace Corvix::Ipp {

/// A hash table whose names stay where they are in the body of the message, which is handed to each call.
/// Its key differs from process to process, so that no message can be made up of names that collide.
class NameIndex {
public:
    static constexpr std::uint32_t none = 0xFFFFFFFF;

    /// A name, and its attributes in the message: the first and the last of a chain.
    struct Entry {
        std::uint32_t hash;
        std::uint32_t offset;  ///< where the name's two bytes of length are
        std::uint32_t first;
        std::uint32_t last;
    };

    /// The name whose length is at this place of the body.
    static std::string_view NameAt(std::string_view body, std::uint32_t offset);

    /// Null when the name is not here.
    const Entry* Find(std::string_view body, std::string_view name) const;
    /// The index of the name at this place of the body, which is added when it is new.
    std::uint32_t Add(std::string_view body, std::uint32_t offset);

    Entry& operator[](std::uint32_t index) { return entries_[index]; }
    const Entry& operator[](std::uint32_t index) const { return entries_[index]; }
    const std::vector<Entry>& Entries() const { return entries_; }

private:
    std::size_t SlotOf(std::string_view body, std::string_view name, std::uint32_t hash) const;
    void GrowSlots();

    std::vector<Entry> entries_;
    std::vector<std::uint32_t> slots_;  ///< indices of entries_, none where free; a power of two of them
};

}  // namespace Corvix::Ipp
