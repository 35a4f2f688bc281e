#pragma once
#include "core/PLXCloudDatabaseObject.h"
#include "tracks/PLXMediaItemTitleID.h"
#include "tracks/URLSet.h"

namespace qsml {

inline constexpr std::int64_t PLXMediaItemLocationTypeLocal = 0;   ///< known to this device only
inline constexpr std::int64_t PLXMediaItemLocationTypeGlobal = 1;  ///< valid on every device

/// Where the file of a track is. Confined to one thread at a time until written; shared by any once
/// frozen.
class QSML_EXPORT PLXMediaItemLocation final : public PLXCloudDatabaseObject {
    QSML_RECORD(PLXMediaItemLocation, PLXCloudDatabaseObject)

    /// Keyed by the title ID's internal ID, as the media item is.
    static std::shared_ptr<PLXMediaItemLocation> initWithTitleID(
        const std::shared_ptr<const PLXMediaItemTitleID>& titleID,
        const std::optional<URL>& sourceURI, std::int64_t type);
    /// The same; here the title ID keeps the internal ID that it was asked for.
    static std::shared_ptr<PLXMediaItemLocation> initWithTitleID(
        const std::shared_ptr<PLXMediaItemTitleID>& titleID, const std::optional<URL>& sourceURI,
        std::int64_t type);

    /// Every URI that the track is known under: of its file, of a store or stream. Elements of an
    /// archive that are no URLs are left out, and are lost when the location is stored again, also
    /// by the library itself.
    QSML_PROPERTY(std::optional<URLSet>, sourceURIs, setSourceURIs)
    /// One of the types above; others are stored as given.
    QSML_PROPERTY(std::int64_t, type, setType)
    /// Of the track's file, made relative to PLXMediaItemLocationSource's base.
    QSML_PROPERTY(std::optional<Data>, urlBookmarkData, setUrlBookmarkData)
    QSML_RECORD_END()

    /// The first URI whose scheme is this text, letter case included; nothing for nil.
    std::optional<URL> sourceURIForScheme(const String& scheme) const;

    /// A mutable copy of this location. Of another one of the same type it takes the URIs that it
    /// lacks, and the bookmark where it has none; of one of another type nothing.
    std::shared_ptr<PLXMediaItemLocation> mergedCopyWithMediaItemLocation(
        const PLXMediaItemLocation& other) const;
};

}  // namespace qsml
