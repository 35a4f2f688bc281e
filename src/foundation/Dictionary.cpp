#include "foundation/Dictionary.h"

namespace qsml {

namespace {

const Value& nilValue() {
    static const auto& nil = *new Value();
    return nil;
}

}  // namespace

Dictionary::Dictionary(std::initializer_list<std::pair<Value, Value>> pairs) {
    for (const auto& [key, value] : pairs) set(key, value);
}

const Value& Dictionary::operator[](const Value& key) const {
    const auto found = positions_.find(key);
    return found == positions_.end() ? nilValue() : pairs_[found->second].second;
}

bool Dictionary::contains(const Value& key) const { return positions_.contains(key); }

void Dictionary::set(const Value& key, Value value) {
    if (key.isNil()) return;
    const auto found = positions_.find(key);
    if (value.isNil()) {
        if (found == positions_.end()) return;
        const std::size_t position = found->second;
        positions_.erase(found);
        pairs_.erase(pairs_.begin() + static_cast<std::ptrdiff_t>(position));
        for (auto& entry : positions_)
            if (entry.second > position) --entry.second;
    } else if (found != positions_.end()) {
        pairs_[found->second].second = std::move(value);
    } else {
        pairs_.emplace_back(key, std::move(value));
        try {
            positions_.emplace(key, pairs_.size() - 1);
        } catch (...) {
            pairs_.pop_back();
            throw;
        }
    }
}

QSML_EXPORT bool operator==(const Dictionary& a, const Dictionary& b) {
    if (a.size() != b.size()) return false;
    for (const auto& [key, value] : a) {
        const auto found = b.positions_.find(key);
        if (found == b.positions_.end() || !(b.pairs_[found->second].second == value)) return false;
    }
    return true;
}

QSML_EXPORT bool operator==(const ValueSet& a, const ValueSet& b) {
    if (a.size() != b.size()) return false;
    for (const auto& element : a)
        if (!b.contains(element)) return false;
    return true;
}

}  // namespace qsml
