#pragma once
#include "contentpacks/PLXSequencerPad.h"

namespace qsml {

/// Pads by position, as a deck or a track has them; may be nil. Positions carry meaning: what is no
/// pad becomes an empty pad, and the others stay where they are. A value; copied deeply.
class QSML_EXPORT PLXSequencerPads : public CopiedArray<PLXSequencerPad> {
public:
    PLXSequencerPads() = default;
    PLXSequencerPads(std::nullopt_t) {}
    PLXSequencerPads(Elements pads);
    template <class Pad>
    requires std::convertible_to<std::shared_ptr<Pad>, std::shared_ptr<const PLXSequencerPad>>
    PLXSequencerPads(const std::vector<std::shared_ptr<Pad>>& pads)
        : PLXSequencerPads(Elements(pads.begin(), pads.end())) {}

    static PLXSequencerPads emptyPads(std::size_t count);
    /// One pad for each element of an array of pads just read; nil for a value that is no array.
    static PLXSequencerPads ofPads(const Value& array);
    /// One pad for each element of an array of texts, as archives held them before there were pads.
    static PLXSequencerPads ofMediaItemUUIDs(const Value& array);

    /// Never for nil, which is what empty pads hold.
    bool refersTo(const String& mediaItemUUID) const;
    /// The pads that play that file emptied, their other fields kept.
    PLXSequencerPads withoutMediaItemUUID(const String& mediaItemUUID) const;

    /// Nil to nil, or equal pads in equal positions.
    QSML_EXPORT friend bool operator==(const PLXSequencerPads& a, const PLXSequencerPads& b);

private:
    PLXSequencerPads(CopiedArray<PLXSequencerPad> pads) : CopiedArray(std::move(pads)) {}
};

/// The decks of a sampler, by position too. A nil deck counts as an empty one.
using PLXSequencerPadDecks = std::optional<std::vector<PLXSequencerPads>>;

/// The decks of an array just read, each made by the operation; what is no array becomes an empty
/// deck. Nil for a value that is no array.
QSML_EXPORT PLXSequencerPadDecks decksOfArray(const Value& array,
                                              PLXSequencerPads (*deckOf)(const Value&));

template <>
struct PassedType<PLXSequencerPads> : PassedType<CopiedArray<PLXSequencerPad>> {};

/// Written as an array of pads, and read from nothing else.
template <>
struct QSML_EXPORT Boxing<PLXSequencerPads> {
    static constexpr std::string_view encoding = "@";
    static Value box(const PLXSequencerPads& pads, ArchiveForm form);
    static bool unbox(const Value& value, PLXSequencerPads& into);
    static void encode(KeyedArchiver& coder, std::string_view key, const PLXSequencerPads& pads,
                       ArchiveForm form);
    static void decode(KeyedUnarchiver& coder, std::string_view key, PLXSequencerPads& into,
                       ArchiveForm form);
};

/// Written as an array of arrays of pads, and read from nothing else.
template <>
struct QSML_EXPORT Boxing<PLXSequencerPadDecks> {
    static constexpr std::string_view encoding = "@";
    static Value box(const PLXSequencerPadDecks& decks, ArchiveForm form);
    static bool unbox(const Value& value, PLXSequencerPadDecks& into);
    static void encode(KeyedArchiver& coder, std::string_view key,
                       const PLXSequencerPadDecks& decks, ArchiveForm form);
    static void decode(KeyedUnarchiver& coder, std::string_view key, PLXSequencerPadDecks& into,
                       ArchiveForm form);
};

}  // namespace qsml
