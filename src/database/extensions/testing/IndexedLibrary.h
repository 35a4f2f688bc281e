#pragma once
#include <map>
#include <set>

#include "core/PLXMediaAlbum.h"
#include "core/PLXMediaArtist.h"
#include "core/PLXMediaGenre.h"
#include "core/PLXMediaLabel.h"
#include "organisation/PLXMediaItemPlaylist.h"
#include "organisation/PLXMediaItemTag.h"
#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"
#include "store/indexes/YapDatabaseSecondaryIndexTransaction.h"
#include "store/search/YapDatabaseFullTextSearchTransaction.h"
#include "store/search/fullTextQuery.h"
#include "testing/OpenLibrary.h"
#include "tracks/PLXMediaItem.h"
#include "tracks/PLXMediaItemAnalyzedData.h"
#include "tracks/PLXMediaItemUserData.h"

namespace qsml {

/// An open library and what its indexes hold.
class IndexedLibrary : public OpenLibrary {
protected:
    using Writer = YapDatabaseReadWriteTransaction;
    using Keys = std::set<std::string>;
    using Columns = std::map<std::string, Value>;

    // After each test every index is what a rebuild would give.
    void TearDown() override { EXPECT_EQ(faults(), ""); }

    std::string faults() {
        std::string found;
        manager_.database()->check([&](const YapDatabase::Fault& fault) {
            found += fault.extension + ": " + fault.collection + "/" + fault.key + " " +
                     fault.description + "\n";
        });
        return found;
    }
    void write(const std::function<void(Writer&)>& block) {
        EXPECT_TRUE(manager_.bgDatabaseConnection()->readWrite(block));
    }
    template <class Record>
    void store(const std::shared_ptr<Record>& record, std::string_view collection) {
        write([&](Writer& transaction) {
            EXPECT_TRUE(transaction.setObject(record, record->uuid(), collection));
        });
    }
    void remove(std::string_view key, std::string_view collection) {
        write([&](Writer& transaction) { transaction.removeObjectForKey(key, collection); });
    }
    template <class Index>
    void withIndex(std::string_view name, const std::function<void(Index&)>& block) {
        manager_.bgDatabaseConnection()->read([&](YapDatabaseReadTransaction& transaction) {
            auto* const index = transaction.ext<Index>(name);
            ASSERT_TRUE(index) << name;
            block(*index);
        });
    }

    /// The columns of a row that have a value.
    Columns columns(std::string_view name, const String& key, std::string_view collection) {
        Columns found;
        withIndex<YapDatabaseSecondaryIndexTransaction>(name, [&](auto& index) {
            const auto rowid = index.rowidsForKeys({key}, collection).front();
            ASSERT_TRUE(rowid);
            const YapDatabaseQuery query("WHERE rowid == ?", {*rowid});
            for (const auto& column : columnsOf(name))
                index.enumerateIndexedValuesInColumn(column, query, [&](const Value& value, bool&) {
                    if (!value.isNil()) found.emplace(column, value);
                });
        });
        return found;
    }
    std::uint64_t rowsIn(std::string_view name) {
        std::uint64_t count = 0;
        withIndex<YapDatabaseSecondaryIndexTransaction>(name, [&](auto& index) {
            EXPECT_TRUE(index.getNumberOfRows(&count, YapDatabaseQuery()));
        });
        return count;
    }
    /// The keys that a full-text query finds.
    Keys matches(std::string_view name, std::string_view query) {
        Keys found;
        withIndex<YapDatabaseFullTextSearchTransaction>(name, [&](auto& index) {
            EXPECT_TRUE(index.enumerateKeysMatching(
                query, [&](auto, std::string_view key, bool&) { found.emplace(key); }));
        });
        return found;
    }
    std::vector<std::string> columnsOf(std::string_view name) {
        const auto extension = manager_.database()->registeredExtension(name);
        const auto* index = dynamic_cast<const YapDatabaseColumnIndex*>(extension.get());
        EXPECT_TRUE(index) << name;
        return index ? index->columnNames() : std::vector<std::string>();
    }
};

}  // namespace qsml
