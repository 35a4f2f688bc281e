#pragma once
#include "contentpacks/PLXLooperTrack.h"
#include "contentpacks/PLXSequencerPack.h"

namespace qsml {

/// A pack of loops on tracks that play together. On purpose the tracks stay as they are when the
/// pack no longer depends on a file. Pinned by
/// GivenALooperPack.WhenItNoLongerDependsOnAFileThenItsTracksStay.
class QSML_EXPORT PLXLooperPack final : public PLXSequencerPack {
    QSML_RECORD(PLXLooperPack, PLXSequencerPack)

    static std::shared_ptr<PLXLooperPack> userContentPack() { return madeByUser<PLXLooperPack>(); }

    QSML_PROPERTY(CopiedArray<PLXLooperTrack>, tracks, setTracks)
    QSML_RECORD_END()

    /// The other's tracks count as a catalogue field, present unless nil.
    std::shared_ptr<PLXLooperPack> mergedCopyWithContentPack(const PLXContentPack& other) const {
        return merged(*this, other);
    }

protected:
    void takeCatalogueFields(const PLXContentPack& other) override;
};

}  // namespace qsml
