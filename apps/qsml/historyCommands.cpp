#include <QSMediaLibraryData/database/collectionNames.h>
#include <QSMediaLibraryData/foundation/Environment.h>
#include <QSMediaLibraryData/organisation/PLXHistorySession.h>
#include <QSMediaLibraryData/organisation/PLXHistorySessionItem.h>
#include <QSMediaLibraryData/organisation/PLXHistorySessionSource.h>
#include <QSMediaLibraryData/store/YapDatabaseConnection.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <QSMediaLibraryData/tracks/PLXMediaItem.h>
#include <fmt/format.h>

#include "CommandFailure.h"
#include "Table.h"
#include "findTrack.h"
#include "historySessions.h"
#include "libraryTransactions.h"
#include "output.h"
#include "printable.h"
#include "recordValues.h"

namespace qsml::app {

namespace {

std::string textOf(const std::optional<Date>& date) {
    return date ? iso8601(*date).str() : std::string();
}

/// The source of sessions, told which one of this device is open.
PLXHistorySessionSource& sessionSource(const std::shared_ptr<YapDatabaseConnection>& connection) {
    auto& source = PLXHistorySessionSource::sharedInstance();
    connection->read([&](YapDatabaseReadTransaction& transaction) {
        if (const Sessions open = openSessions(transaction); !open.empty())
            source.setCurrentHistorySessionUUID(open.front()->uuid());
    });
    return source;
}

void tell(const CommonOptions& common, std::string_view what, const PLXHistorySession& session) {
    if (common.asJSON)
        putJSON(valuesOf(session));
    else
        putLine(fmt::format("{} {}", what, session.uuid().view()));
}

[[noreturn]] void failWithoutSession() {
    throw CommandFailure("no session is open; \"qsml history start\" opens one");
}

Dictionary sessionValues(const PLXHistorySession& session,
                         const YapDatabaseReadTransaction& transaction) {
    Dictionary values = valuesOf(session);
    Value::Array items;
    for (const auto& entry : entriesOf(session, transaction)) items.emplace_back(valuesOf(*entry));
    values.set("items", std::move(items));
    return values;
}

/// Ends all but the newest. Several are open where processes have started one at the same time.
void endOlderSessions(const std::shared_ptr<YapDatabaseConnection>& connection) {
    changeLibrary(connection, [](YapDatabaseReadWriteTransaction& transaction) {
        Sessions older = openSessions(transaction);
        if (!older.empty()) older.erase(older.begin());
        for (const auto& session : older) {
            const auto ended = session->copy();
            ended->setEndDate(Clock::shared().now());
            transaction.setObject(ended, ended->uuid(), PLXDatabaseCollectionHistorySessions);
        }
    });
}

}  // namespace

int runHistoryStart(const CommonOptions& common) {
    const auto connection = openLibrary(libraryPath(common.library), Opening::orNew);
    auto& source = sessionSource(connection);
    if (!source.createHistorySession())
        throw CommandFailure("cannot store a session; the history is as it was");
    endOlderSessions(connection);
    if (const auto session = source.currentHistorySession()) tell(common, "started", *session);
    return 0;
}

int runHistoryEnd(const CommonOptions& common) {
    const auto connection = openLibrary(libraryPath(common.library), Opening::existing);
    auto& source = sessionSource(connection);
    const String uuid = source.currentHistorySessionUUID();
    if (!uuid) failWithoutSession();
    if (!source.endCurrentSession())
        throw CommandFailure("cannot end the session; the history is as it was");
    connection->read([&](YapDatabaseReadTransaction& transaction) {
        if (const auto session =
                transaction.object<PLXHistorySession>(uuid, PLXDatabaseCollectionHistorySessions))
            tell(common, "ended", *session);
    });
    return 0;
}

int runHistoryAdd(const CommonOptions& common, const HistoryOptions& options) {
    const auto connection = openLibrary(libraryPath(common.library), Opening::existing);
    const auto entry = PLXHistorySessionItem::init();
    changeLibrary(connection, [&](YapDatabaseReadWriteTransaction& transaction) {
        const Sessions open = openSessions(transaction);
        if (open.empty()) failWithoutSession();
        const auto& session = open.front();
        entry->setSessionUUID(session->uuid());
        entry->setTitleID(findTrack(options.track, transaction)->titleID());
        entry->setDeckNumber(options.deck);
        entry->setStartTime(options.time.empty() ? Clock::shared().now()
                                                 : dateFromISO8601(options.time));
        transaction.setObject(entry, entry->uuid(), PLXDatabaseCollectionHistorySessionItems);
        const auto changed = session->copy();
        std::vector<String> items;
        if (session->itemUUIDs()) items = session->itemUUIDs()->elements();
        items.push_back(entry->uuid());
        changed->setItemUUIDs(OrderedSet<String>(std::move(items)));
        transaction.setObject(changed, changed->uuid(), PLXDatabaseCollectionHistorySessions);
    });
    if (common.asJSON)
        putJSON(valuesOf(*entry));
    else
        putLine(fmt::format("played {} on deck {}", printable(textsOf(entry->titleID()).title),
                            entry->deckNumber()));
    return 0;
}

int runHistoryList(const CommonOptions& common) {
    readLibrary(common, [&](YapDatabaseReadTransaction& transaction) {
        std::optional<Table> table;
        if (!common.asJSON)
            table.emplace(std::vector<Table::Column>{
                {"Started", 24}, {"Ended", 24}, {"Tracks", 6, true}, {"Device", 30}, {"ID", 36}});
        for (const auto& session : sessionsOf(transaction)) {
            if (!table) {
                putJSON(sessionValues(*session, transaction));
                continue;
            }
            const std::size_t count = entriesOf(*session, transaction).size();
            table->add({textOf(session->startDate()),
                        session->endDate() ? textOf(session->endDate()) : "open",
                        std::to_string(count), session->deviceName().str(), session->uuid().str()});
        }
    });
    return 0;
}

int runHistoryShow(const CommonOptions& common, const HistoryOptions& options) {
    readLibrary(common, [&](YapDatabaseReadTransaction& transaction) {
        const auto session = findSession(options.session, transaction);
        if (common.asJSON) {
            putJSON(sessionValues(*session, transaction));
            return;
        }
        Table table(
            {{"Played", 24}, {"Deck", 4, true}, {"Title", 40}, {"Artist", 30}, {"Time", 8, true}});
        for (const auto& entry : entriesOf(*session, transaction)) {
            const TitleTexts texts = textsOf(entry->titleID());
            table.add({textOf(entry->startTime()), std::to_string(entry->deckNumber()), texts.title,
                       texts.artist, texts.time});
        }
    });
    return 0;
}

}  // namespace qsml::app
