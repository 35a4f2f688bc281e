#pragma once
#include "core/PLXCloudDatabaseObject.h"
#include "store/YapDatabaseRelationshipNode.h"
#include "tracks/PLXMediaItemTitleID.h"

namespace qsml {

inline constexpr std::string_view PLXMediaItemArtistRelationshipEdgeName = "mediaItemMediaArtist";
inline constexpr std::string_view PLXMediaItemAlbumRelationshipEdgeName = "mediaItemMediaAlbum";
inline constexpr std::string_view PLXMediaItemGenreRelationshipEdgeName = "mediaItemMediaGenre";
inline constexpr std::string_view PLXMediaItemLabelRelationshipEdgeName = "mediaItemMediaLabel";
inline constexpr std::string_view PLXMediaItemAlbumArtistRelationshipEdgeName =
    "mediaItemMediaAlbumArtist";
/// For callers; no record declares an edge of this name.
inline constexpr std::string_view PLXMediaItemAlbumLabelRelationshipEdgeName =
    "mediaItemMediaAlbumLabel";

/// A track as its tags describe it. What the user did with it is in PLXMediaItemUserData.
/// Confined to one thread at a time until written; shared by any once frozen.
class QSML_EXPORT PLXMediaItem final : public PLXCloudDatabaseObject,
                                       public YapDatabaseRelationshipNode {
    QSML_RECORD(PLXMediaItem, PLXCloudDatabaseObject)

    /// Keyed by the title ID's internal ID, so user data and locations are found under the same
    /// key.
    static std::shared_ptr<PLXMediaItem> initWithTitleID(
        const std::shared_ptr<const PLXMediaItemTitleID>& titleID);
    /// The same; here the title ID keeps the internal ID that it was asked for.
    static std::shared_ptr<PLXMediaItem> initWithTitleID(
        const std::shared_ptr<PLXMediaItemTitleID>& titleID);

    /// The track's identity: a copy of its own.
    QSML_PROPERTY(Copied<PLXMediaItemTitleID>, titleID, setTitleID)
    QSML_PROPERTY(String, title, setTitle)
    QSML_PROPERTY(std::optional<Date>, addedDate, setAddedDate)
    QSML_PROPERTY(std::optional<Date>, modifiedDate, setModifiedDate)
    QSML_PROPERTY(std::optional<Date>, releaseDate, setReleaseDate)
    QSML_PROPERTY(std::optional<Date>, purchasedDate, setPurchasedDate)
    QSML_PROPERTY(std::int64_t, year, setYear)
    QSML_PROPERTY(String, composer, setComposer)
    QSML_PROPERTY(String, grouping, setGrouping)
    QSML_PROPERTY(String, comments, setComments)
    QSML_PROPERTY(String, lyrics, setLyrics)
    /// The caller's enumeration, stored as given.
    QSML_PROPERTY(std::int64_t, albumType, setAlbumType)
    QSML_PROPERTY(std::int64_t, albumTrackNumber, setAlbumTrackNumber)
    QSML_PROPERTY(std::int64_t, albumTrackCount, setAlbumTrackCount)
    QSML_PROPERTY(std::int64_t, albumDiscNumber, setAlbumDiscNumber)
    QSML_PROPERTY(std::int64_t, albumDiscCount, setAlbumDiscCount)
    /// Beats per minute, as tagged or analysed; 0 when unknown.
    QSML_PROPERTY(float, bpm, setBpm)
    QSML_PROPERTY(bool, explicitContent, setExplicitContent)
    /// Keys into PLXDatabaseCollectionMediaArtists, in credit order.
    QSML_PROPERTY(std::optional<OrderedSet<String>>, artistUUIDs, setArtistUUIDs)
    QSML_PROPERTY(String, albumUUID, setAlbumUUID)
    QSML_PROPERTY(std::optional<OrderedSet<String>>, genreUUIDs, setGenreUUIDs)
    QSML_PROPERTY(String, labelUUID, setLabelUUID)
    /// Keys into the same collection as the track's artists.
    QSML_PROPERTY(std::optional<OrderedSet<String>>, albumArtistUUIDs, setAlbumArtistUUIDs)
    QSML_PROPERTY(String, contentType, setContentType)
    QSML_PROPERTY_AS(bool, drmProtected, isDRMProtected, setDrmProtected)
    /// Seconds.
    QSML_PROPERTY(float, duration, setDuration)
    QSML_PROPERTY(std::int64_t, channelCount, setChannelCount)
    /// Hz.
    QSML_PROPERTY(std::int64_t, sampleRate, setSampleRate)
    QSML_PROPERTY(std::int64_t, bitRate, setBitRate)
    /// The media source that the track was imported from.
    QSML_PROPERTY(String, originSourceID, setOriginSourceID)
    /// Index into the table of musical keys; -1 when unknown, and then not archived.
    QSML_PROPERTY(std::int64_t, musicalKeySignatureIndex, setMusicalKeySignatureIndex,
                  .initial = -1, .archived = Archived::unlessInitial)
    QSML_COMPUTED(std::int64_t, roundedBPM)  ///< halves away from zero: 127.5 gives 128
    QSML_RECORD_END()

    /// Artists, album artists, genres, album, label; each lives as long as some track points at it.
    std::vector<YapDatabaseRelationshipEdge> yapDatabaseRelationshipEdges() const override;
};

}  // namespace qsml
