#include "core/Copied.h"
#include "database/PLXDatabaseManager.h"
#include "database/extensions/registerExtension.h"
#include "store/indexes/YapDatabaseSecondaryIndex.h"
#include "tracks/PLXMediaItem.h"

namespace qsml {
namespace {

void fillColumns(YapDatabaseReadTransaction&, const YapDatabaseRow& row,
                 YapDatabaseColumnValues& columns) {
    const auto item = objectOfClass<PLXMediaItem>(row.object);
    if (item && item->titleID()) columns.set("titleID", item->titleID()->hashRepresentation());
}

}  // namespace

void PLXDatabaseManager::setupMediaItemSecondaryIndexExtension() {
    using Index = YapDatabaseSecondaryIndex;
    detail::registerExtension(
        *this,
        std::make_shared<Index>(std::vector<Index::Column>{{"titleID", Index::Type::text}},
                                fillColumns),
        PLXDatabaseExtensionMediaItemIndex);
}

}  // namespace qsml
