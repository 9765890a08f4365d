#include "device/values.h"

#include <stdexcept>

#include "base/text.h"

namespace CorvixSim {
namespace {

// Values that name each other in a circle end here.
constexpr int kMaxDepth = 4;

}  // namespace

void Values::Load(std::string_view text) {
    std::map<std::string, std::string> loaded;
    for (const std::string_view line : SplitLines(text)) {
        if (Trim(line).empty() || Trim(line).front() == '#') continue;
        const size_t equals = line.find('=');
        const std::string name(Trim(line.substr(0, equals)));
        if (equals == std::string_view::npos || name.empty()) {
            throw std::invalid_argument("not of the form name = value: \"" + std::string(line) + "\"");
        }
        loaded[name] = Trim(line.substr(equals + 1));
    }
    // Only now: a text with a mistake changes nothing, and others see all of the change or none.
    const std::lock_guard lock(mutex_);
    for (auto& [name, value] : loaded)
        values_[name] = std::move(value);
}

void Values::Set(const std::string& name, const std::string& value) {
    const std::lock_guard lock(mutex_);
    values_[name] = value;
}

void Values::SetComputed(const std::string& name, std::function<std::string()> compute) {
    const std::lock_guard lock(mutex_);
    computed_[name] = std::move(compute);
}

std::string Values::Get(const std::string& name) const {
    const std::lock_guard lock(mutex_);
    // A value that was set hides a computed one of its name: a test may stop the clock.
    if (const auto found = values_.find(name); found != values_.end()) return found->second;
    const auto computed = computed_.find(name);
    return computed == computed_.end() ? std::string() : computed->second();
}

std::string Values::Expand(std::string_view text, Escape escape, int depth) const {
    const std::lock_guard lock(mutex_);
    if (depth == kMaxDepth) return std::string(text);
    std::string expanded;
    for (;;) {
        const size_t open = text.find("{{");
        const size_t close = open == std::string_view::npos ? open : text.find("}}", open);
        if (close == std::string_view::npos) return expanded.append(text);
        const std::string name(text.substr(open + 2, close - open - 2));
        expanded.append(text.substr(0, open));
        // Braces that name nothing are text: a document may hold some of its own.
        if (values_.count(name) + computed_.count(name) == 0) {
            expanded.append(text.substr(open, close + 2 - open));
        } else {
            // Escaped once, at the outermost: an inner value is part of the outer one's text.
            const std::string value = Expand(Get(name), nullptr, depth + 1);
            expanded += escape ? escape(value) : value;
        }
        text.remove_prefix(close + 2);
    }
}

std::string Values::Json() const {
    const std::lock_guard lock(mutex_);
    return "{" +
           Joined(values_,
                  [](const auto& value) { return JsonText(value.first) + ":" + JsonText(value.second); }) +
           "}\n";
}

}  // namespace CorvixSim
