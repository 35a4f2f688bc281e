#pragma once
#include <string_view>

namespace qsml {

// The registered names of the database's extensions. They are part of the stored format.
inline constexpr std::string_view PLXDatabaseExtensionRelationship = "relationship";
inline constexpr std::string_view PLXDatabaseExtensionMediaItemIndex = "mediaItemIndex";
inline constexpr std::string_view PLXDatabaseExtensionMediaItemUserDataIndex =
    "mediaItemUserDataIndex";
inline constexpr std::string_view PLXDatabaseExtensionMediaItemUserDataSearchIndex =
    "mediaItemUserDataSearchIndex";
inline constexpr std::string_view PLXDatabaseExtensionMediaItemAnalyzedDataIndex =
    "mediaItemAnalyzedDataIndex";
inline constexpr std::string_view PLXDatabaseExtensionMediaView = "mediaView";
inline constexpr std::string_view PLXDatabaseExtensionMediaItemsView = "mediaItemsView";
inline constexpr std::string_view PLXDatabaseExtensionMediaItemOriginalSourceView =
    "mediaItemOriginalSourceView";
inline constexpr std::string_view PLXDatabaseExtensionMediaItemPlaylistsView =
    "mediaItemPlaylistsView";
inline constexpr std::string_view PLXDatabaseExtensionMediaItemPlaylistView =
    "mediaItemPlaylistView";
inline constexpr std::string_view PLXDatabaseExtensionMediaItemPlaylistIndex =
    "mediaItemPlaylistIndex";
inline constexpr std::string_view PLXDatabaseExtensionHistorySessionView = "historySessionView";
inline constexpr std::string_view PLXDatabaseExtensionQueueView = "queueView";
inline constexpr std::string_view PLXDatabaseExtensionSearchIndex = "searchIndex";
inline constexpr std::string_view PLXDatabaseExtensionSearchResultsView = "searchResultsView";
inline constexpr std::string_view PLXDatabaseExtensionMediaItemKeySignatureIndexView =
    "mediaItemKeySignatureIndexView";
inline constexpr std::string_view PLXDatabaseExtensionContentPacksView = "contentPacksView";
inline constexpr std::string_view PLXDatabaseExtensionInstalledContentPacksView =
    "installedContentPacksView";
inline constexpr std::string_view PLXDatabaseExtensionContentPackMediaItemsView =
    "contentPackMediaItemsView";
inline constexpr std::string_view PLXDatabaseExtensionUserContentPacksView = "userContentPacksView";
inline constexpr std::string_view PLXDatabaseExtensionUserContentPackMediaItemsView =
    "userContentPackMediaItemsView";
inline constexpr std::string_view PLXDatabaseExtensionAllAvailableContentPacksView =
    "allAvailableContentPacksView";
inline constexpr std::string_view PLXDatabaseExtensionAllInstalledContentPacksView =
    "allInstalledContentPacksView";
inline constexpr std::string_view PLXDatabaseExtensionContentPackIndex = "contentPackIndex";
inline constexpr std::string_view PLXDatabaseExtensionUserContentPackIndex = "userContentPackIndex";
inline constexpr std::string_view PLXDatabaseExtensionCloudKit = "cloudKit";

}  // namespace qsml
