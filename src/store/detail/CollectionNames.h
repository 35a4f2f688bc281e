#pragma once
#include <cstdint>
#include <memory>
#include <shared_mutex>
#include <string_view>
#include <unordered_map>

#include "foundation/String.h"

namespace qsml::detail {

/// A collection's number and name; once committed they belong together for ever.
struct Collection {
    std::uint32_t id = 0;
    String name;
    std::uint64_t seed = 0;  ///< of the checksums of its rows

    Collection(std::int64_t number, std::string_view text);
};

/// The committed collections that this process has met. Those of a running transaction are not
/// here, so that a rollback leaves nothing. Entries stay where they are for as long as the table
/// lives; thread-safe.
class CollectionNames {
public:
    const Collection* named(std::string_view name) const;
    const Collection* numbered(std::uint32_t id) const;
    const Collection* add(const Collection& collection);

private:
    mutable std::shared_mutex mutex_;
    std::unordered_map<std::uint32_t, std::unique_ptr<const Collection>> byNumber_;
    std::unordered_map<std::string_view, const Collection*> byName_;
};

// Row ids: the collection's number above, the number of the row, never used again, below.
inline constexpr int rowNumberBits = 40;
inline constexpr std::int64_t lastRowNumber = (std::int64_t{1} << rowNumberBits) - 1;
inline constexpr std::int64_t lastCollectionNumber = (std::int64_t{1} << (62 - rowNumberBits)) - 1;

inline std::int64_t firstRowid(std::uint32_t collection) {
    return std::int64_t{collection} << rowNumberBits;
}
inline std::int64_t lastRowid(std::uint32_t collection) {
    return firstRowid(collection) | lastRowNumber;
}
inline std::uint32_t collectionOfRowid(std::int64_t rowid) {
    return static_cast<std::uint32_t>(rowid >> rowNumberBits);
}

}  // namespace qsml::detail
