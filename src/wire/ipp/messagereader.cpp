#include "wire/ipp/messagereader.h"

#include <utility>

namespace Corvix::Ipp {
namespace {

constexpr std::size_t longestBody = 0xFFFFFFFE;
constexpr std::size_t longestName = 1023;
constexpr unsigned char majorVersion = 2;
constexpr const char* notClosed = "a collection is not closed";

}  // namespace

bool MessageReader::Fail(std::size_t offset, const char* reason) {
    message_.fault_ = Fault{offset, reason};
    return false;
}

bool MessageReader::Lack(std::size_t offset, const char* reason) {
    shortage_ = Fault{offset, reason};
    return false;
}

bool MessageReader::IsDone() const {
    return message_.fault_ || (kind_ == MessageKind::Request && message_.hasEndTag_);
}

bool MessageReader::Append(std::string_view bytes) {
    if (bytes.size() > longestBody - message_.body_.size())
        return Fail(longestBody, "the body is longer than 4 GB");
    message_.body_.append(bytes);
    shortage_.reset();
    while (!IsDone() && ReadNext())
        message_.end_ = position_;
    return !IsDone();
}

Message MessageReader::Finish() {
    if (!message_.fault_) message_.fault_ = shortage_;
    if (!message_.fault_ && !open_.empty()) Fail(message_.end_, notClosed);
    if (kind_ == MessageKind::Request) message_.body_.resize(message_.end_);
    return std::move(message_);
}

/// Reads the header, a delimiter or a value. One that is not whole yet changes nothing: it is read again when
/// more bytes have come.
bool MessageReader::ReadNext() {
    position_ = message_.end_;
    if (!message_.hasHeader_) return ReadHeader();
    if (position_ == message_.body_.size()) return false;
    const auto tag = static_cast<unsigned char>(message_.body_[position_]);
    return tag < Tag::FirstValue ? ReadDelimiter(tag) : ReadValue(tag);
}

/// Hands over the next bytes of the body and moves on behind them.
bool MessageReader::CopyContentToBuffer(std::size_t count, std::string_view& content, const char* shortage) {
    if (message_.body_.size() - position_ < count) return Lack(position_, shortage);
    content = message_.Body().substr(position_, count);
    position_ += static_cast<std::uint32_t>(count);
    return true;
}

bool MessageReader::ReadHeader() {
    constexpr std::size_t headerBytes = 8;
    std::string_view bytes;
    if (!CopyContentToBuffer(headerBytes, bytes, nullptr))
        return Lack(message_.body_.size(), "the body ends within the header");
    const auto version = static_cast<std::uint8_t>(bytes[0]);
    if (kind_ == MessageKind::Answer && version != majorVersion) return Fail(0, "the version is not 2.x");
    message_.header_ = {version, static_cast<std::uint8_t>(bytes[1]),
                        static_cast<std::uint16_t>(LoadShort(&bytes[2])), LoadInt(&bytes[4])};
    message_.hasHeader_ = true;
    const bool good = message_.Code() == Status::Ok || message_.Code() == Status::ClientErrorNotFound;
    return good || !options_.failOnErrorStatus || Fail(2, "the status is an error");
}

bool MessageReader::ReadDelimiter(unsigned char tag) {
    if (!open_.empty()) return Fail(position_, notClosed);
    if (tag == Tag::EndOfAttributes) {
        message_.hasEndTag_ = true;
        inGroup_ = false;
    } else {
        OpenGroup(tag);
    }
    inAttribute_ = false;
    ++position_;
    return true;
}

void MessageReader::OpenGroup(unsigned char tag) {
    message_.groups_.push_back({static_cast<std::uint32_t>(message_.attributes_.size()), tag});
    inGroup_ = true;
}

bool MessageReader::ReadLength(std::size_t& length, const char* shortage) {
    std::string_view bytes;
    if (!CopyContentToBuffer(2, bytes, shortage)) return false;
    length = LoadShort(bytes.data());
    return true;
}

bool MessageReader::ReadValue(unsigned char tag) {
    const std::uint32_t begin = position_++;
    std::string_view name;
    if (!ReadName(tag, name)) return false;
    const std::uint32_t lengthAt = position_;
    std::size_t length = 0;
    if (!ReadLength(length, "the body ends within the length of a value")) return false;
    const TagRule& rule = RuleOf(tag);
    if (length < rule.shortest || length > rule.longest) return Fail(lengthAt, rule.reason);
    std::string_view value;
    if (!CopyContentToBuffer(length, value, "the body ends within a value")) return false;
    if (!name.empty()) {
        name_ = begin + 1;
        hasName_ = true;
        inAttribute_ = false;
    }
    return Keep(rule.handling, begin);
}

/// The name of a value; without one it is a further value of the name before.
bool MessageReader::ReadName(unsigned char tag, std::string_view& name) {
    const std::uint32_t at = position_;
    std::size_t length = 0;
    if (!ReadLength(length, "the body ends within the length of a name")) return false;
    if (length > longestName) return Fail(at, "a name is longer than 1023 bytes");
    if (length == 0) return hasName_ || Fail(at, "a value comes before any name");
    if (tag == Tag::MemberAttrName) return Fail(at, "a member's name comes with an attribute's name");
    if (!open_.empty()) return Fail(at, notClosed);
    return CopyContentToBuffer(length, name, "the body ends within a name");
}

bool MessageReader::Keep(Handling handling, std::uint32_t begin) {
    if (handling == Handling::NameMember)
        return !open_.empty() || Fail(begin, "a member's name stands outside a collection");
    if (handling == Handling::CloseCollection) {
        if (open_.empty()) return Fail(begin, "a collection ends that was not begun");
        message_.collections_[open_.back()].end = position_;
        open_.pop_back();
        return true;
    }
    if (!inAttribute_) BeginAttribute(begin);
    if (handling == Handling::OpenCollection) {
        open_.push_back(static_cast<std::uint32_t>(message_.collections_.size()));
        message_.collections_.push_back({position_, 0});
    }
    return true;
}

void MessageReader::BeginAttribute(std::uint32_t begin) {
    if (!inGroup_) OpenGroup(0);
    inAttribute_ = true;
    const std::uint32_t name = NameOfAttribute();
    auto& attributes = message_.attributes_;
    const auto index = static_cast<std::uint32_t>(attributes.size());
    NameIndex::Entry& entry = message_.names_[name];
    const bool isFirst = entry.last == NameIndex::none;
    expected_ = isFirst ? NameIndex::none : entry.last + 1;
    (isFirst ? entry.first : attributes[entry.last].next) = index;
    entry.last = index;
    attributes.push_back({name, begin, NameIndex::none});
}

/// The index of the current name.
std::uint32_t MessageReader::NameOfAttribute() {
    const std::string_view body = message_.body_;
    // Groups mostly repeat the attributes of the group before them, and then nothing has to be looked up.
    if (expected_ < message_.attributes_.size()) {
        const std::uint32_t name = message_.attributes_[expected_].name;
        if (NameIndex::NameAt(body, message_.names_[name].offset) == NameIndex::NameAt(body, name_))
            return name;
    }
    return message_.names_.Add(body, name_);
}

Message ReadResponseData(std::string_view body, ReadOptions options) {
    MessageReader reader(MessageKind::Answer, options);
    reader.Append(body);
    return reader.Finish();
}

}  // namespace Corvix::Ipp
