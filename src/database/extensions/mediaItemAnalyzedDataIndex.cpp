#include "database/PLXDatabaseManager.h"
#include "database/extensions/registerExtension.h"
#include "store/indexes/YapDatabaseSecondaryIndex.h"
#include "tracks/PLXMediaItemAnalyzedData.h"
#include "tracks/PLXMediaItemUserData.h"

namespace qsml {
namespace {

void fillColumns(YapDatabaseReadTransaction& transaction, const YapDatabaseRow& row,
                 YapDatabaseColumnValues& columns) {
    const auto data = objectOfClass<PLXMediaItemAnalyzedData>(row.object);
    if (!data) return;
    if (data->bpm() > 0) columns.set("bpm", data->bpm());
    if (data->keySignatureIndex() >= 0) columns.set("keySignatureIndex", data->keySignatureIndex());
    const auto userData =
        transaction.object<PLXMediaItemUserData>(row.key, PLXDatabaseCollectionMediaItemUserData);
    if (userData && userData->manualBPM() > 0) columns.set("manualBPM", userData->manualBPM());
}

std::vector<YapDatabaseCollectionKey> analyzedDataOfUserData(YapDatabaseReadTransaction&,
                                                             const YapDatabaseRow& userData) {
    return {{PLXDatabaseCollectionMediaItemAnalyzedData, userData.key}};
}

}  // namespace

void PLXDatabaseManager::setupMediaItemAnalyzedDataSecondaryIndexExtension() {
    using Index = YapDatabaseSecondaryIndex;
    Index::Options options;
    options.allowedCollections = {{std::string(PLXDatabaseCollectionMediaItemAnalyzedData)}};
    options.dependents = {{std::string(PLXDatabaseCollectionMediaItemUserData)},
                          analyzedDataOfUserData};
    detail::registerExtension(
        *this,
        std::make_shared<Index>(
            std::vector<Index::Column>{{"bpm", Index::Type::real},
                                       {"manualBPM", Index::Type::real},
                                       {"keySignatureIndex", Index::Type::integer}},
            fillColumns, "2", options),
        PLXDatabaseExtensionMediaItemAnalyzedDataIndex);
}

}  // namespace qsml
