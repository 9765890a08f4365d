#include "datamodel/ipp/codec/responsereader.h"

#include <utility>

#include "datamodel/ipp/codec/wire.h"

namespace Corvix::Ipp {

/// One pass over the body with a cursor. Collections are counted, not descended into, so that their depth
/// costs nothing.
class ResponseReader {
public:
    ResponseReader(std::string_view body, ReadOptions options) : options_(options) {
        response_.body_.assign(body);
    }

    Response Read() {
        if (ReadHeader()) {
            while (position_ < Size() && ReadItem()) {
            }
        }
        if (!response_.fault_ && depth_ > 0) Fail(position_, "a collection is not closed");
        return std::move(response_);
    }

private:
    std::size_t Size() const { return response_.body_.size(); }
    const char* At(std::size_t offset) const { return response_.body_.data() + offset; }
    bool Holds(std::size_t bytes) const { return Size() - position_ >= bytes; }

    bool Fail(std::size_t offset, const char* reason) {
        response_.fault_ = Fault{offset, reason};
        return false;
    }

    bool ReadHeader() {
        constexpr std::size_t headerBytes = 8;
        if (Size() > longestBody) return Fail(longestBody, "the body is longer than 4 GB");
        if (!Holds(headerBytes)) return Fail(Size(), "the body ends within the header");
        if (*At(0) != 2) return Fail(0, "the version is not 2.x");
        response_.minorVersion_ = static_cast<std::uint8_t>(*At(1));
        response_.statusCode_ = LoadShort(At(2));
        response_.requestId_ = LoadInt(At(4));
        response_.hasHeader_ = true;
        position_ = headerBytes;
        const bool good =
            response_.statusCode_ == Status::Ok || response_.statusCode_ == Status::ClientErrorNotFound;
        if (options_.failOnErrorStatus && !good) return Fail(2, "the status is an error");
        return true;
    }

    bool ReadItem() {
        const auto tag = static_cast<unsigned char>(*At(position_));
        return tag < Tag::FirstValue ? ReadDelimiter(tag) : ReadValue(tag);
    }

    bool ReadDelimiter(unsigned char tag) {
        if (depth_ > 0) return Fail(position_, "a collection is not closed");
        if (tag == Tag::EndOfAttributes) response_.hasEndTag_ = true;
        inAppearance_ = false;
        ++position_;
        return true;
    }

    bool ReadValue(unsigned char tag) {
        const std::size_t begin = position_++;
        if (!ReadName(tag)) return false;
        if (!Holds(2)) return Fail(position_, "the body ends within the length of a value");
        const std::size_t length = LoadShort(At(position_));
        const TagRule& rule = RuleOf(tag);
        if (length < rule.shortest || length > rule.longest) return Fail(position_, rule.reason);
        position_ += 2;
        if (!Holds(length)) return Fail(position_, "the body ends within a value");
        if (!Take(rule.handling, begin)) return false;
        position_ += length;
        if (rule.handling != Handling::Skip) response_.appearances_.back().end = Narrow(position_);
        return true;
    }

    /// The name of a value; without one it is a further value of the name before.
    bool ReadName(unsigned char tag) {
        if (!Holds(2)) return Fail(position_, "the body ends within the length of a name");
        const std::size_t at = position_;
        const std::size_t length = LoadShort(At(at));
        if (length > longestName) return Fail(at, "a name is longer than 1023 bytes");
        position_ += 2;
        if (length == 0) return hasName_ || Fail(at, "a value comes before any name");
        if (tag == Tag::MemberAttrName) return Fail(at, "a member's name comes with an attribute's name");
        if (depth_ > 0) return Fail(at, "a collection is not closed");
        if (!Holds(length)) return Fail(position_, "the body ends within a name");
        position_ += length;
        name_ = at;
        hasName_ = true;
        inAppearance_ = false;
        return true;
    }

    bool Take(Handling handling, std::size_t begin) {
        switch (handling) {
            case Handling::Skip:
                return true;
            case Handling::NameMember:
                return depth_ > 0 || Fail(begin, "a member's name stands outside a collection");
            case Handling::CloseCollection:
                if (depth_ == 0) return Fail(begin, "a collection ends that was not begun");
                --depth_;
                return true;
            case Handling::OpenCollection:
                BeginAppearance(begin);
                ++depth_;
                return true;
            case Handling::Keep:
                BeginAppearance(begin);
                return true;
        }
        return true;
    }

    void BeginAppearance(std::size_t begin) {
        if (inAppearance_) return;
        response_.AddAppearance(Narrow(name_), Narrow(begin));
        inAppearance_ = true;
    }

    static std::uint32_t Narrow(std::size_t offset) { return static_cast<std::uint32_t>(offset); }

    static constexpr std::size_t longestBody = 0xFFFFFFFE;
    static constexpr std::size_t longestName = 1023;

    Response response_;
    ReadOptions options_;
    std::size_t position_ = 0;
    std::size_t name_ = 0;  ///< where the current name is
    std::size_t depth_ = 0;
    bool hasName_ = false;
    bool inAppearance_ = false;  ///< whether the values that come belong to the last appearance
};

Response ReadResponse(std::string_view body, ReadOptions options) {
    return ResponseReader(body, options).Read();
}

}  // namespace Corvix::Ipp
