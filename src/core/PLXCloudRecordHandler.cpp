#include "core/PLXCloudRecordHandler.h"

#include <stdexcept>

#include "foundation/Log.h"

namespace qsml {
namespace {

constexpr std::string_view method = "+[PLXCloudDatabaseObject recordHandler]_block_invoke";

void put(CKRecord& cloudRecord, std::string_view key, const Value& value) {
    try {
        cloudRecord.setValue(key, value);
    } catch (const std::invalid_argument& refusal) {
        log(method, __LINE__, std::string("Left out of the cloud record: ") + refusal.what());
    }
}

std::shared_ptr<CKRecord> newCloudRecord(const PLXCloudDatabaseObject& object) {
    const String name = object.cloudUUID();
    if (!object.uuid() || !isValidCloudName(name)) {
        log(method, __LINE__, "No cloud record can be named " + name.str());
        return nullptr;
    }
    auto made = std::make_shared<CKRecord>(
        object.cloudType(),
        CKRecordID{name, CKRecordZoneID{PLXMediaLibraryZoneName, CKCurrentUserDefaultName}});
    made->setValue("uuid", object.uuid());
    return made;
}

}  // namespace

void PLXCloudRecordHandler(std::shared_ptr<CKRecord>& cloudRecord,
                           YapDatabaseCloudKitRecordInfo& recordInfo,
                           const PLXCloudDatabaseObject& object,
                           const String& containerIdentifier) {
    const bool restores = recordInfo.keysToRestore && !recordInfo.keysToRestore->empty();
    const bool exists = cloudRecord != nullptr;
    if (exists && !restores && !object.hasChangedCloudProperties()) return;
    if (!exists) cloudRecord = newCloudRecord(object);
    if (!cloudRecord) return;
    recordInfo.databaseIdentifier = containerIdentifier;

    OrderedSet<String> keys;
    if (restores) {
        keys = *recordInfo.keysToRestore;
    } else if (exists) {
        keys = object.changedCloudProperties().value_or(KeySet()).orderedSet();
        recordInfo.originalValues = object.originalCloudValues().value_or(Dictionary());
    } else {
        keys = object.allCloudProperties().orderedSet();
    }

    const bool tracks = object.recordClass().trackUserChangedCloudKeys();
    const OrderedSet<String> userChanged =
        tracks ? object.userChangedCloudKeys() : decltype(keys)();
    for (const String& key : keys)
        if (!tracks || userChanged.contains(key))
            put(*cloudRecord, key, object.cloudValueForCloudKey(key));
    if (tracks)
        put(*cloudRecord, "userChangedCloudKeys",
            Value::Array(userChanged.begin(), userChanged.end()));
}

}  // namespace qsml
