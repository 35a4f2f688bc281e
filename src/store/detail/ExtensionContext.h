#pragma once
#include <memory>
#include <optional>
#include <string>

#include "store/YapDatabaseExtension.h"
#include "store/detail/SnapshotState.h"

namespace qsml::detail {

class ConnectionCore;

/// A connection as one extension sees it, for the length of a transaction.
class ExtensionContext final : public YapDatabaseExtensionContext {
public:
    ExtensionContext(ConnectionCore& connection, std::shared_ptr<const RegisteredExtension> of)
        : connection_(connection), registered_(std::move(of)) {}

    ::sqlite3* handle() override;
    YapDatabaseReadTransaction& transaction() override;
    YapDatabaseReadWriteTransaction* readWriteTransaction() override;
    const std::string& name() const override { return registered_->name; }
    std::string tableName(std::string_view suffix) const override;
    std::optional<std::string> setting(std::string_view key) override;
    bool setSetting(std::string_view key, std::string_view value) override;
    bool enumerateRows(const std::set<std::string, std::less<>>* collections,
                       const std::function<void(const YapDatabaseRow&)>& block) override;
    bool rowForRowid(std::int64_t rowid,
                     const std::function<void(const YapDatabaseRow&)>& block) override;
    std::optional<std::int64_t> rowidForKey(std::string_view key,
                                            std::string_view collection) override;
    bool keyForRowid(std::int64_t rowid, YapDatabaseCollectionKey* row) override;
    std::shared_ptr<const YapDatabaseExtensionState> state() override;
    std::shared_ptr<void>& slot() override;
    bool withoutWriters(const std::function<bool()>& work, Error* error) override;
    void fail(Error error) override;

private:
    ConnectionCore& connection_;
    std::shared_ptr<const RegisteredExtension> registered_;
};

/// The store's own settings of an extension begin with this; an extension cannot reach them.
inline constexpr char privateSettingMark = '#';

}  // namespace qsml::detail
