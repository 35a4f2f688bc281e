#pragma once
#include "core/PLXCloudDatabaseObject.h"
#include "tracks/PLXMediaItemTitleID.h"

namespace qsml {

/// What the analysis of a track has found. Confined to one thread at a time until written; shared
/// by any once frozen.
class QSML_EXPORT PLXMediaItemAnalyzedData final : public PLXCloudDatabaseObject {
    QSML_RECORD(PLXMediaItemAnalyzedData, PLXCloudDatabaseObject)

    /// Keyed by the title ID's internal ID, as the media item is; of an unknown key.
    static std::shared_ptr<PLXMediaItemAnalyzedData> initWithTitleID(
        const std::shared_ptr<const PLXMediaItemTitleID>& titleID);
    /// The same; here the title ID keeps the internal ID that it was asked for.
    static std::shared_ptr<PLXMediaItemAnalyzedData> initWithTitleID(
        const std::shared_ptr<PLXMediaItemTitleID>& titleID);

    /// Beats per minute; 0 when unknown.
    QSML_PROPERTY(float, bpm, setBpm)
    /// Index into the table of musical keys; -1 when unknown. On purpose 0, the first key, in a
    /// record that is not made of a title ID and in an archive without it. Pinned by
    /// GivenNewAnalyzedData.WhenMadeOfATitleIDThenTheMusicalKeyIsUnknownElseTheFirst.
    QSML_PROPERTY(std::int64_t, keySignatureIndex, setKeySignatureIndex)
    QSML_COMPUTED(std::int64_t, roundedBPM)  ///< halves away from zero: 127.5 gives 128
    QSML_RECORD_END()
};

}  // namespace qsml
