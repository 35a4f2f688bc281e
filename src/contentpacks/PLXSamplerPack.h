#pragma once
#include "contentpacks/PLXSequencerPack.h"
#include "contentpacks/PLXSequencerPads.h"

namespace qsml {

/// A pack of one-shot samples on the pads of decks.
class QSML_EXPORT PLXSamplerPack final : public PLXSequencerPack {
    QSML_RECORD(PLXSamplerPack, PLXSequencerPack)

    /// With two decks of eight empty pads.
    static std::shared_ptr<PLXSamplerPack> userContentPack() {
        return madeByUser<PLXSamplerPack>();
    }

    /// By deck, then by pad.
    QSML_PROPERTY(PLXSequencerPadDecks, pads, setPads)
    QSML_RECORD_END()

    /// The other's pads count as a catalogue field, present unless nil.
    std::shared_ptr<PLXSamplerPack> mergedCopyWithContentPack(const PLXContentPack& other) const {
        return merged(*this, other);
    }

    /// Empties the pads that play the file too; they keep their other fields.
    void removeDependancyOnMediaItemUUID(const String& mediaItemUUID) override;

    /// Older archives hold no pads but, deck by deck, the UUIDs of what they play, as "decks".
    bool initWithCoder(KeyedUnarchiver& coder) override;

protected:
    void becomeUserContentPack() override;
    void takeCatalogueFields(const PLXContentPack& other) override;
};

}  // namespace qsml
