#pragma once
#include "contentpacks/PLXLooperTrack.h"
#include "testing/recordTable.h"

// What the tests of pads, and of the packs that have some, share.

namespace qsml {

/// A pad with every field set to what no new pad has.
inline std::shared_ptr<PLXSequencerPad> filledPad(String mediaItemUUID) {
    auto pad = PLXSequencerPad::initWithMediaItemUUID(std::move(mediaItemUUID));
    pad->setTriggerMode(2);
    pad->setQuantization(0.25F);
    pad->setGain(0.5F);
    pad->setPan(-0.75F);
    return pad;
}

inline std::shared_ptr<PLXLooperTrack> filledTrack() {
    auto track = PLXLooperTrack::init();
    track->setCategory("Drums");
    track->setPads(PLXSequencerPads({filledPad("item-1"), filledPad("item-2")}));
    return track;
}

/// One letter or more for each pad, by position: what it plays, "-" for an empty pad.
inline std::string layoutOf(const std::optional<PLXSequencerPads::Elements>& pads) {
    if (!pads) return "nil";
    std::string layout;
    for (const auto& pad : *pads) layout.append(pad->mediaItemUUID().value_or("-"));
    return layout;
}

/// The layouts of the decks, a bar after each.
inline std::string layoutOf(const PLXSequencerPadDecks& decks) {
    if (!decks) return "nil";
    std::string layout;
    for (const auto& deck : *decks) layout.append(layoutOf(deck.get())).append("|");
    return layout;
}

/// A pad as a foreign writer would archive it.
inline Value archivedPad(std::string_view mediaItemUUID) {
    return Value(Dictionary{{"$class", "PLXSequencerPad"}, {"mediaItemUUID", mediaItemUUID}});
}

/// One pad to play "a" at the front and one to play "b" at the back; between them one of each kind
/// of value that is no pad.
inline Value::Array archivedPadsWithStrangersBetween() {
    return {archivedPad("a"),
            Value(Null()),
            Value("text"),
            Value(Dictionary{{"$boxed", 5}}),
            Value(Value::Array{archivedPad("x")}),
            foreignObject(PLXFileBookmark::classObject().name()),
            archivedPad("b")};
}
inline constexpr std::string_view layoutWithStrangersBetween = "a-----b";

/// Texts as archives held them before there were pads, with strangers between them.
inline Value::Array archivedUUIDsWithStrangersBetween() {
    return {Value("a"), Value(Null()), Value(Dictionary{{"$boxed", 5}}), archivedPad("x"),
            Value("b")};
}
inline constexpr std::string_view uuidLayoutWithStrangersBetween = "a---b";

}  // namespace qsml
