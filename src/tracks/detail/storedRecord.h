#pragma once
#include "database/collectionNames.h"
#include "store/YapDatabaseTransaction.h"
#include "tracks/PLXMediaItemLocation.h"
#include "tracks/PLXMediaItemTitleIDSource.h"

namespace qsml::detail {

/// The record of a track in a collection: all of them are keyed by the title ID's internal ID. Null
/// when there is none, or no such key.
template <class Record>
std::shared_ptr<const Record> storedRecord(
    const std::shared_ptr<const PLXMediaItemTitleID>& titleID, std::string_view collection,
    const YapDatabaseReadTransaction& transaction) {
    const String key = titleID ? titleID->internalID() : String();
    return key ? transaction.object<Record>(key, collection) : nullptr;
}

/// Whether nothing stands under the key, for certain. What is there and could not be read is never
/// replaced: a newer version may be able to read it, or the next try.
inline bool isVacant(std::string_view key, std::string_view collection,
                     const YapDatabaseReadTransaction& transaction) {
    return !transaction.hasObjectForKey(key, collection) && !transaction.error();
}

/// Stores a copy of the title ID of a new record: the caller's own stays as it is. One that has an
/// internal ID only is left out. False when that could not be done.
inline bool storeCopy(const PLXMediaItemTitleID& titleID,
                      YapDatabaseReadWriteTransaction& transaction) {
    return !titleID.uuid() || PLXMediaItemTitleIDSource::setTitleID(titleID.copy(), transaction);
}

/// Every type but 0 counts as global.
inline std::string_view collectionOfLocationType(std::int64_t type) {
    return type == PLXMediaItemLocationTypeLocal ? PLXDatabaseCollectionLocalMediaItemLocations
                                                 : PLXDatabaseCollectionGlobalMediaItemLocations;
}

inline std::shared_ptr<const PLXMediaItemLocation> storedLocation(
    const std::shared_ptr<const PLXMediaItemTitleID>& titleID, std::int64_t type,
    const YapDatabaseReadTransaction& transaction) {
    return storedRecord<PLXMediaItemLocation>(titleID, collectionOfLocationType(type), transaction);
}

}  // namespace qsml::detail
