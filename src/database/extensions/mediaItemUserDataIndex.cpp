#include "database/PLXDatabaseManager.h"
#include "database/extensions/edgeSources.h"
#include "database/extensions/joinedTexts.h"
#include "database/extensions/registerExtension.h"
#include "organisation/PLXMediaItemTag.h"
#include "store/indexes/YapDatabaseSecondaryIndex.h"
#include "tracks/PLXMediaItemUserData.h"
#include "tracks/detail/bracedToken.h"

namespace qsml {
namespace {

Value joinedTags(const PLXMediaItemUserData& userData,
                 const YapDatabaseReadTransaction& transaction) {
    detail::JoinedTexts joined;
    if (userData.tagUUIDs())
        for (const String& uuid : *userData.tagUUIDs()) {
            const auto tag =
                transaction.object<PLXMediaItemTag>(uuid, PLXDatabaseCollectionMediaItemTags);
            if (tag && tag->value()) joined.add(detail::bracedToken(tag->value()));
        }
    return joined.value();
}

template <class Text>
Value joinedTexts(const PLXMediaItemUserData& userData, const Text& text) {
    detail::JoinedTexts joined;
    if (userData.titleIDs())
        for (const auto& titleID : *userData.titleIDs())
            if (const String found = text(*titleID)) joined.add(detail::bracedToken(found));
    return joined.value();
}

void fillColumns(YapDatabaseReadTransaction& transaction, const YapDatabaseRow& row,
                 YapDatabaseColumnValues& columns) {
    const auto userData = objectOfClass<PLXMediaItemUserData>(row.object);
    if (!userData) return;
    columns.set("tags", joinedTags(*userData, transaction));
    columns.set("titleIDs", joinedTexts(*userData, [](const PLXMediaItemTitleID& titleID) {
                    return titleID.internalID();
                }));
    columns.set("isrcs", joinedTexts(*userData, [](const PLXMediaItemTitleID& titleID) {
                    return titleID.isrc();
                }));
}

std::vector<YapDatabaseCollectionKey> userDataWithTag(YapDatabaseReadTransaction& transaction,
                                                      const YapDatabaseRow& tag) {
    return detail::edgeSources(transaction, tag, PLXMediaItemUserDataTagRelationshipEdgeName);
}

}  // namespace

void PLXDatabaseManager::setupMediaItemUserDataSecondaryIndexExtension() {
    using Index = YapDatabaseSecondaryIndex;
    Index::Options options;
    options.allowedCollections = {{std::string(PLXDatabaseCollectionMediaItemUserData)}};
    options.dependents = {{std::string(PLXDatabaseCollectionMediaItemTags)}, userDataWithTag};
    detail::registerExtension(
        *this,
        std::make_shared<Index>(std::vector<Index::Column>{{"tags", Index::Type::text},
                                                           {"titleIDs", Index::Type::text},
                                                           {"isrcs", Index::Type::text}},
                                fillColumns, "2", options),
        PLXDatabaseExtensionMediaItemUserDataIndex);
}

}  // namespace qsml
