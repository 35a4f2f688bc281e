#include "database/PLXDatabaseManager.h"
#include "database/extensions/registerExtension.h"
#include "organisation/PLXMediaItemPlaylist.h"
#include "store/indexes/YapDatabaseSecondaryIndex.h"

namespace qsml {
namespace {

void fillColumns(YapDatabaseReadTransaction&, const YapDatabaseRow& row,
                 YapDatabaseColumnValues& columns) {
    const auto playlist = objectOfClass<PLXMediaItemPlaylist>(row.object);
    if (playlist) columns.set("name", playlist->name());
}

}  // namespace

void PLXDatabaseManager::setupMediaItemPlaylistSecondaryIndexExtension() {
    using Index = YapDatabaseSecondaryIndex;
    detail::registerExtension(
        *this,
        std::make_shared<Index>(std::vector<Index::Column>{{"name", Index::Type::text}},
                                fillColumns),
        PLXDatabaseExtensionMediaItemPlaylistIndex);
}

}  // namespace qsml
