#pragma once
#include <utility>
#include <vector>

#include "foundation/String.h"

namespace qsml {

/// Names to names, sorted by the first. A small immutable value.
class QSML_EXPORT KeyMapping {
public:
    KeyMapping() = default;
    /// Later pairs win over earlier ones of the same first name.
    explicit KeyMapping(const std::vector<std::pair<String, String>>& pairs);

    /// Nil for an unknown name.
    String operator[](std::string_view key) const;
    /// Each pair reversed, in the order of this mapping.
    KeyMapping inverse() const;

    std::size_t size() const noexcept { return pairs_.size(); }
    auto begin() const noexcept { return pairs_.begin(); }
    auto end() const noexcept { return pairs_.end(); }

    friend bool operator==(const KeyMapping&, const KeyMapping&) = default;

private:
    std::vector<std::pair<String, String>> pairs_;
};

}  // namespace qsml
