#include "historySessions.h"

#include <QSMediaLibraryData/database/collectionNames.h>
#include <QSMediaLibraryData/foundation/Host.h>
#include <QSMediaLibraryData/organisation/PLXHistorySession.h>
#include <QSMediaLibraryData/organisation/PLXHistorySessionItem.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <fmt/format.h>

#include <algorithm>

#include "CommandFailure.h"

namespace qsml::app {

Sessions sessionsOf(const YapDatabaseReadTransaction& transaction) {
    Sessions all;
    transaction.enumerateKeysAndObjectsInCollection(
        PLXDatabaseCollectionHistorySessions, [&](std::string_view, const Value& object, bool&) {
            if (auto session = std::dynamic_pointer_cast<const PLXHistorySession>(object.object()))
                all.push_back(std::move(session));
        });
    std::sort(all.begin(), all.end(), [](const auto& a, const auto& b) {
        if (a->startDate() != b->startDate()) return a->startDate() > b->startDate();
        return a->uuid() < b->uuid();
    });
    return all;
}

std::shared_ptr<const PLXHistorySession> openSession(
    const YapDatabaseReadTransaction& transaction) {
    const String device = Host::localizedName();
    const Sessions all = sessionsOf(transaction);
    const auto found = std::find_if(all.begin(), all.end(), [&](const auto& session) {
        return !session->endDate() && session->deviceName() == device;
    });
    return found == all.end() ? nullptr : *found;
}

std::shared_ptr<const PLXHistorySession> findSession(
    const std::string& which, const YapDatabaseReadTransaction& transaction) {
    Sessions named = sessionsOf(transaction);
    if (named.empty())
        throw CommandFailure("there is no history; \"qsml history start\" begins it");
    if (which.empty()) return named.front();
    std::erase_if(named, [&](const auto& session) {
        return !session->uuid().value_or("").starts_with(which);
    });
    if (named.size() == 1) return named.front();
    throw CommandFailure(
        fmt::format("{} with the ID \"{}\"; \"qsml history list\" shows them all",
                    named.empty() ? "there is no session" : "several sessions begin", which));
}

std::vector<std::shared_ptr<const PLXHistorySessionItem>> entriesOf(
    const PLXHistorySession& session, const YapDatabaseReadTransaction& transaction) {
    std::vector<std::shared_ptr<const PLXHistorySessionItem>> entries;
    if (!session.itemUUIDs()) return entries;
    for (const String& uuid : *session.itemUUIDs())
        if (auto entry = transaction.object<PLXHistorySessionItem>(
                uuid, PLXDatabaseCollectionHistorySessionItems))
            entries.push_back(std::move(entry));
    return entries;
}

}  // namespace qsml::app
