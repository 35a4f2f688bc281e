#include "contentpacks/PLXLooperPack.h"
#include "contentpacks/PLXSamplerPack.h"
#include "contentpacks/PLXTrackPack.h"
#include "contentpacks/PLXVisualizerPack.h"
#include "database/PLXDatabaseManager.h"
#include "database/extensions/registerExtension.h"
#include "store/indexes/YapDatabaseSecondaryIndex.h"

namespace qsml {
namespace {

/// Nil for other kinds.
Value kindOf(const PLXContentPack& pack) {
    const std::pair<const RecordClass*, const char*> kinds[] = {
        {&PLXLooperPack::classObject(), "looper"},
        {&PLXVisualizerPack::classObject(), "visualizer"},
        {&PLXSamplerPack::classObject(), "sampler"},
        {&PLXTrackPack::classObject(), "track"}};
    for (const auto& [kind, name] : kinds)
        if (pack.recordClass().isSubclassOf(*kind)) return name;
    return {};
}

void fillColumns(YapDatabaseReadTransaction&, const YapDatabaseRow& row,
                 YapDatabaseColumnValues& columns) {
    const auto pack = objectOfClass<PLXContentPack>(row.object);
    if (!pack) return;
    columns.set("name", pack->name());
    columns.set("type", kindOf(*pack));
    columns.set("addedDate", pack->addedDate().value_or(Date{0}).secondsSinceReferenceDate);
}

void registerIndex(PLXDatabaseManager& manager, std::string_view collection, std::string_view name,
                   const char* versionTag) {
    using Index = YapDatabaseSecondaryIndex;
    Index::Options options;
    options.allowedCollections = {{std::string(collection)}};
    detail::registerExtension(
        manager,
        std::make_shared<Index>(std::vector<Index::Column>{{"name", Index::Type::text},
                                                           {"type", Index::Type::text},
                                                           {"addedDate", Index::Type::real}},
                                fillColumns, versionTag, options),
        name);
}

}  // namespace

void PLXDatabaseManager::setupContentPackSecondaryIndexExtension() {
    registerIndex(*this, PLXDatabaseCollectionContentPacks, PLXDatabaseExtensionContentPackIndex,
                  "2");
}

void PLXDatabaseManager::setupUserContentPackSecondaryIndexExtension() {
    registerIndex(*this, PLXDatabaseCollectionUserContentPacks,
                  PLXDatabaseExtensionUserContentPackIndex, "1");
}

}  // namespace qsml
