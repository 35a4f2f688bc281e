#pragma once
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

#include "store/YapDatabaseNotification.h"

namespace qsml::detail {

/// Rows that a write has removed and whose edges still wait for it to be told, in order.
class RemovedRows {
public:
    struct Row {
        std::int64_t rowid = 0;  ///< 0: taken back
        YapDatabaseCollectionKey address;
    };

    bool isEmpty() const noexcept { return byAddress_.empty(); }
    void add(std::int64_t rowid, std::string_view collection, std::string_view key);
    /// The row was written again: it was not removed after all. Its former row id.
    std::optional<std::int64_t> takeBack(std::string_view collection, std::string_view key);
    std::optional<std::int64_t> rowid(std::string_view collection, std::string_view key) const;
    /// What the row was called; nothing when it is not among these.
    std::optional<YapDatabaseCollectionKey> address(std::int64_t rowid) const;
    bool contains(std::int64_t rowid) const { return byRowid_.count(rowid) > 0; }
    /// In order of removal, with those that were taken back.
    const std::vector<Row>& rows() const { return rows_; }

private:
    struct Hash {
        std::size_t operator()(const YapDatabaseCollectionKey& address) const noexcept {
            const std::hash<std::string_view> hash;
            return hash(address.key) * 31 + hash(address.collection);
        }
    };

    std::vector<Row> rows_;
    std::unordered_map<YapDatabaseCollectionKey, std::size_t, Hash> byAddress_;
    std::unordered_map<std::int64_t, std::size_t> byRowid_;
};

}  // namespace qsml::detail
