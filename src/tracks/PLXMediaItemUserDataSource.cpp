#include "tracks/PLXMediaItemUserDataSource.h"

#include <algorithm>

#include "store/search/YapDatabaseFullTextSearchTransaction.h"
#include "store/search/fullTextQuery.h"
#include "tracks/PLXMediaItemLocationSource.h"
#include "tracks/PLXMediaItemTitleIDSource.h"
#include "tracks/PLXMediaItemUserData.h"
#include "tracks/detail/backgroundTransactions.h"
#include "tracks/detail/bracedToken.h"
#include "tracks/detail/storedRecord.h"

namespace qsml {
namespace {

using TitleID = std::shared_ptr<const PLXMediaItemTitleID>;
using UserData = std::shared_ptr<const PLXMediaItemUserData>;
constexpr auto collection = PLXDatabaseCollectionMediaItemUserData;

template <class Condition>
bool hasTitleID(const PLXMediaItemUserData& userData, const Condition& condition) {
    const auto& titleIDs = userData.titleIDs();
    return titleIDs && std::any_of(titleIDs->begin(), titleIDs->end(), condition);
}

/// As a set contains it: equal title IDs may hash differently, and then a set holds both.
bool containsTitleID(const PLXMediaItemUserData& userData, const PLXMediaItemTitleID& titleID) {
    return hasTitleID(userData, [&](const TitleID& known) {
        return known->isEqual(titleID) && known->hash() == titleID.hash();
    });
}

/// The record that was found by key, or nothing, against all that know the ISRC.
UserData foundByISRC(const String& isrc, UserData found, YapDatabaseReadTransaction& transaction) {
    auto* const search = transaction.ext<YapDatabaseFullTextSearchTransaction>(
        PLXDatabaseExtensionMediaItemUserDataSearchIndex);
    if (!search) return found;
    // The index knows nothing of letter case and punctuation: the ISRCs themselves are compared.
    const auto query = fullTextQueryForExactToken("isrcs", detail::bracedToken(isrc));
    const auto consider = [&](std::string_view, std::string_view, const Value& object, bool&) {
        auto match = objectOfClass<PLXMediaItemUserData>(object);
        const auto hasISRC = [&](const TitleID& known) { return known->isrc() == isrc; };
        if (match && hasTitleID(*match, hasISRC) && (!found || match->hasDeckMetadata()))
            found = std::move(match);
    };
    search->enumerateKeysAndObjectsMatching(query, consider);
    return found;
}

void addTitleID(const TitleID& titleID, const String& userDataUUID,
                YapDatabaseReadWriteTransaction& transaction) {
    const auto stored = transaction.object<PLXMediaItemUserData>(userDataUUID, collection);
    if (!stored || containsTitleID(*stored, *titleID)) return;
    auto titleIDs = stored->titleIDs().value_or(std::vector<TitleID>());
    titleIDs.push_back(titleID);
    const auto changed = stored->copy();
    changed->setTitleIDs(titleIDs);
    transaction.setObject(changed, userDataUUID, collection);
}

}  // namespace

PLXMediaItemUserDataSource& PLXMediaItemUserDataSource::sharedInstance() {
    // Never destroyed: threads of the host may use it until the process ends.
    static auto* const source = new PLXMediaItemUserDataSource(PLXDatabaseManager::sharedManager());
    return *source;
}

UserData PLXMediaItemUserDataSource::lookupMediaItemUserDataForTitleID(
    const TitleID& titleID, YapDatabaseReadTransaction& transaction) const {
    if (!titleID || !titleID->internalID()) return nullptr;
    auto found = detail::storedRecord<PLXMediaItemUserData>(titleID, collection, transaction);
    // An empty ISRC is none: it would take tracks that have nothing in common for one.
    if (!titleID->isrc().empty() && !(found && found->hasDeckMetadata()))
        found = foundByISRC(titleID->isrc(), std::move(found), transaction);
    if (found && !containsTitleID(*found, *titleID)) addTitleIDLater(*titleID, found->uuid());
    return found;
}

void PLXMediaItemUserDataSource::addTitleIDLater(const PLXMediaItemTitleID& titleID,
                                                 const String& userDataUUID) const {
    const auto& connection = manager_.bgDatabaseConnection();
    if (!connection) return;
    // Weak: what waits for the queue must not keep the library open.
    connection->flushTransactions(
        [later = std::weak_ptr(connection), added = TitleID(titleID.copy()), userDataUUID] {
            if (const auto open = later.lock())
                open->asyncReadWrite([added, userDataUUID](auto& transaction) {
                    addTitleID(added, userDataUUID, transaction);
                });
        });
}

UserData PLXMediaItemUserDataSource::mediaItemUserDataForTitleID(
    const TitleID& titleID, YapDatabaseReadTransaction& transaction) const {
    return lookupMediaItemUserDataForTitleID(titleID, transaction);
}

UserData PLXMediaItemUserDataSource::mediaItemUserDataForTitleID(const TitleID& titleID) const {
    UserData found;
    detail::read(manager_, [&](YapDatabaseReadTransaction& transaction) {
        found = mediaItemUserDataForTitleID(titleID, transaction);
    });
    return found;
}

UserData PLXMediaItemUserDataSource::mediaItemUserDataForTitleID(
    const TitleID& titleID, bool createIfNeeded,
    const std::shared_ptr<const PLXMediaItemLocation>& location, const std::optional<URL>& url,
    YapDatabaseReadWriteTransaction& transaction) const {
    if (!titleID || !titleID->internalID()) return nullptr;
    auto userData = lookupMediaItemUserDataForTitleID(titleID, transaction);
    // What is there and does not decode is not replaced: a newer version may be able to read it.
    const bool isFree = !transaction.hasObjectForKey(titleID->internalID(), collection);
    if (!userData && createIfNeeded && isFree) {
        userData = PLXMediaItemUserData::initWithTitleID(titleID);
        const bool isStored = transaction.setObject(userData, userData->uuid(), collection) &&
                              PLXMediaItemTitleIDSource::setTitleID(titleID, transaction);
        if (!isStored) userData = nullptr;
    }
    if (location)
        PLXMediaItemLocationSource(manager_).setMediaItemLocation(location, url, transaction);
    return userData;
}

UserData PLXMediaItemUserDataSource::mediaItemUserDataForTitleID(
    const TitleID& titleID, bool createIfNeeded,
    const std::shared_ptr<const PLXMediaItemLocation>& location,
    const std::optional<URL>& url) const {
    if (!titleID || !titleID->internalID()) return nullptr;
    UserData userData;
    const auto findOrMake = [&](YapDatabaseReadWriteTransaction& transaction) {
        userData = mediaItemUserDataForTitleID(titleID, createIfNeeded, location, url, transaction);
        return userData || !createIfNeeded;
    };
    if (detail::readWrite(manager_, findOrMake)) return userData;
    return mediaItemUserDataForTitleID(titleID);  // nothing was written: what there was before
}

bool PLXMediaItemUserDataSource::setMediaItemUserData(
    const UserData& userData, YapDatabaseReadWriteTransaction& transaction) {
    if (!userData || !transaction.setObject(userData, userData->uuid(), collection)) return false;
    transaction.touchObjectForKey(userData->uuid(), PLXDatabaseCollectionMediaItems);
    return true;
}

bool PLXMediaItemUserDataSource::setMediaItemUserData(const UserData& userData) {
    return detail::readWrite(manager_, [&](YapDatabaseReadWriteTransaction& transaction) {
        return setMediaItemUserData(userData, transaction);
    });
}

}  // namespace qsml
