#pragma once
#include "core/PLXCloudDatabaseObject.h"

namespace qsml {

/// The identity of a piece of music, apart from any file: normalised title, artist and rounded
/// duration. The digest of that text is the record's key, so the same song gives the same key on
/// every device.
///
/// Confined to one thread at a time until shared as const; then used by any. What is derived on
/// first read is kept by the reads of a record that can still be changed, and derived each time by
/// the others.
class QSML_EXPORT PLXMediaItemTitleID final : public PLXCloudDatabaseObject {
    QSML_RECORD(PLXMediaItemTitleID, PLXCloudDatabaseObject)

    static std::shared_ptr<PLXMediaItemTitleID> titleIDWithTitle(String title, String artist,
                                                                 float duration, String isrc);
    static std::shared_ptr<PLXMediaItemTitleID> initWithTitle(String title, String artist,
                                                              float duration, String isrc);
    /// Keeps the text as it is; the title ID has no metadata of its own and counts as legacy.
    static std::shared_ptr<PLXMediaItemTitleID> initWithStringRepresentation(String text);
    /// Never null: an empty dictionary gives the legacy title ID of no title, no artist, no
    /// duration.
    static std::shared_ptr<PLXMediaItemTitleID> initWithJSONObject(const Dictionary& json);

    QSML_PROPERTY(String, title, setTitle)
    QSML_PROPERTY(String, artist, setArtist)
    /// Seconds.
    QSML_PROPERTY(float, duration, setDuration)
    QSML_PROPERTY(String, isrc, setIsrc)
    /// The key of the track's other records; the UUID until it is set.
    QSML_ACCESSORS(String, internalID, setInternalID)
    /// Lower-case trimmed title, a tab, the artist likewise, a tab, the rounded duration.
    QSML_COMPUTED(String, stringRepresentation)
    /// The MD5 digest of that text, as text.
    QSML_COMPUTED(String, hashRepresentation)
    QSML_COMPUTED_AS(bool, legacyTitleID, isLegacyTitleID)
    QSML_RECORD_END()

    // The reads that keep what they derive.
    String internalID();
    String stringRepresentation();
    String hashRepresentation();

    /// By internal ID alone; the other must be a title ID.
    bool isEqualToMediaItemTitleID(const PLXMediaItemTitleID* other) const;
    bool isEqual(const Object& other) const override;
    /// From the metadata. On purpose not in step with equality: equal title IDs may hash
    /// differently. Pinned by GivenTwoTitleIDsOfOneInternalID.WhenHashedThenTheMetadataCounts.
    std::size_t hash() const override;

    /// Nothing when the record has no UUID.
    std::optional<Dictionary> JSONObjectRepresentation() const;

    void encodeWithCoder(KeyedArchiver& coder) const override;
    bool initWithCoder(KeyedUnarchiver& coder) override;

private:
    // Copies do not take the memo over; 0 is "not yet". Relaxed: every thread computes the same.
    struct HashMemo {
        HashMemo() = default;
        HashMemo(const HashMemo&) {}
        HashMemo& operator=(const HashMemo&) = delete;
        std::atomic<std::uint64_t> value{0};
    };
    std::uint64_t computedHash() const;

    String internalID_;
    String stringRepresentation_;
    String hashRepresentation_;
    mutable HashMemo hash_;
};

}  // namespace qsml
