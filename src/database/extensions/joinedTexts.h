#pragma once
#include <string>
#include <string_view>

#include "foundation/Value.h"

namespace qsml::detail {

/// Texts for one column, a blank between each two.
class JoinedTexts {
public:
    void add(std::string_view text) {
        if (!joined_) {
            joined_ = text;
            return;
        }
        *joined_ += ' ';
        *joined_ += text;
    }
    /// Nil when nothing was added, so that the column has no value.
    Value value() const { return Value(joined_); }

private:
    std::optional<std::string> joined_;
};

}  // namespace qsml::detail
