#include "tracks/PLXMediaItemAnalyzedDataSource.h"

#include "store/indexes/YapDatabaseSecondaryIndexTransaction.h"
#include "tracks/PLXMediaItemAnalyzedData.h"
#include "tracks/detail/backgroundTransactions.h"
#include "tracks/detail/storedRecord.h"

namespace qsml {
namespace {

using TitleID = std::shared_ptr<const PLXMediaItemTitleID>;
constexpr auto collection = PLXDatabaseCollectionMediaItemAnalyzedData;

std::shared_ptr<const PLXMediaItemAnalyzedData> stored(
    const TitleID& titleID, const YapDatabaseReadTransaction& transaction) {
    return detail::storedRecord<PLXMediaItemAnalyzedData>(titleID, collection, transaction);
}

/// The value of the first of the columns that has one for the track; nil when none has.
Value indexedValue(const TitleID& titleID, std::initializer_list<std::string_view> columns,
                   YapDatabaseReadTransaction& transaction) {
    const String key = titleID ? titleID->internalID() : String();
    auto* const index = transaction.ext<YapDatabaseSecondaryIndexTransaction>(
        PLXDatabaseExtensionMediaItemAnalyzedDataIndex);
    if (!key || !index) return {};
    const auto rowid = index->rowidsForKeys({key}, collection).front();
    if (!rowid) return {};
    const YapDatabaseQuery query("WHERE rowid == ?", {*rowid});
    Value found;
    for (const std::string_view column : columns) {
        index->enumerateIndexedValuesInColumn(column, query,
                                              [&](const Value& value, bool&) { found = value; });
        if (!found.isNil()) break;
    }
    return found;
}

}  // namespace

PLXMediaItemAnalyzedDataSource& PLXMediaItemAnalyzedDataSource::sharedInstance() {
    // Never destroyed: threads of the host may use it until the process ends.
    static auto* const source =
        new PLXMediaItemAnalyzedDataSource(PLXDatabaseManager::sharedManager());
    return *source;
}

std::shared_ptr<const PLXMediaItemAnalyzedData>
PLXMediaItemAnalyzedDataSource::mediaItemAnalyzedDataForTitleID(const TitleID& titleID) const {
    return mediaItemAnalyzedDataForTitleID(titleID, false);
}

std::shared_ptr<const PLXMediaItemAnalyzedData>
PLXMediaItemAnalyzedDataSource::mediaItemAnalyzedDataForTitleID(const TitleID& titleID,
                                                                bool createIfNeeded) const {
    std::shared_ptr<const PLXMediaItemAnalyzedData> data;
    if (!titleID || !titleID->internalID()) return data;
    const auto findOrMake = [&](YapDatabaseReadWriteTransaction& transaction) {
        data = stored(titleID, transaction);
        if (data || !createIfNeeded) return true;
        if (!detail::isVacant(titleID->internalID(), collection, transaction)) return false;
        data = PLXMediaItemAnalyzedData::initWithTitleID(titleID);
        return transaction.setObject(data, data->uuid(), collection) &&
               detail::storeCopy(*titleID, transaction);
    };
    return detail::readWrite(manager_, findOrMake) ? data : nullptr;
}

bool PLXMediaItemAnalyzedDataSource::setMediaItemAnalyzedData(
    const std::shared_ptr<const PLXMediaItemAnalyzedData>& data) {
    if (!data) return false;
    return detail::readWrite(manager_, [&](YapDatabaseReadWriteTransaction& transaction) {
        if (!transaction.setObject(data, data->uuid(), collection)) return false;
        transaction.touchObjectForKey(data->uuid(), PLXDatabaseCollectionMediaItems);
        return true;
    });
}

std::optional<double> PLXMediaItemAnalyzedDataSource::bpmForMediaItemWithTitleID(
    const TitleID& titleID, YapDatabaseReadTransaction& transaction) const {
    const Value bpm = indexedValue(titleID, {"manualBPM", "bpm"}, transaction);
    return bpm.isNil() ? std::nullopt : std::optional(bpm.realValue());
}

std::optional<std::int64_t>
PLXMediaItemAnalyzedDataSource::keySignatureIndexForMediaItemWithTitleID(
    const TitleID& titleID, YapDatabaseReadTransaction& transaction) const {
    const Value index = indexedValue(titleID, {"keySignatureIndex"}, transaction);
    return index.isNil() ? std::nullopt : std::optional(index.integerValue());
}

}  // namespace qsml
