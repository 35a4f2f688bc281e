#pragma once
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "store/YapDatabaseExtension.h"
#include "store/detail/StoreState.h"
#include "store/detail/testing/PlainSqlite.h"
#include "store/indexes/YapDatabaseColumnIndex.h"
#include "testing/OpenStore.h"

namespace qsml {

using Reader = YapDatabaseReadTransaction;
using Writer = YapDatabaseReadWriteTransaction;

/// The field of a text "TITLE;ARTIST;BPM", where ARTIST is a key into "artists"; nil when empty.
inline String field(const Value& object, int number) {
    const String text = object.string();
    std::string_view rest = text.view();
    for (; number > 0; --number) {
        const std::size_t end = rest.find(';');
        if (end == std::string_view::npos) return {};
        rest.remove_prefix(end + 1);
    }
    rest = rest.substr(0, rest.find(';'));
    return rest.empty() ? String() : String(rest);
}

/// Rows of "tracks" give title, the name of their artist and bpm.
inline void fillTrackColumns(YapDatabaseReadTransaction& transaction, const YapDatabaseRow& row,
                             YapDatabaseColumnValues& values) {
    values.set("title", field(row.object, 0));
    if (const String artist = field(row.object, 1))
        values.set("artist", transaction.objectForKey(artist, "artists").string());
    if (const String bpm = field(row.object, 2)) values.set("bpm", std::atof(bpm.c_str()));
}

/// The tracks of an artist.
inline YapDatabaseDependents trackDependents() {
    const auto tracksOf = [](YapDatabaseReadTransaction& transaction, const YapDatabaseRow& row) {
        std::vector<YapDatabaseCollectionKey> keys;
        transaction.enumerateKeysAndObjectsInCollection(
            "tracks", [&](std::string_view key, const Value& object, bool&) {
                if (field(object, 1) == row.key) keys.push_back({"tracks", String(key)});
            });
        return keys;
    };
    return {{"artists"}, tracksOf};
}

/// A store with an index named "index" over a few tracks, which each kind of index registers.
class GivenIndexedTracks : public OpenStore {
protected:
    virtual std::shared_ptr<YapDatabaseExtension> makeIndex(std::string tag = "1") = 0;

    void SetUp() override {
        OpenStore::SetUp();
        set("artists", "x", "Jeff Mills");
        set("artists", "y", "Underground Resistance");
        set("tracks", "a", "The Bells;x;138");
        set("tracks", "b", "Amazon;y;130.5");
        set("tracks", "c", "The Dancer");
        set("tracks", "d", ";;");
        set("others", "a", "The Other;x;1");
        add();
    }
    bool set(std::string_view collection, std::string_view key, std::string_view text) {
        return store_.set(key, text, collection);
    }
    bool write(const std::function<void(Writer&)>& block) {
        Error error;
        const bool isDone = store_.connection().readWrite(block, &error);
        EXPECT_EQ(isDone, !error);
        lastError_ = error;
        return isDone;
    }
    void add(std::string name = "index", std::string tag = "1") {
        Error error;
        EXPECT_TRUE(store_.database().registerExtension(makeIndex(std::move(tag)), name, &error))
            << error.description;
    }
    void reopen() {
        ASSERT_TRUE(store_.open());
        add();
    }
    /// A commit of another process, which knows the store's form but not this process.
    void commitElsewhere(const std::string& sql) {
        const detail::StoreState state{.snapshot = store_.database().snapshot() + 1,
                                       .lastRowNumber = 1000};
        const std::string output =
            PlainSqlite(store_.path())
                .query("BEGIN IMMEDIATE;" + sql + ";UPDATE yap SET data='" + state.text() +
                       "' WHERE extension='' AND key='state'; COMMIT");
        ASSERT_EQ(output, "");
    }
    std::string ask(const std::string& sql) { return PlainSqlite(store_.path()).query(sql); }

    Error lastError_;
};

}  // namespace qsml
