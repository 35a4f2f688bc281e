#include <QSMediaLibraryData/database/PLXDatabaseManager.h>
#include <QSMediaLibraryData/organisation/PLXQueue.h>
#include <QSMediaLibraryData/organisation/PLXQueueItem.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <QSMediaLibraryData/tracks/PLXMediaItem.h>
#include <fmt/format.h>

#include "CommandFailure.h"
#include "QueueEntries.h"
#include "Table.h"
#include "findTrack.h"
#include "libraryTransactions.h"
#include "output.h"
#include "printable.h"
#include "recordValues.h"

namespace qsml::app {

namespace {

Dictionary entryValues(const QueueEntries::Item& item, std::size_t position) {
    Dictionary values{{"position", static_cast<std::int64_t>(position + 1)}};
    for (const auto& [key, value] : valuesOf(*item)) values.set(key, value);
    return values;
}

/// Entries and where they stand, or stood.
using Placed = std::vector<std::pair<QueueEntries::Item, std::size_t>>;

/// What a change says: a JSON object for each entry, or a line for people.
void tell(const CommonOptions& common, std::string_view what, const Placed& entries) {
    for (const auto& [item, position] : entries)
        if (common.asJSON)
            putJSON(entryValues(item, position));
        else
            putLine(fmt::format("{} {}. {}", what, position + 1,
                                printable(textsOf(item->titleID()).title)));
}

using Connection = std::shared_ptr<YapDatabaseConnection>;

/// A library that has no queue gets one.
Connection openQueue(const CommonOptions& common) {
    auto connection = openLibrary(libraryPath(common.library), Opening::existing);
    if (!PLXQueue::defaultQueue())
        throw CommandFailure("cannot read or make the queue; \"qsml check\" tells more");
    return connection;
}

/// Runs the block on the queue in one transaction.
void changeQueue(
    const Connection& connection,
    const std::function<void(QueueEntries&, YapDatabaseReadWriteTransaction&)>& block) {
    changeLibrary(connection, [&](YapDatabaseReadWriteTransaction& transaction) {
        QueueEntries queue(transaction);
        block(queue, transaction);
    });
}

}  // namespace

int runQueueList(const CommonOptions& common) {
    readLibrary(common, [&](YapDatabaseReadTransaction& transaction) {
        const QueueEntries queue(transaction);
        std::optional<Table> table;
        if (!common.asJSON)
            table.emplace(std::vector<Table::Column>{
                {"#", 6, true}, {"Title", 40}, {"Artist", 30}, {"Time", 8, true}});
        for (std::size_t position = 0; position < queue.items().size(); ++position) {
            const auto& item = queue.items()[position];
            const TitleTexts texts = textsOf(item->titleID());
            if (table)
                table->add({std::to_string(position + 1), texts.title, texts.artist, texts.time});
            else
                putJSON(entryValues(item, position));
        }
    });
    return 0;
}

int runQueueAdd(const CommonOptions& common, const QueueOptions& options) {
    const auto connection = openQueue(common);
    std::vector<std::shared_ptr<const PLXMediaItem>> tracks;
    readLibrary(connection, [&](YapDatabaseReadTransaction& transaction) {
        tracks = findTracks(options.tracks, transaction);
    });
    Placed added;
    changeQueue(connection, [&](QueueEntries& queue, YapDatabaseReadWriteTransaction& transaction) {
        requireTracks(tracks, transaction);
        std::size_t position = options.at == 0 ? queue.items().size() : options.at - 1;
        for (const auto& track : tracks) {
            added.emplace_back(queue.add(*track, position, transaction), position);
            ++position;
        }
    });
    tell(common, "queued", added);
    return 0;
}

int runQueueMove(const CommonOptions& common, const QueueOptions& options) {
    Placed moved;
    changeQueue(openQueue(common),
                [&](QueueEntries& queue, YapDatabaseReadWriteTransaction& transaction) {
                    queue.move(options.from - 1, options.to - 1, transaction);
                    moved.emplace_back(queue.items()[options.to - 1], options.to - 1);
                });
    tell(common, "moved to", moved);
    return 0;
}

int runQueueRemove(const CommonOptions& common, const QueueOptions& options) {
    Placed removed;
    changeQueue(openQueue(common),
                [&](QueueEntries& queue, YapDatabaseReadWriteTransaction& transaction) {
                    std::set<std::size_t> positions;
                    for (const std::size_t position : options.positions)
                        positions.insert(position - 1);
                    const auto items = queue.remove(positions, transaction);
                    auto position = positions.begin();
                    for (const auto& item : items) removed.emplace_back(item, *position++);
                });
    tell(common, "removed", removed);
    return 0;
}

int runQueueClear(const CommonOptions& common) {
    std::size_t removed = 0;
    changeQueue(openQueue(common),
                [&](QueueEntries& queue, YapDatabaseReadWriteTransaction& transaction) {
                    std::set<std::size_t> all;
                    for (std::size_t i = 0; i < queue.items().size(); ++i) all.insert(all.end(), i);
                    removed = queue.remove(all, transaction).size();
                });
    if (common.asJSON)
        putJSON({{"removed", static_cast<std::int64_t>(removed)}});
    else
        putLine(fmt::format("removed {} entries", grouped(removed)));
    return 0;
}

}  // namespace qsml::app
