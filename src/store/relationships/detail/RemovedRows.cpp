#include "store/relationships/detail/RemovedRows.h"

#include <utility>

namespace qsml::detail {

void RemovedRows::add(std::int64_t rowid, std::string_view collection, std::string_view key) {
    String name = rows_.empty() ? String() : rows_.back().address.collection;
    if (name != collection) name = String(collection);
    Row row{rowid, {std::move(name), String(key)}};
    byAddress_.insert_or_assign(row.address, rows_.size());
    byRowid_.emplace(rowid, rows_.size());
    rows_.push_back(std::move(row));
}

std::optional<std::int64_t> RemovedRows::takeBack(std::string_view collection,
                                                  std::string_view key) {
    if (isEmpty()) return std::nullopt;
    const auto found = byAddress_.find({String(collection), String(key)});
    if (found == byAddress_.end()) return std::nullopt;
    const std::int64_t rowid = std::exchange(rows_[found->second].rowid, 0);
    byRowid_.erase(rowid);
    byAddress_.erase(found);
    return rowid;
}

std::optional<std::int64_t> RemovedRows::rowid(std::string_view collection,
                                               std::string_view key) const {
    if (isEmpty()) return std::nullopt;
    const auto found = byAddress_.find({String(collection), String(key)});
    if (found == byAddress_.end()) return std::nullopt;
    return rows_[found->second].rowid;
}

std::optional<YapDatabaseCollectionKey> RemovedRows::address(std::int64_t rowid) const {
    const auto found = byRowid_.find(rowid);
    if (found == byRowid_.end()) return std::nullopt;
    return rows_[found->second].address;
}

}  // namespace qsml::detail
