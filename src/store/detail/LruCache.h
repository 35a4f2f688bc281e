#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "foundation/String.h"
#include "foundation/Value.h"

namespace qsml::detail {

/// Decoded values by (collection, key), strictly least recently used, every operation in constant
/// time. One node a value, 64 bytes on common machines. Confined to one thread at a time.
class LruCache {
public:
    LruCache() = default;
    ~LruCache() { clear(); }
    LruCache(const LruCache&) = delete;
    LruCache& operator=(const LruCache&) = delete;

    /// 0 means unlimited.
    void setLimit(std::size_t limit);
    std::size_t size() const noexcept { return size_; }

    /// The value, now the most recently used; null when there is none.
    const Value* find(std::uint32_t collection, std::string_view key);
    bool contains(std::uint32_t collection, std::string_view key) const;
    void put(std::uint32_t collection, std::string_view key, Value value);
    /// The same, sharing the key's bytes.
    void putSharing(std::uint32_t collection, const String& key, Value value);
    void remove(std::uint32_t collection, std::string_view key);
    void clear() noexcept;

private:
    struct Node {
        Node* nextInBucket;
        Node* older;
        Node* newer;
        std::uint32_t hash;
        std::uint32_t collection;
        String key;
        Value value;
    };

    static std::uint32_t hashOf(std::uint32_t collection, std::string_view key);
    Node* lookUp(std::uint32_t hash, std::uint32_t collection, std::string_view key) const;
    Node*& bucketOf(std::uint32_t hash) { return buckets_[hash & (buckets_.size() - 1)]; }
    template <class Key>
    void store(std::uint32_t collection, const Key& key, Value value);
    void unlink(Node* node) noexcept;
    void linkAsNewest(Node* node) noexcept;
    void discard(Node* node) noexcept;
    void grow();

    std::vector<Node*> buckets_;
    Node* newest_ = nullptr;
    Node* oldest_ = nullptr;
    std::size_t size_ = 0;
    std::size_t limit_ = 250;
};

}  // namespace qsml::detail
