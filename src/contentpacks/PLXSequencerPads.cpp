#include "contentpacks/PLXSequencerPads.h"

#include <algorithm>

namespace qsml {
namespace {

using Pad = std::shared_ptr<const PLXSequencerPad>;
using Pads = PLXSequencerPads::Elements;

Pad padOfObject(const Value& value) { return objectOfClass<PLXSequencerPad>(value); }

Pad padOfMediaItemUUID(const Value& value) {
    return PLXSequencerPad::initWithMediaItemUUID(value.string());
}

/// Null where an element gives no pad.
Pads padsOf(const Value& array, Pad (*padOf)(const Value&)) {
    Pads pads;
    pads.reserve(array.elements().size());
    for (const Value& element : array.elements()) pads.push_back(padOf(element));
    return pads;
}

Pads withoutGaps(Pads pads) {
    for (Pad& pad : pads)
        if (!pad) pad = PLXSequencerPad::init();
    return pads;
}

bool isArray(const Value& value) { return value.kind() == Value::Kind::array; }

}  // namespace

PLXSequencerPads::PLXSequencerPads(Elements pads) : CopiedArray(withoutGaps(std::move(pads))) {}

PLXSequencerPads PLXSequencerPads::emptyPads(std::size_t count) {
    return adopting(withoutGaps(Elements(count)));
}

PLXSequencerPads PLXSequencerPads::ofPads(const Value& array) {
    if (!isArray(array)) return std::nullopt;
    return adopting(withoutGaps(padsOf(array, padOfObject)));
}

PLXSequencerPads PLXSequencerPads::ofMediaItemUUIDs(const Value& array) {
    if (!isArray(array)) return std::nullopt;
    return adopting(padsOf(array, padOfMediaItemUUID));
}

bool PLXSequencerPads::refersTo(const String& mediaItemUUID) const {
    if (!*this || !mediaItemUUID) return false;
    return std::any_of((*this)->begin(), (*this)->end(),
                       [&](const Pad& pad) { return pad->mediaItemUUID() == mediaItemUUID; });
}

PLXSequencerPads PLXSequencerPads::withoutMediaItemUUID(const String& mediaItemUUID) const {
    if (!refersTo(mediaItemUUID)) return *this;
    Elements pads = **this;
    for (Pad& pad : pads) {
        if (pad->mediaItemUUID() != mediaItemUUID) continue;
        const auto emptied = pad->copy();
        emptied->setMediaItemUUID(nullptr);
        pad = emptied;
    }
    return pads;
}

bool operator==(const PLXSequencerPads& a, const PLXSequencerPads& b) {
    constexpr auto form = ArchiveForm::natural;
    return Boxing<PLXSequencerPads>::box(a, form) == Boxing<PLXSequencerPads>::box(b, form);
}

PLXSequencerPadDecks decksOfArray(const Value& array, PLXSequencerPads (*deckOf)(const Value&)) {
    if (!isArray(array)) return std::nullopt;
    PLXSequencerPadDecks decks(std::in_place);
    decks->reserve(array.elements().size());
    for (const Value& element : array.elements())
        decks->push_back(isArray(element) ? deckOf(element) : PLXSequencerPads::emptyPads(0));
    return decks;
}

Value Boxing<PLXSequencerPads>::box(const PLXSequencerPads& pads, ArchiveForm form) {
    return Boxing<CopiedArray<PLXSequencerPad>>::box(pads, form);
}

bool Boxing<PLXSequencerPads>::unbox(const Value& value, PLXSequencerPads& into) {
    into = std::nullopt;
    if (!isArray(value)) return value.isNil();
    Pads pads = padsOf(value, padOfObject);
    if (std::find(pads.begin(), pads.end(), nullptr) != pads.end()) return false;
    into = PLXSequencerPads(std::move(pads));
    return true;
}

void Boxing<PLXSequencerPads>::encode(KeyedArchiver& coder, std::string_view key,
                                      const PLXSequencerPads& pads, ArchiveForm form) {
    coder.encodeValue(key, box(pads, form));
}

void Boxing<PLXSequencerPads>::decode(KeyedUnarchiver& coder, std::string_view key,
                                      PLXSequencerPads& into, ArchiveForm) {
    into = PLXSequencerPads::ofPads(coder.decodeValue(key));
}

Value Boxing<PLXSequencerPadDecks>::box(const PLXSequencerPadDecks& decks, ArchiveForm form) {
    if (!decks) return {};
    Value::Array array;
    array.reserve(decks->size());
    for (const PLXSequencerPads& deck : *decks)
        array.push_back(deck ? Boxing<PLXSequencerPads>::box(deck, form) : Value(Value::Array()));
    return Value(std::move(array));
}

bool Boxing<PLXSequencerPadDecks>::unbox(const Value& value, PLXSequencerPadDecks& into) {
    into.reset();
    if (!isArray(value)) return value.isNil();
    std::vector<PLXSequencerPads> decks(value.elements().size());
    for (std::size_t i = 0; i < decks.size(); ++i) {
        const Value& deck = value.elements()[i];
        if (!isArray(deck) || !Boxing<PLXSequencerPads>::unbox(deck, decks[i])) return false;
    }
    into = std::move(decks);
    return true;
}

void Boxing<PLXSequencerPadDecks>::encode(KeyedArchiver& coder, std::string_view key,
                                          const PLXSequencerPadDecks& decks, ArchiveForm form) {
    coder.encodeValue(key, box(decks, form));
}

void Boxing<PLXSequencerPadDecks>::decode(KeyedUnarchiver& coder, std::string_view key,
                                          PLXSequencerPadDecks& into, ArchiveForm) {
    into = decksOfArray(coder.decodeValue(key), PLXSequencerPads::ofPads);
}

}  // namespace qsml
