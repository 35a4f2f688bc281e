#pragma once
#include "core/PLXCloudDatabaseObject.h"
#include "store/YapDatabaseRelationshipNode.h"
#include "tracks/PLXCuePoint.h"
#include "tracks/PLXLoopRegion.h"
#include "tracks/PLXMediaItemTitleID.h"

namespace qsml {

inline constexpr std::string_view PLXMediaItemUserDataTagRelationshipEdgeName =
    "mediaItemUserDataMediaItemTag";

/// What the user has set up for one track. Units and ranges of times, EQ, rating and energy are
/// the player's; they are stored as given. Confined to one thread at a time until written; shared
/// by any once frozen.
class QSML_EXPORT PLXMediaItemUserData final : public PLXCloudDatabaseObject,
                                               public YapDatabaseRelationshipNode {
    QSML_RECORD(PLXMediaItemUserData, PLXCloudDatabaseObject)

    /// Keyed by the title ID's internal ID, as the media item is.
    static std::shared_ptr<PLXMediaItemUserData> initWithTitleID(
        const std::shared_ptr<const PLXMediaItemTitleID>& titleID);
    /// The same; here the title ID keeps the internal ID that it was asked for.
    static std::shared_ptr<PLXMediaItemUserData> initWithTitleID(
        const std::shared_ptr<PLXMediaItemTitleID>& titleID);

    /// A set: every identity that the track is known under. Of those that agree in internal ID and
    /// metadata only the first is archived and sent, so that only this one is read back.
    QSML_PROPERTY(CopiedArray<PLXMediaItemTitleID>, titleIDs, setTitleIDs, .form = ArchiveForm::set)
    QSML_PROPERTY(Copied<PLXCuePoint>, startPoint, setStartPoint)
    QSML_PROPERTY(Copied<PLXCuePoint>, endPoint, setEndPoint)
    QSML_PROPERTY(Copied<PLXCuePoint>, automixStartPoint, setAutomixStartPoint)
    QSML_PROPERTY(Copied<PLXCuePoint>, automixEndPoint, setAutomixEndPoint)
    /// One cue a number is the caller's duty, here as for the loops; only the merge sees to it.
    QSML_PROPERTY(CopiedArray<PLXCuePoint>, cuePoints, setCuePoints)
    QSML_PROPERTY(CopiedArray<PLXLoopRegion>, loopRegions, setLoopRegions)
    /// 0 in a band means not set.
    QSML_PROPERTY(float, highEQ, setHighEQ)
    QSML_PROPERTY(float, midEQ, setMidEQ)
    QSML_PROPERTY(float, lowEQ, setLowEQ)
    /// Beats per minute, over the analysed tempo; 0 when there is none.
    QSML_PROPERTY(float, manualBPM, setManualBPM)
    /// Anchors the beat grid; 0 when not set.
    QSML_PROPERTY(float, manualBeatTime, setManualBeatTime)
    /// Index into the table of musical keys; 0 when not set, unlike the media item's -1.
    QSML_PROPERTY(std::int64_t, manualKeySignatureIndex, setManualKeySignatureIndex)
    /// Numbers of the player's kind, as are the start points. Objects among them are not read back.
    QSML_PROPERTY(std::optional<Value::Array>, manualFirstDownBeatIndices,
                  setManualFirstDownBeatIndices)
    QSML_PROPERTY(std::optional<Value::Array>, manualGridStartPoints, setManualGridStartPoints)
    /// 0 when unrated.
    QSML_PROPERTY(std::int64_t, rating, setRating)
    /// 0 when not set.
    QSML_PROPERTY(std::int64_t, energy, setEnergy)
    QSML_PROPERTY(std::uint64_t, playCount, setPlayCount, .form = ArchiveForm::numberObject)
    /// A set of keys into PLXDatabaseCollectionMediaItemTags.
    QSML_PROPERTY(std::optional<OrderedSet<String>>, tagUUIDs, setTagUUIDs,
                  .form = ArchiveForm::set)
    /// Keys of other user data, in order.
    QSML_PROPERTY(std::optional<OrderedSet<String>>, linkedUserDataUUIDs, setLinkedUserDataUUIDs,
                  .form = ArchiveForm::orderedSet)
    QSML_RECORD_END()

    /// The first in the list; null when no cue or loop has the number.
    std::shared_ptr<const PLXCuePoint> cuePointWithNumber(std::int64_t number) const;
    std::shared_ptr<const PLXLoopRegion> loopRegionWithNumber(std::int64_t number) const;

    /// Whether a point, cue, loop, EQ, tempo, grid or key is set. Derived, and no property: it is
    /// neither monitored nor sent. On purpose the high band does not count. Pinned by
    /// GivenOneSettingOfTheDeck.WhenItIsTheHighBandThenThereIsNoDeckMetadata.
    bool hasDeckMetadata() const;

    /// A mutable copy of this record, with what it lacks taken from the other record of the same
    /// track, and the play counts added.
    std::shared_ptr<PLXMediaItemUserData> mergedCopyWithMediaItemUserData(
        const PLXMediaItemUserData& other) const;

    /// One edge a tag: a tag lives as long as some track carries it.
    std::vector<YapDatabaseRelationshipEdge> yapDatabaseRelationshipEdges() const override;

    /// Points, cues, loops and title IDs travel as JSON texts.
    Value cloudValueForCloudKey(std::string_view cloudKey) const override;
    /// Compares what the texts say: other writers order keys and write numbers in their own way,
    /// and title IDs in any order.
    bool isEqualCloudValue(const Value& a, const Value& b,
                           std::string_view cloudKey) const override;
    /// A text that is no point sets nil; cues, loops and title IDs leave out what cannot be read,
    /// and are nil when nothing is left. A value that is no text or no list is refused.
    bool setLocalValueFromCloudValue(const Value& value, std::string_view cloudKey) override;

    bool initWithCoder(KeyedUnarchiver& coder) override;
};

}  // namespace qsml
