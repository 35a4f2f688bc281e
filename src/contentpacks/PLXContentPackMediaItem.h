#pragma once
#include "core/PLXCloudDatabaseObject.h"

namespace qsml {

/// A file of a content pack. Its UUID is derived from the pack's and the file's name, so that the
/// same file of the same pack is the same record wherever its description comes from.
///
/// The derivation is an identity and no security: MD5 of the two texts joined without a mark
/// between them. Packs "a" and "ab" with files "bc" and "c" share a UUID, and then one of the two
/// items takes the place of the other in a collection. Records are keyed by it, so it never
/// changes.
///
/// init() gives an item without a UUID: it has no name to derive one from, and a random one would
/// be another identity on each device. Set derivedUUID() once name and pack are known.
///
/// Confined to one thread at a time until written; shared by any once frozen.
class QSML_EXPORT PLXContentPackMediaItem final : public PLXCloudDatabaseObject {
    QSML_RECORD(PLXContentPackMediaItem, PLXCloudDatabaseObject)

    /// With the derived UUID.
    static std::shared_ptr<PLXContentPackMediaItem> initWithName(String name,
                                                                 String contentPackUUID);

    QSML_PROPERTY(String, name, setName)
    /// In the pack's folder.
    QSML_PROPERTY(String, fileName, setFileName)
    QSML_PROPERTY(String, category, setCategory)
    QSML_PROPERTY(String, contentPackUUID, setContentPackUUID)
    /// Beats per minute; 0 when unknown.
    QSML_PROPERTY(float, bpm, setBpm)
    QSML_RECORD_END()

    /// The UUID that name and pack give at this moment; nil counts as the text "(null)".
    String derivedUUID() const;

    /// A copy of this item with the other's file name, category and pack, each where it is not nil
    /// and differs, and its tempo where that is greater than 0 and differs.
    std::shared_ptr<PLXContentPackMediaItem> mergedCopyWithContentPackMediaItem(
        const PLXContentPackMediaItem& other) const;

    /// An archive without a UUID gets the derived one.
    bool initWithCoder(KeyedUnarchiver& coder) override;
};

}  // namespace qsml
