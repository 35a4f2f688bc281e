#include "store/detail/ExtensionContext.h"

#include "store/detail/ConnectionCore.h"
#include "store/detail/DatabaseCore.h"
#include "store/detail/quotedIdentifier.h"

namespace qsml::detail {

::sqlite3* ExtensionContext::handle() { return connection_.handle().get(); }

YapDatabaseReadTransaction& ExtensionContext::transaction() { return connection_.transaction(); }

YapDatabaseReadWriteTransaction* ExtensionContext::readWriteTransaction() {
    return connection_.readWriteTransaction();
}

std::string ExtensionContext::tableName(std::string_view suffix) const {
    return quotedIdentifier(registered_->name + "_" + std::string(suffix));
}

std::optional<std::string> ExtensionContext::setting(std::string_view key) {
    return connection_.setting(registered_->name, key);
}

bool ExtensionContext::setSetting(std::string_view key, std::string_view value) {
    if (!key.empty() && key.front() == privateSettingMark) return false;
    return connection_.setSetting(registered_->name, key, value);
}

bool ExtensionContext::enumerateRows(const std::set<std::string, std::less<>>* collections,
                                     const std::function<void(const YapDatabaseRow&)>& block) {
    return connection_.enumerateRows(collections, block);
}

bool ExtensionContext::rowForRowid(std::int64_t rowid,
                                   const std::function<void(const YapDatabaseRow&)>& block) {
    return connection_.readRow(rowid, block);
}

std::optional<std::int64_t> ExtensionContext::rowidForKey(std::string_view key,
                                                          std::string_view collection) {
    return connection_.rowid(key, collection);
}

bool ExtensionContext::keyForRowid(std::int64_t rowid, YapDatabaseCollectionKey* row) {
    return connection_.readKey(rowid, row);
}

std::shared_ptr<const YapDatabaseExtensionState> ExtensionContext::state() {
    const SnapshotState& all = *connection_.state();
    const std::size_t index = all.indexOf(registered_->name);
    return index == SnapshotState::npos ? nullptr : all.states[index];
}

std::shared_ptr<void>& ExtensionContext::slot() { return connection_.slot(registered_); }

bool ExtensionContext::withoutWriters(const std::function<bool()>& work, Error* error) {
    return connection_.database().runAsWriter([&](Error*) { return work(); }, error);
}

void ExtensionContext::fail(Error error) { connection_.fail(std::move(error)); }

}  // namespace qsml::detail
