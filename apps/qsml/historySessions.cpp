#include "historySessions.h"

#include <QSMediaLibraryData/database/collectionNames.h>
#include <QSMediaLibraryData/foundation/Host.h>
#include <QSMediaLibraryData/organisation/PLXHistorySession.h>
#include <QSMediaLibraryData/organisation/PLXHistorySessionItem.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "CommandFailure.h"

namespace qsml::app {

namespace {

/// Seconds since the reference date; before all others where there is no date that can be ordered.
double startOf(const PLXHistorySession& session) {
    const double seconds =
        session.startDate().value_or(Date{std::nan("")}).secondsSinceReferenceDate;
    return std::isnan(seconds) ? -std::numeric_limits<double>::infinity() : seconds;
}

}  // namespace

Sessions sessionsOf(const YapDatabaseReadTransaction& transaction) {
    Sessions all;
    transaction.enumerateKeysAndObjectsInCollection(
        PLXDatabaseCollectionHistorySessions, [&](std::string_view, const Value& object, bool&) {
            if (auto session = std::dynamic_pointer_cast<const PLXHistorySession>(object.object()))
                all.push_back(std::move(session));
        });
    std::sort(all.begin(), all.end(), [](const auto& a, const auto& b) {
        const double startOfA = startOf(*a), startOfB = startOf(*b);
        return startOfA != startOfB ? startOfA > startOfB : a->uuid() < b->uuid();
    });
    return all;
}

Sessions openSessions(const YapDatabaseReadTransaction& transaction) {
    const String device = Host::localizedName();
    Sessions open = sessionsOf(transaction);
    std::erase_if(open, [&](const auto& session) {
        return session->endDate() || session->deviceName() != device;
    });
    return open;
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
