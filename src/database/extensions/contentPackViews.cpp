// Views of packs by their kinds, and of their media items.
#include "contentpacks/PLXContentPackMediaItem.h"
#include "contentpacks/PLXLooperPack.h"
#include "contentpacks/PLXSamplerPack.h"
#include "contentpacks/PLXTrackPack.h"
#include "contentpacks/PLXVisualizerPack.h"
#include "core/Copied.h"
#include "database/PLXDatabaseManager.h"
#include "database/extensions/registerAutoView.h"
#include "database/extensions/sortKeys.h"

namespace qsml {
namespace {

constexpr std::int64_t storeOwner = 0;
constexpr std::int64_t unavailableState = 0, installedState = 3;

String kindOf(const Value& object) {
    if (objectOfClass<PLXLooperPack>(object)) return "looper";
    if (objectOfClass<PLXVisualizerPack>(object)) return "visualizer";
    if (objectOfClass<PLXSamplerPack>(object)) return "sampler";
    if (objectOfClass<PLXTrackPack>(object)) return "track";
    return {};
}

using Shows = bool (*)(const PLXContentPack& pack);

bool showsAll(const PLXContentPack&) { return true; }
bool showsInstalled(const PLXContentPack& pack) { return pack.state() == installedState; }
bool showsAvailable(const PLXContentPack& pack) {
    return pack.owner() != storeOwner || pack.state() != unavailableState;
}
bool showsOwnAndInstalled(const PLXContentPack& pack) {
    return pack.owner() != storeOwner || pack.state() == installedState;
}

void registerPackView(PLXDatabaseManager& manager, std::string_view name,
                      std::initializer_list<std::string_view> collections, Shows shows) {
    detail::registerAutoView(
        manager, {name, "3", collections},
        [shows](YapDatabaseReadTransaction&, const YapDatabaseRow& row) {
            const auto pack = objectOfClass<PLXContentPack>(row.object);
            return pack && shows(*pack) ? kindOf(row.object) : String();
        },
        detail::sortedByLocalized([](const Value& object, const Collation& collation) {
            const auto pack = objectOfClass<PLXContentPack>(object);
            return detail::sortKeyOf(pack->sortOrder()) +
                   detail::localizedSortKeyOf(pack->name(), collation);
        }));
}

void registerMediaItemsView(PLXDatabaseManager& manager, std::string_view name,
                            std::string_view collection, YapDatabaseViewGrouping grouping) {
    detail::registerAutoView(
        manager, {name, "1", {collection}}, std::move(grouping),
        detail::sortedByLocalized([](const Value& object, const Collation& collation) {
            return detail::localizedSortKeyOf(
                objectOfClass<PLXContentPackMediaItem>(object)->name(), collation);
        }));
}

}  // namespace

void PLXDatabaseManager::setupContentPacksViewExtension() {
    registerPackView(*this, PLXDatabaseExtensionContentPacksView,
                     {PLXDatabaseCollectionContentPacks}, showsAll);
}

void PLXDatabaseManager::setupInstalledContentPacksViewExtension() {
    registerPackView(*this, PLXDatabaseExtensionInstalledContentPacksView,
                     {PLXDatabaseCollectionContentPacks}, showsInstalled);
}

void PLXDatabaseManager::setupUserContentPacksViewExtension() {
    registerPackView(*this, PLXDatabaseExtensionUserContentPacksView,
                     {PLXDatabaseCollectionUserContentPacks}, showsAll);
}

void PLXDatabaseManager::setupAllAvailableContentPacksViewExtension() {
    registerPackView(*this, PLXDatabaseExtensionAllAvailableContentPacksView,
                     {PLXDatabaseCollectionContentPacks, PLXDatabaseCollectionUserContentPacks},
                     showsAvailable);
}

void PLXDatabaseManager::setupAllInstalledContentPacksViewExtension() {
    registerPackView(*this, PLXDatabaseExtensionAllInstalledContentPacksView,
                     {PLXDatabaseCollectionContentPacks, PLXDatabaseCollectionUserContentPacks},
                     showsOwnAndInstalled);
}

void PLXDatabaseManager::setupContentPackMediaItemsView() {
    registerMediaItemsView(*this, PLXDatabaseExtensionContentPackMediaItemsView,
                           PLXDatabaseCollectionContentPackMediaItems,
                           [](YapDatabaseReadTransaction&, const YapDatabaseRow& row) {
                               const auto item = objectOfClass<PLXContentPackMediaItem>(row.object);
                               return item ? String(item->contentPackUUID()) : String();
                           });
}

void PLXDatabaseManager::setupUserContentPackMediaItemsView() {
    registerMediaItemsView(*this, PLXDatabaseExtensionUserContentPackMediaItemsView,
                           PLXDatabaseCollectionUserContentPackMediaItems,
                           [](YapDatabaseReadTransaction&, const YapDatabaseRow& row) {
                               return objectOfClass<PLXContentPackMediaItem>(row.object)
                                          ? String("contentPackMediaItem")
                                          : String();
                           });
}

}  // namespace qsml
