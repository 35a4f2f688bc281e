#pragma once
#include <cstdint>
#include <utility>
#include <vector>

namespace qsml::detail {

/// What is known of an address, forgotten in constant time: a hash table whose entries belong to a
/// generation. Confined to one thread at a time.
template <class Payload>
class IdentityTable {
public:
    void clear() {
        constexpr std::size_t ordinary = std::size_t{1} << 14;
        if (entries_.size() > ordinary) entries_.clear();
        ++generation_;
        count_ = 0;
    }

    /// The entry of an address (the tag tells apart what may share one) and whether it is new.
    /// Valid until the next call.
    std::pair<Payload*, bool> operator()(const void* address, std::uint64_t tag) {
        if (2 * (count_ + 1) > entries_.size()) grow();
        Entry& entry = place(address, tag);
        const bool isNew = entry.generation != generation_;
        if (isNew) {
            entry = {address, tag, generation_, Payload{}};
            ++count_;
        }
        return {&entry.payload, isNew};
    }

private:
    struct Entry {
        const void* address = nullptr;
        std::uint64_t tag = 0;
        std::uint64_t generation = 0;
        Payload payload{};
    };

    Entry& place(const void* address, std::uint64_t tag) {
        const std::uint64_t hash =
            (reinterpret_cast<std::uintptr_t>(address) ^ tag << 48) * 0x9E3779B97F4A7C15u;
        const std::size_t mask = entries_.size() - 1;
        for (std::size_t i = hash >> 32 & mask;; i = (i + 1) & mask) {
            Entry& entry = entries_[i];
            if (entry.generation != generation_) return entry;
            if (entry.address == address && entry.tag == tag) return entry;
        }
    }

    void grow() {
        std::vector<Entry> old(entries_.empty() ? 128 : 2 * entries_.size());
        old.swap(entries_);
        for (const Entry& entry : old)
            if (entry.generation == generation_) place(entry.address, entry.tag) = entry;
    }

    std::vector<Entry> entries_;  // a power of two of them, at most half in use
    std::uint64_t generation_ = 1;
    std::size_t count_ = 0;
};

}  // namespace qsml::detail
