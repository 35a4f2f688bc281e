#pragma once
#include <initializer_list>
#include <vector>

#include "foundation/OrderedSet.h"
#include "foundation/String.h"

namespace qsml {

/// A small set of names, sorted by bytes and therefore with one defined order. Lookup is a binary
/// search; the texts are shared, so a copy costs one reference count a name. A value; confined as
/// any.
class QSML_EXPORT KeySet {
public:
    KeySet() = default;
    KeySet(std::initializer_list<std::string_view> keys);
    explicit KeySet(std::vector<String> keys);

    bool contains(std::string_view key) const { return find(key) != nullptr; }
    /// The shared text of a member; null for others.
    const String* find(std::string_view key) const;
    /// False when it was a member already.
    bool insert(const String& key);
    /// False when it was no member.
    bool erase(std::string_view key);

    std::size_t size() const noexcept { return keys_.size(); }
    bool empty() const noexcept { return keys_.empty(); }
    auto begin() const noexcept { return keys_.begin(); }
    auto end() const noexcept { return keys_.end(); }

    bool isSubsetOf(const KeySet& other) const;
    KeySet intersection(const KeySet& other) const;
    /// The members as a set of texts, in byte order.
    OrderedSet<String> orderedSet() const { return OrderedSet<String>(keys_); }

    friend bool operator==(const KeySet& a, const KeySet& b) { return a.keys_ == b.keys_; }

private:
    std::vector<String> keys_;
};

}  // namespace qsml
