#include "store/detail/LruCache.h"

#include <functional>

namespace qsml::detail {

std::uint32_t LruCache::hashOf(std::uint32_t collection, std::string_view key) {
    const std::size_t hash = std::hash<std::string_view>()(key) + collection * 0x9E3779B97F4A7C15u;
    return static_cast<std::uint32_t>(hash ^ (hash >> 32));
}

LruCache::Node* LruCache::lookUp(std::uint32_t hash, std::uint32_t collection,
                                 std::string_view key) const {
    if (buckets_.empty()) return nullptr;
    Node* node = buckets_[hash & (buckets_.size() - 1)];
    while (node && !(node->hash == hash && node->collection == collection && node->key == key))
        node = node->nextInBucket;
    return node;
}

const Value* LruCache::find(std::uint32_t collection, std::string_view key) {
    Node* node = lookUp(hashOf(collection, key), collection, key);
    if (!node) return nullptr;
    if (node != newest_) {
        unlink(node);
        linkAsNewest(node);
    }
    return &node->value;
}

bool LruCache::contains(std::uint32_t collection, std::string_view key) const {
    return lookUp(hashOf(collection, key), collection, key) != nullptr;
}

template <class Key>
void LruCache::store(std::uint32_t collection, const Key& key, Value value) {
    const std::uint32_t hash = hashOf(collection, key);
    if (Node* node = lookUp(hash, collection, key)) {
        node->value = std::move(value);
        unlink(node);
        linkAsNewest(node);
        return;
    }
    if (size_ >= buckets_.size()) grow();
    Node*& bucket = bucketOf(hash);
    bucket = new Node{bucket, nullptr, nullptr, hash, collection, String(key), std::move(value)};
    linkAsNewest(bucket);
    ++size_;
    if (limit_ && size_ > limit_) discard(oldest_);
}

void LruCache::put(std::uint32_t collection, std::string_view key, Value value) {
    store(collection, key.data() ? key : std::string_view(""), std::move(value));
}

void LruCache::putSharing(std::uint32_t collection, const String& key, Value value) {
    store(collection, key, std::move(value));
}

void LruCache::remove(std::uint32_t collection, std::string_view key) {
    if (Node* node = lookUp(hashOf(collection, key), collection, key)) discard(node);
}

void LruCache::setLimit(std::size_t limit) {
    limit_ = limit;
    while (limit_ && size_ > limit_) discard(oldest_);
}

void LruCache::clear() noexcept {
    while (oldest_) {
        Node* node = oldest_;
        oldest_ = node->newer;
        delete node;
    }
    newest_ = nullptr;
    size_ = 0;
    std::vector<Node*>().swap(buckets_);
}

void LruCache::unlink(Node* node) noexcept {
    (node->older ? node->older->newer : oldest_) = node->newer;
    (node->newer ? node->newer->older : newest_) = node->older;
}

void LruCache::linkAsNewest(Node* node) noexcept {
    node->newer = nullptr;
    node->older = newest_;
    (newest_ ? newest_->newer : oldest_) = node;
    newest_ = node;
}

void LruCache::discard(Node* node) noexcept {
    Node** link = &bucketOf(node->hash);
    while (*link != node) link = &(*link)->nextInBucket;
    *link = node->nextInBucket;
    unlink(node);
    delete node;
    --size_;
}

void LruCache::grow() {
    std::vector<Node*> larger(buckets_.empty() ? 64 : buckets_.size() * 2, nullptr);
    buckets_.swap(larger);
    for (Node* node = oldest_; node; node = node->newer) {
        Node*& bucket = bucketOf(node->hash);
        node->nextInBucket = bucket;
        bucket = node;
    }
}

}  // namespace qsml::detail
