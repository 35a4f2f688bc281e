#pragma once
#include "contentpacks/PLXContentPack.h"
#include "testing/recordTable.h"

// What the tests of the packs share.

namespace qsml {

inline URL sampleURL(std::string_view text) { return URL::withString(text).value(); }

/// A pack with every property of PLXContentPack set to what no new pack has.
template <class Pack>
std::shared_ptr<Pack> filledPack() {
    auto pack = Pack::initWithUUID("pack-1");
    pack->setName("Deep House");
    pack->setSummary("Warm loops");
    pack->setArtist("The Examples");
    pack->setGenre("House");
    pack->setDuration(61.5F);
    pack->setBpm(124.0F);
    pack->setKeySignatureIndex(7);
    pack->setMediaItemUUIDs(OrderedSet<String>{"item-2", "item-1"});
    pack->setReferencedContentPackUUIDs(OrderedSet<String>{"pack-2", "pack-3"});
    pack->setOwner(2);
    pack->setSource(PLXContentPack::sourceStore);
    pack->setState(PLXContentPack::stateInstalled);
    pack->setAutomaticallyInstall(true);
    pack->setPreviewURL(sampleURL("https://example.com/preview.mp3"));
    pack->setImageURL(sampleURL("https://example.com/image.png"));
    pack->setFileSize(1'234'567'890'123);
    pack->setFeatured(true);
    pack->setAddedDate(Date{10.5});
    pack->setSortOrder(4);
    return pack;
}

/// The table of PLXContentPack, and the rows that a subclass adds to it.
inline std::vector<RecordRow> packRows(const std::vector<RecordRow>& added = {}) {
    std::vector<RecordRow> rows = {{"name", Takes::text},
                                   {"summary", Takes::text},
                                   {"artist", Takes::text},
                                   {"genre", Takes::text},
                                   {"duration", Takes::real, 0.0F},
                                   {"bpm", Takes::real, 0.0F},
                                   {"keySignatureIndex", Takes::whole, -1},
                                   {"mediaItemUUIDs", Takes::orderedSet},
                                   {"referencedContentPackUUIDs", Takes::set},
                                   {"owner", Takes::whole, 0},
                                   {"source", Takes::whole, 0},
                                   {"state", Takes::whole, 0},
                                   {"automaticallyInstall", Takes::boolean, false},
                                   {"previewURL", Takes::url},
                                   {"imageURL", Takes::url},
                                   {"fileSize", Takes::whole, 0},
                                   {"featured", Takes::boolean, false},
                                   {"addedDate", Takes::date},
                                   {"sortOrder", Takes::whole, 0},
                                   {"locationURL", Takes::anything, {}, false}};
    rows.insert(rows.end(), added.begin(), added.end());
    return rows;
}

/// Whether identity and every property but the folder are equal. Archives may differ all the same:
/// they show which texts are shared.
inline bool haveEqualFields(const PLXContentPack& a, const PLXContentPack& b) {
    if (&a.recordClass() != &b.recordClass() || a.uuid() != b.uuid()) return false;
    for (const String& name : a.monitoredProperties())
        if (name != "locationURL" && a.valueForKey(name) != b.valueForKey(name)) return false;
    return true;
}

}  // namespace qsml
