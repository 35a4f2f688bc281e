#pragma once
#include "foundation/Value.h"

namespace qsml {

/// Distinct keys with their values, in order of insertion. A value type; copies are deep in
/// structure and share their elements. Keys are usually texts; any value but nil may be one.
class QSML_EXPORT Dictionary {
public:
    Dictionary() = default;
    /// Later pairs win over earlier ones with an equal key.
    Dictionary(std::initializer_list<std::pair<Value, Value>> pairs);

    std::size_t size() const noexcept { return pairs_.size(); }
    bool empty() const noexcept { return pairs_.empty(); }
    /// Nil where the key is absent.
    const Value& operator[](const Value& key) const;
    bool contains(const Value& key) const;
    /// Sets, or with nil removes, the key's value. Constant time; removal is linear.
    void set(const Value& key, Value value);

    auto begin() const { return pairs_.begin(); }
    auto end() const { return pairs_.end(); }

    /// Same keys with equal values; the order does not count.
    friend bool operator==(const Dictionary& a, const Dictionary& b);

private:
    std::vector<std::pair<Value, Value>> pairs_;
    std::unordered_map<Value, std::size_t> positions_;
};

/// Distinct values without an order of meaning; enumerated in order of insertion.
class QSML_EXPORT ValueSet {
public:
    ValueSet() = default;
    ValueSet(std::initializer_list<Value> elements) : elements_(elements) {}
    explicit ValueSet(std::vector<Value> elements) : elements_(std::move(elements)) {}

    std::size_t size() const noexcept { return elements_.size(); }
    bool contains(const Value& value) const { return elements_.contains(value); }
    auto begin() const { return elements_.begin(); }
    auto end() const { return elements_.end(); }
    const OrderedSet<Value>& ordered() const { return elements_; }

    /// Same count, and every element in the other.
    friend bool operator==(const ValueSet& a, const ValueSet& b);

private:
    OrderedSet<Value> elements_;
};

}  // namespace qsml
