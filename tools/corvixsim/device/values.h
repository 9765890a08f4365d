// The named values of the device. Every service shows them, so that one device speaks through all of them.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace CorvixSim {

/// Any thread may call any operation.
class Values {
public:
    using Escape = std::string (*)(std::string_view);

    /// Takes the lines "name = value" of a text; blank lines and lines that begin with '#' say nothing.
    /// Throws std::invalid_argument for any other line; then nothing has changed.
    void Load(std::string_view text);

    void Set(const std::string& name, const std::string& value);

    /// A value that is worked out whenever it is asked for.
    void SetComputed(const std::string& name, std::function<std::string()> compute);

    /// The value, or an empty text for an unknown name.
    std::string Get(const std::string& name) const;

    /// The text with each {{name}} replaced by the value, escaped if `escape` is given. Values may name
    /// others in their turn; `depth` counts how often they do. Unknown names stay.
    std::string Expand(std::string_view text, Escape escape = nullptr, int depth = 0) const;

    std::string Json() const;

private:
    mutable std::recursive_mutex mutex_;  ///< values name each other: one is worked out within another
    std::map<std::string, std::string> values_;
    std::map<std::string, std::function<std::string()>> computed_;
};

}  // namespace CorvixSim
