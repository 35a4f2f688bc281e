#include "database/PLXDatabaseManager.h"
#include "database/extensions/joinedTexts.h"
#include "database/extensions/registerExtension.h"
#include "store/search/YapDatabaseFullTextSearch.h"
#include "tracks/PLXMediaItemUserData.h"
#include "tracks/detail/bracedToken.h"

namespace qsml {
namespace {

void fillColumns(YapDatabaseReadTransaction&, const YapDatabaseRow& row,
                 YapDatabaseColumnValues& columns) {
    const auto userData = objectOfClass<PLXMediaItemUserData>(row.object);
    if (!userData || !userData->titleIDs()) return;
    detail::JoinedTexts isrcs;
    for (const auto& titleID : *userData->titleIDs())
        if (titleID->isrc()) isrcs.add(detail::bracedToken(titleID->isrc()));
    columns.set("isrcs", isrcs.value());
}

}  // namespace

void PLXDatabaseManager::setupMediaItemUserDataSearchIndexExtension() {
    using Search = YapDatabaseFullTextSearch;
    Search::Options options;
    options.tokenCharacters = "{}";  // or a braced ISRC would match those that contain it
    detail::registerExtension(*this,
                              std::make_shared<Search>(std::vector<std::string>{"isrcs"},
                                                       fillColumns, "1", std::move(options)),
                              PLXDatabaseExtensionMediaItemUserDataSearchIndex);
}

}  // namespace qsml
