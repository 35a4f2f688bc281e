#include "tracks/PLXMediaItemUserDataSource.h"

#include <algorithm>

#include "foundation/text.h"
#include "store/search/YapDatabaseFullTextSearchTransaction.h"
#include "store/search/fullTextQuery.h"
#include "tracks/PLXMediaItemLocationSource.h"
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

/// Holds the record that was found by key, or nothing, against all that know the ISRC. False when
/// these could not be read.
bool searchISRC(const String& isrc, UserData& found, YapDatabaseReadTransaction& transaction) {
    auto* const search = transaction.ext<YapDatabaseFullTextSearchTransaction>(
        PLXDatabaseExtensionMediaItemUserDataSearchIndex);
    if (!search) return true;
    // Letter case does not count, as in the index; but accents and punctuation do, of which the
    // index knows nothing: so the ISRCs themselves are compared.
    const auto query = fullTextQueryForExactToken("isrcs", detail::bracedToken(isrc));
    const auto isSame = [folded = lowercased(isrc)](const TitleID& known) {
        return known->isrc() && lowercased(known->isrc()) == folded;
    };
    const auto consider = [&](std::string_view, std::string_view, const Value& object, bool&) {
        auto match = objectOfClass<PLXMediaItemUserData>(object);
        if (match && hasTitleID(*match, isSame) && (!found || match->hasDeckMetadata()))
            found = std::move(match);
    };
    return search->enumerateKeysAndObjectsMatching(query, consider) && !transaction.error();
}

/// Makes the record and stores it with a copy of the title ID, which stays as it is. Null when that
/// cannot be done.
UserData newUserData(const TitleID& titleID, YapDatabaseReadWriteTransaction& transaction) {
    const UserData made = PLXMediaItemUserData::initWithTitleID(titleID);
    const bool isStored = transaction.setObject(made, made->uuid(), collection) &&
                          detail::storeCopy(*titleID, transaction);
    return isStored ? made : nullptr;
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

bool PLXMediaItemUserDataSource::lookUp(const TitleID& titleID, UserData& found,
                                        YapDatabaseReadTransaction& transaction) const {
    found = detail::storedRecord<PLXMediaItemUserData>(titleID, collection, transaction);
    if (transaction.error()) return false;
    if (!titleID->isrc().empty() && !(found && found->hasDeckMetadata()))
        if (!searchISRC(titleID->isrc(), found, transaction)) return false;
    if (found && !containsTitleID(*found, *titleID)) addTitleIDLater(*titleID, found->uuid());
    return true;
}

UserData PLXMediaItemUserDataSource::lookupMediaItemUserDataForTitleID(
    const TitleID& titleID, YapDatabaseReadTransaction& transaction) const {
    UserData found;
    if (titleID && titleID->internalID()) (void)lookUp(titleID, found, transaction);
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
    UserData userData;
    if (lookUp(titleID, userData, transaction) && !userData && createIfNeeded &&
        detail::isVacant(titleID->internalID(), collection, transaction))
        userData = newUserData(titleID, transaction);
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
        if (userData || !createIfNeeded || transaction.error()) return !transaction.error();
        // Beside a record that does not decode the location stays all the same.
        return transaction.hasObjectForKey(titleID->internalID(), collection) &&
               !detail::storedRecord<PLXMediaItemUserData>(titleID, collection, transaction);
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
