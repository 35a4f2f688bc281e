#include "contentpacks/PLXSamplerPack.h"

#include <algorithm>

#include "contentpacks/detail/takePresentValue.h"

namespace qsml {

QSML_DEFINE_RECORD(PLXSamplerPack)

void PLXSamplerPack::becomeUserContentPack() {
    constexpr std::size_t deckCount = 2, padsPerDeck = 8;
    PLXSequencerPack::becomeUserContentPack();
    setPads(std::vector(deckCount, PLXSequencerPads::emptyPads(padsPerDeck)));
}

// A pack of another kind has no value under the key.
void PLXSamplerPack::takeCatalogueFields(const PLXContentPack& other) {
    PLXSequencerPack::takeCatalogueFields(other);
    detail::takePresentValue(*this, other, "pads");
}

void PLXSamplerPack::removeDependancyOnMediaItemUUID(const String& mediaItemUUID) {
    PLXSequencerPack::removeDependancyOnMediaItemUUID(mediaItemUUID);
    const auto refers = [&](const PLXSequencerPads& deck) { return deck.refersTo(mediaItemUUID); };
    if (!pads() || std::none_of(pads()->begin(), pads()->end(), refers)) return;
    std::vector<PLXSequencerPads> decks;
    for (const PLXSequencerPads& deck : *pads())
        decks.push_back(deck.withoutMediaItemUUID(mediaItemUUID));
    setPads(std::move(decks));
}

bool PLXSamplerPack::initWithCoder(KeyedUnarchiver& coder) {
    if (!PLXSequencerPack::initWithCoder(coder)) return false;
    if (!pads_)
        pads_ = decksOfArray(coder.decodeValue("decks"), PLXSequencerPads::ofMediaItemUUIDs);
    return true;
}

}  // namespace qsml
