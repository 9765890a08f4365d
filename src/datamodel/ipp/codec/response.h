/// A response as it was read: its header and the values of its attributes, by name.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Corvix::Ipp {

/// What stopped the reading: the byte of the body where, and why.
struct Fault {
    std::size_t offset;
    const char* reason;
};

/// A read response. It keeps one copy of the body, one small record for each attribute and an index of the
/// names; values stay where they are in the body and become text when asked for.
///
/// Values of one name that come in several groups are joined in the order of arrival. A name with dots leads
/// into collections: "media-col.media-size.x-dimension" is the member, of each collection of the set.
///
/// Dates, texts with a language, out-of-band and unknown values are not kept: a name without any other value
/// is not in the response.
class Response {
public:
    std::uint8_t MinorVersion() const { return minorVersion_; }
    std::uint32_t StatusCode() const { return statusCode_; }
    std::uint32_t RequestId() const { return requestId_; }
    /// Whether the header was read, so that there is a status.
    bool HasHeader() const { return hasHeader_; }
    /// Whether the tag that ends the attributes was met.
    bool HasEndTag() const { return hasEndTag_; }
    /// What stopped the reading; everything before it can be asked for.
    const std::optional<Fault>& GetFault() const { return fault_; }

    /// Whether an attribute of this name is there; members of collections have none of their own.
    bool Contains(std::string_view name) const;
    /// The values, joined by ",", without commas at the end; nothing when the name is not in the response.
    /// "status-code" is the status of the header as a number.
    std::optional<std::string> ValueText(std::string_view name) const;

    /// The different names of the attributes, in the order of their first appearance.
    std::size_t NameCount() const { return names_.size(); }
    std::string_view Name(std::size_t index) const;

    /// The bytes that were read.
    std::string_view Body() const { return body_; }

    /// The bytes that the response occupies on the heap.
    std::size_t HeapBytes() const;

private:
    friend class ResponseReader;

    static constexpr std::uint32_t none = 0xFFFFFFFF;

    /// One appearance of an attribute; its values stand in the body from `begin` to `end`, one after the
    /// other.
    struct Appearance {
        std::uint32_t name;  ///< index in names_
        std::uint32_t begin;
        std::uint32_t end;
        std::uint32_t next;  ///< the next appearance of the same name
    };
    struct NameEntry {
        std::uint32_t hash;
        std::uint32_t offset;  ///< where the name's two bytes of length are
        std::uint32_t first;   ///< appearances
        std::uint32_t last;
    };
    using Path = std::vector<std::string_view>;

    std::string_view NameAt(std::uint32_t offset) const;
    std::size_t SlotOf(std::string_view name, std::uint32_t hash) const;
    const NameEntry* Find(std::string_view name) const;
    void AddAppearance(std::uint32_t nameOffset, std::uint32_t begin);
    std::uint32_t EntryOf(std::uint32_t nameOffset);
    void GrowSlots();
    bool AppendTexts(const NameEntry& entry, const Path& path, std::string& text) const;
    std::optional<std::string> MemberText(std::string_view name) const;

    std::string body_;
    std::vector<Appearance> appearances_;
    std::vector<NameEntry> names_;
    std::vector<std::uint32_t> slots_;  ///< indices of names_, none where free; a power of two of them
    std::uint32_t expected_ = none;     ///< the appearance whose name comes next when groups are alike
    std::optional<Fault> fault_;
    std::uint32_t statusCode_ = 0;
    std::uint32_t requestId_ = 0;
    std::uint8_t minorVersion_ = 0;
    bool hasHeader_ = false;
    bool hasEndTag_ = false;
};

}  // namespace Corvix::Ipp
