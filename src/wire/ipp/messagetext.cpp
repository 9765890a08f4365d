// The joined text of an attribute: a view on its values.
#include <algorithm>
#include <utility>

#include "wire/ipp/message.h"
#include "wire/ipp/tagrules.h"

namespace Corvix::Ipp {
namespace {

using Path = std::vector<std::string_view>;

/// Follows a path of member names through collections. Told of each thing in its order, it knows whether a
/// value lies at the end of the path or below; an empty path leads to every value. Collections are counted and
/// not descended into, so that their depth costs nothing.
class PathTracker {
public:
    explicit PathTracker(const Path& path) : path_(path) {}

    bool IsOnTarget() const { return matched_ + (memberMatches_ ? 1 : 0) == path_.size(); }

    void Pass(Handling handling, std::string_view bytes) {
        if (handling == Handling::NameMember) NameMember(bytes);
        if (handling == Handling::OpenCollection) Open();
        if (handling == Handling::CloseCollection) Close();
    }

private:
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

    const Path& path_;
    std::size_t depth_ = 0;
    std::size_t matched_ = 0;  ///< how many of the open collections lie on the path
    bool memberMatches_ = false;
};

Path SplitAtDots(std::string_view names) {
    Path path;
    for (std::size_t begin = 0; begin <= names.size();) {
        const std::size_t end = std::min(names.find('.', begin), names.size());
        path.push_back(names.substr(begin, end - begin));
        begin = end + 1;
    }
    return path;
}

}  // namespace

/// Appends the values at the end of the path, each with a comma behind it.
/// \return whether there is anything there.
bool Message::AppendTexts(std::uint32_t begin, const Path& path, std::string& text) const {
    PathTracker tracker(path);
    bool found = false;
    std::uint32_t position = begin;
    while (const auto item = ItemAt(begin, position)) {
        const Handling handling = RuleOf(item->tag).handling;
        found = found || (handling != Handling::NoText && tracker.IsOnTarget());
        tracker.Pass(handling, item->bytes);
        if (handling == Handling::HasText && tracker.IsOnTarget()) {
            AppendText(text, *item);
            text += ',';
        }
        position = item->end;
    }
    return found;
}

std::optional<std::string> Message::JoinTexts(const NameIndex::Entry& entry, const Path& path) const {
    std::string text;
    bool found = false;
    for (std::uint32_t index = entry.first; index != NameIndex::none; index = attributes_[index].next)
        found = AppendTexts(attributes_[index].begin, path, text) || found;
    if (!found) return std::nullopt;
    text.erase(text.find_last_not_of(',') + 1);
    return text;
}

std::optional<std::string> Message::ValueText(std::string_view name) const {
    if (hasHeader_ && name == "status-code") return std::to_string(header_.code);
    if (const NameIndex::Entry* entry = names_.Find(body_, name); entry && HasText(*entry))
        return JoinTexts(*entry, {});
    const std::size_t dot = name.find('.');
    if (dot == std::string_view::npos) return std::nullopt;
    const NameIndex::Entry* entry = names_.Find(body_, name.substr(0, dot));
    return entry ? JoinTexts(*entry, SplitAtDots(name.substr(dot + 1))) : std::nullopt;
}

std::optional<std::string> Message::ValueText(const Group& group, std::string_view name) const {
    const auto attribute = Find(group, name);
    std::string text;
    if (!attribute || !AppendTexts(attribute->begin, {}, text)) return std::nullopt;
    text.erase(text.find_last_not_of(',') + 1);
    return text;
}

bool Message::HasText(const NameIndex::Entry& entry) const {
    for (std::uint32_t index = entry.first; index != NameIndex::none; index = attributes_[index].next) {
        const std::uint32_t begin = attributes_[index].begin;
        std::uint32_t position = begin;
        while (const auto item = ItemAt(begin, position)) {
            if (RuleOf(item->tag).handling != Handling::NoText) return true;
            position = item->end;
        }
    }
    return false;
}

bool Message::Contains(std::string_view name) const {
    const NameIndex::Entry* entry = names_.Find(body_, name);
    return entry && HasText(*entry);
}

std::vector<std::string_view> Message::Names() const {
    std::vector<std::string_view> names;
    for (const NameIndex::Entry& entry : names_.Entries()) {
        if (HasText(entry)) names.push_back(NameIndex::NameAt(body_, entry.offset));
    }
    return names;
}

}  // namespace Corvix::Ipp
