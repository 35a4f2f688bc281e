#include <QSMediaLibraryData/core/PLXMediaEntity.h>
#include <QSMediaLibraryData/database/extensionNames.h>
#include <QSMediaLibraryData/organisation/PLXMediaItemPlaylist.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <QSMediaLibraryData/store/search/fullTextQuery.h>
#include <QSMediaLibraryData/store/views/YapDatabaseSearchResultsView.h>
#include <QSMediaLibraryData/tracks/PLXMediaItem.h>

#include <algorithm>

#include "CommandFailure.h"
#include "Table.h"
#include "browsingCommands.h"
#include "libraryTransactions.h"
#include "output.h"
#include "recordValues.h"

namespace qsml::app {

namespace {

using Results = YapDatabaseSearchResultsViewTransaction;

/// In the order in which they are listed.
constexpr std::string_view groups[] = {"mediaItem", "artist", "album", "playlist"};

struct Result {
    std::string_view group;
    std::string_view key;
    const Object& record;
};

String nameOf(const Object& record) {
    if (const auto* entity = dynamic_cast<const PLXMediaEntity*>(&record)) return entity->name();
    const auto* playlist = dynamic_cast<const PLXMediaItemPlaylist*>(&record);
    return playlist ? playlist->name() : String();
}

Dictionary resultValues(const Result& result, const YapDatabaseReadTransaction& transaction) {
    Dictionary values{{"group", String(result.group)}};
    if (const auto* track = dynamic_cast<const PLXMediaItem*>(&result.record)) {
        for (const auto& [key, value] : valuesOf(*track, transaction)) values.set(key, value);
    } else {
        values.set("uuid", String(result.key));
        values.set("name", nameOf(result.record));
    }
    return values;
}

Table::Row resultRow(const Result& result, const YapDatabaseReadTransaction& transaction) {
    constexpr std::size_t shortIDLength = 8;
    const std::string id(result.key.substr(0, shortIDLength));
    if (const auto* track = dynamic_cast<const PLXMediaItem*>(&result.record)) {
        const TrackNames names = namesOf(*track, transaction);
        return {"track", track->title().str(), names.artists.str(), names.album.str(), id};
    }
    return {std::string(result.group), nameOf(result.record).str(), "", "", id};
}

/// What is to be written of the results.
struct Lines {
    bool isJSON;
    std::vector<Dictionary> objects = {};
    std::vector<Table::Row> rows = {};

    void add(const Result& result, const YapDatabaseReadTransaction& transaction) {
        if (isJSON)
            objects.push_back(resultValues(result, transaction));
        else
            rows.push_back(resultRow(result, transaction));
    }
    void put() const {
        for (const Dictionary& object : objects) putJSON(object);
        if (isJSON) return;
        Table table({{"Kind", 8}, {"Name", 40}, {"Artist", 30}, {"Album", 40}, {"ID", 8}});
        for (const Table::Row& row : rows) table.add(row);
    }
};

void collect(const SearchOptions& options, Results& results,
             const YapDatabaseReadTransaction& transaction, Lines& lines) {
    Page rest = options.page;
    for (const std::string_view group : groups) {
        if (!options.group.empty() && options.group != group) continue;
        const std::uint64_t count = results.numberOfItemsInGroup(group);
        const std::uint64_t first = std::min(rest.offset, count);
        const std::uint64_t length = std::min(rest.limit, count - first);
        rest = {rest.limit - length, rest.offset - first};
        const auto block = [&](std::string_view, std::string_view key, const Value& object,
                               std::uint64_t, bool&) {
            if (object.object()) lines.add({group, key, *object.object()}, transaction);
        };
        if (length > 0) results.enumerateKeysAndObjectsInGroup(group, block, {first, length});
    }
}

}  // namespace

int runSearch(const CommonOptions& common, const SearchOptions& options) {
    const auto connection = openLibrary(libraryPath(common.library), Opening::existing);
    const std::string query = fullTextQueryForTypedText(options.text);
    Lines lines{common.asJSON};
    Error error;
    changeLibrary(connection, [&](YapDatabaseReadWriteTransaction& transaction) {
        auto* const results = transaction.ext<Results>(PLXDatabaseExtensionSearchResultsView);
        if (!results)
            throw CommandFailure("the library has no search index; \"qsml check\" tells more");
        results->performSearchFor(query);
        collect(options, *results, transaction, lines);
        error = transaction.error();
        transaction.rollback();  // a search is a write to the store, but not to the file
    });
    if (error) throw CommandFailure("cannot read the library; \"qsml check\" tells more", error);
    lines.put();  // not before: whoever reads it slowly would keep all writers waiting
    return 0;
}

}  // namespace qsml::app
