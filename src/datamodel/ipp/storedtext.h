/// A text of a record.
#pragma once

#include <optional>
#include <string>

#include "utilslib/boundary.h"

namespace Corvix {

/// A copied text, null until it is set.
template <class Character>
class StoredText {
public:
    void Set(const Character* text) {
        KyUtils::RaisingComErrors([&] {
            if (text) {
                text_ = std::basic_string<Character>(text);
            } else {
                text_.reset();
            }
        });
    }
    const Character* Get() const { return text_ ? text_->c_str() : nullptr; }

private:
    std::optional<std::basic_string<Character>> text_;
};

}  // namespace Corvix
