#pragma once
#include <string_view>

namespace qsml {

// The collections of the store. Their names are part of the stored format and never change.

/// PLXMediaItem records.
inline constexpr std::string_view PLXDatabaseCollectionMediaItems = "mediaItems";
/// PLXMediaItemTitleID records.
inline constexpr std::string_view PLXDatabaseCollectionMediaItemTitleIDs = "mediaItemTitleIDs";
/// PLXMediaItemUserData records.
inline constexpr std::string_view PLXDatabaseCollectionMediaItemUserData = "mediaItemUserData";
/// PLXMediaItemAnalyzedData records.
inline constexpr std::string_view PLXDatabaseCollectionMediaItemAnalyzedData =
    "mediaItemAnalyzedData";
/// PLXMediaItemLocation records valid on this device only.
inline constexpr std::string_view PLXDatabaseCollectionLocalMediaItemLocations =
    "localMediaItemLocations";
/// PLXMediaItemLocation records valid everywhere.
inline constexpr std::string_view PLXDatabaseCollectionGlobalMediaItemLocations =
    "globalMediaItemLocations";
/// PLXMediaArtist records.
inline constexpr std::string_view PLXDatabaseCollectionMediaArtists = "mediaArtists";
/// PLXMediaAlbum records.
inline constexpr std::string_view PLXDatabaseCollectionMediaAlbums = "mediaAlbums";
/// PLXMediaLabel records.
inline constexpr std::string_view PLXDatabaseCollectionMediaLabels = "mediaLabels";
/// PLXMediaGenre records.
inline constexpr std::string_view PLXDatabaseCollectionMediaGenres = "mediaGenres";
/// PLXMediaItemTag records.
inline constexpr std::string_view PLXDatabaseCollectionMediaItemTags = "mediaItemTags";
/// PLXMediaItemTagGroup records.
inline constexpr std::string_view PLXDatabaseCollectionMediaItemTagGroups = "mediaItemTagGroups";
/// PLXMediaItemPlaylist records.
inline constexpr std::string_view PLXDatabaseCollectionMediaItemPlaylists = "mediaItemPlaylists";
/// PLXMediaItemPlaylistItem records.
inline constexpr std::string_view PLXDatabaseCollectionMediaItemPlaylistItems =
    "mediaItemPlaylistItems";
/// Reserved for PLXMediaItemFilterSet records; no operation of the library itself uses it.
inline constexpr std::string_view PLXDatabaseCollectionMediaItemFilterSets = "mediaItemFilterSets";
/// PLXHistorySession records.
inline constexpr std::string_view PLXDatabaseCollectionHistorySessions = "historySessions";
/// Reserved for PLXHistorySessionItem records; no operation of the library itself uses it.
inline constexpr std::string_view PLXDatabaseCollectionHistorySessionItems = "historySessionItems";
/// PLXQueue records.
inline constexpr std::string_view PLXDatabaseCollectionQueues = "queues";
/// PLXQueueItem records.
inline constexpr std::string_view PLXDatabaseCollectionQueueItems = "queueItems";
/// PLXContentPack records other than the user's own.
inline constexpr std::string_view PLXDatabaseCollectionContentPacks = "contentPacks";
/// PLXContentPackMediaItem records of downloadable packs.
inline constexpr std::string_view PLXDatabaseCollectionContentPackMediaItems =
    "contentPackMediaItems";
/// Exported only; no operation of the library uses it.
inline constexpr std::string_view PLXDatabaseCollectionContentPackDownloads =
    "contentPackDownloads";
/// The user's own PLXContentPack records.
inline constexpr std::string_view PLXDatabaseCollectionUserContentPacks = "userContentPacks";
/// PLXContentPackMediaItem records of user packs.
inline constexpr std::string_view PLXDatabaseCollectionUserContentPackMediaItems =
    "userContentPackMediaItems";
/// PLXProduct records.
inline constexpr std::string_view PLXDatabaseCollectionProducts = "products";
/// The CloudKit manager's own state.
inline constexpr std::string_view PLXDatabaseCollectionCloudKit = "cloudKit";

// Posted on the main queue around each step of the user interface's connection.

inline constexpr std::string_view PLXUIDatabaseConnectionWillUpdateNotification =
    "PLXUIDatabaseConnectionWillUpdateNotification";
inline constexpr std::string_view PLXUIDatabaseConnectionDidUpdateNotification =
    "PLXUIDatabaseConnectionDidUpdateNotification";
/// The did-update notification's user information holds the commits under this key.
inline constexpr std::string_view PLXUIDatabaseConnectionNotificationsKey = "notifications";
/// And the identity of the connection that moved (const void*): a process may hold more managers.
inline constexpr std::string_view PLXUIDatabaseConnectionKey = "connection";

}  // namespace qsml
