#include "datamodel/ipp/codec/response.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "datamodel/ipp/codec/keyedhash.h"
#include "datamodel/ipp/codec/wire.h"

namespace Corvix::Ipp {
namespace {

template <class Number>
void AppendNumber(std::string& text, Number number) {
    char digits[16];
    text.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

std::int32_t LoadSigned(const char* bytes) { return static_cast<std::int32_t>(LoadInt(bytes)); }

void AppendInteger(std::string& text, std::string_view value) {
    AppendNumber(text, LoadSigned(value.data()));
}

void AppendBoolean(std::string& text, std::string_view value) {
    AppendNumber(text, static_cast<unsigned>(static_cast<unsigned char>(value[0])));
}

void AppendRange(std::string& text, std::string_view value) {
    AppendInteger(text, value);
    text += '-';
    AppendInteger(text, value.substr(4));
}

void AppendResolution(std::string& text, std::string_view value) {
    const std::int32_t crossFeed = LoadSigned(value.data());
    const std::int32_t feed = LoadSigned(value.data() + 4);
    AppendNumber(text, crossFeed);
    if (feed != crossFeed) {
        text += 'x';
        AppendNumber(text, feed);
    }
    const auto units = static_cast<unsigned char>(value[8]);
    text += units == DotsPerInch ? "dpi" : units == DotsPerCentimeter ? "dpcm" : "";
}

// Devices put lists of pairs into octet strings; they read back as a plain list.
void AppendOctetString(std::string& text, std::string_view value) {
    const std::size_t begin = text.size();
    text += value;
    std::replace_if(
        text.begin() + static_cast<std::ptrdiff_t>(begin), text.end(),
        [](char character) { return character == '=' || character == ';'; }, ',');
}

void AppendValue(std::string& text, unsigned char tag, std::string_view value) {
    switch (tag) {
        case Tag::Integer:
        case Tag::Enum:
            return AppendInteger(text, value);
        case Tag::Boolean:
            return AppendBoolean(text, value);
        case Tag::RangeOfInteger:
            return AppendRange(text, value);
        case Tag::Resolution:
            return AppendResolution(text, value);
        case Tag::OctetString:
            return AppendOctetString(text, value);
        default:
            text += value;
    }
}

struct Value {
    unsigned char tag;
    std::string_view bytes;
};

/// The value at a place of the body that the reader has checked; moves on to the next one.
Value TakeValue(const char* body, std::uint32_t& position) {
    const auto tag = static_cast<unsigned char>(body[position]);
    position += 3 + LoadShort(body + position + 1);
    const std::uint32_t length = LoadShort(body + position);
    const std::string_view bytes(body + position + 2, length);
    position += 2 + length;
    return {tag, bytes};
}

/// Follows a path of member names through collections. Told of each thing in its order, it knows whether a
/// value lies at the end of the path or below; an empty path leads to every value.
class PathTracker {
public:
    explicit PathTracker(const std::vector<std::string_view>& path) : path_(path) {}

    bool IsOnTarget() const { return matched_ + (memberMatches_ ? 1 : 0) == path_.size(); }

    void NameMember(std::string_view name) {
        memberMatches_ = depth_ == matched_ + 1 && matched_ < path_.size() && path_[matched_] == name;
    }
    void Open() {
        if (memberMatches_) ++matched_;
        memberMatches_ = false;
        ++depth_;
    }
    /// Back among the values of the member that held the collection: a further one may follow.
    void Close() {
        --depth_;
        memberMatches_ = depth_ > 0 && depth_ == matched_;
        if (memberMatches_) --matched_;
    }

private:
    const std::vector<std::string_view>& path_;
    std::size_t depth_ = 0;
    std::size_t matched_ = 0;  ///< how many of the open collections lie on the path
    bool memberMatches_ = false;
};

/// Joins texts with commas.
class Joiner {
public:
    explicit Joiner(std::string& text) : text_(text) {}
    void Add(const Value& value) {
        if (!std::exchange(first_, false)) text_ += ',';
        AppendValue(text_, value.tag, value.bytes);
    }

private:
    std::string& text_;
    bool first_ = true;
};

void RemoveTrailingCommas(std::string& text) { text.erase(text.find_last_not_of(',') + 1); }

}  // namespace

std::string_view Response::NameAt(std::uint32_t offset) const {
    const char* name = body_.data() + offset;
    return {name + 2, LoadShort(name)};
}

std::string_view Response::Name(std::size_t index) const { return NameAt(names_[index].offset); }

/// The slot that holds this name, or the free one where it belongs.
std::size_t Response::SlotOf(std::string_view name, std::uint32_t hash) const {
    const std::size_t mask = slots_.size() - 1;
    std::size_t slot = hash & mask;
    while (slots_[slot] != none) {
        const std::uint32_t index = slots_[slot];
        if (names_[index].hash == hash && Name(index) == name) break;
        slot = (slot + 1) & mask;
    }
    return slot;
}

const Response::NameEntry* Response::Find(std::string_view name) const {
    if (slots_.empty()) return nullptr;
    const std::uint32_t index = slots_[SlotOf(name, static_cast<std::uint32_t>(KeyedHash(name)))];
    return index == none ? nullptr : &names_[index];
}

/// The entry of the name at this place, a new one when the name is new.
std::uint32_t Response::EntryOf(std::uint32_t nameOffset) {
    const std::string_view name = NameAt(nameOffset);
    // Groups mostly repeat the attributes of the group before them, and then nothing has to be looked up.
    if (expected_ < appearances_.size() && Name(appearances_[expected_].name) == name)
        return appearances_[expected_].name;
    if ((names_.size() + 1) * 2 > slots_.size()) GrowSlots();
    const auto hash = static_cast<std::uint32_t>(KeyedHash(name));
    std::uint32_t& slot = slots_[SlotOf(name, hash)];
    if (slot == none) {
        slot = static_cast<std::uint32_t>(names_.size());
        names_.push_back({hash, nameOffset, none, none});
    }
    return slot;
}

void Response::AddAppearance(std::uint32_t nameOffset, std::uint32_t begin) {
    const std::uint32_t name = EntryOf(nameOffset);
    const auto index = static_cast<std::uint32_t>(appearances_.size());
    NameEntry& entry = names_[name];
    expected_ = entry.last == none ? none : entry.last + 1;
    (entry.last == none ? entry.first : appearances_[entry.last].next) = index;
    entry.last = index;
    appearances_.push_back({name, begin, begin, none});
}

void Response::GrowSlots() {
    constexpr std::size_t firstSize = 64;
    slots_.assign(std::max(firstSize, slots_.size() * 2), none);
    const std::size_t mask = slots_.size() - 1;
    for (std::uint32_t index = 0; index < names_.size(); ++index) {
        std::size_t slot = names_[index].hash & mask;
        while (slots_[slot] != none)
            slot = (slot + 1) & mask;
        slots_[slot] = index;
    }
}

/// Appends the values at the end of the path, in the order of arrival.
/// \return whether there is anything there.
bool Response::AppendTexts(const NameEntry& entry, const Path& path, std::string& text) const {
    Joiner joiner(text);
    bool found = false;
    for (std::uint32_t index = entry.first; index != none; index = appearances_[index].next) {
        const Appearance& appearance = appearances_[index];
        PathTracker tracker(path);
        for (std::uint32_t position = appearance.begin; position < appearance.end;) {
            const Value value = TakeValue(body_.data(), position);
            const Handling handling = RuleOf(value.tag).handling;
            found = found || (handling != Handling::Skip && tracker.IsOnTarget());
            if (handling == Handling::NameMember) tracker.NameMember(value.bytes);
            if (handling == Handling::OpenCollection) tracker.Open();
            if (handling == Handling::CloseCollection) tracker.Close();
            if (handling == Handling::Keep && tracker.IsOnTarget()) joiner.Add(value);
        }
    }
    return found;
}

std::optional<std::string> Response::MemberText(std::string_view name) const {
    const std::size_t dot = name.find('.');
    if (dot == std::string_view::npos) return std::nullopt;
    const NameEntry* entry = Find(name.substr(0, dot));
    if (!entry) return std::nullopt;
    Path path;
    for (std::size_t begin = dot + 1; begin <= name.size();) {
        const std::size_t end = std::min(name.find('.', begin), name.size());
        path.push_back(name.substr(begin, end - begin));
        begin = end + 1;
    }
    std::string text;
    if (!AppendTexts(*entry, path, text)) return std::nullopt;
    RemoveTrailingCommas(text);
    return text;
}

std::optional<std::string> Response::ValueText(std::string_view name) const {
    if (hasHeader_ && name == "status-code") return std::to_string(statusCode_);
    const NameEntry* entry = Find(name);
    if (!entry) return MemberText(name);
    std::string text;
    AppendTexts(*entry, {}, text);
    RemoveTrailingCommas(text);
    return text;
}

bool Response::Contains(std::string_view name) const { return Find(name) != nullptr; }

std::size_t Response::HeapBytes() const {
    return body_.capacity() + appearances_.capacity() * sizeof(Appearance) +
           names_.capacity() * sizeof(NameEntry) + slots_.capacity() * sizeof(std::uint32_t);
}

}  // namespace Corvix::Ipp
