#pragma once
#include "core/PLXCloudDatabaseObject.h"

namespace qsml {

/// A collection of audio files or visuals: offered for download, shipped inside the application, or
/// put together by the user. Its class is its kind; the subclasses add how the files are arranged.
///
/// Confined to one thread at a time until written; shared by any once frozen.
class QSML_EXPORT PLXContentPack : public PLXCloudDatabaseObject {
    QSML_RECORD(PLXContentPack, PLXCloudDatabaseObject)

    static constexpr std::int64_t ownerApplication = 0;  ///< the application's catalogue
    static constexpr std::int64_t ownerUser = 1;
    static constexpr std::int64_t sourceBundle = 1;  ///< the files come with the application
    static constexpr std::int64_t sourceStore = 2;   ///< the files were downloaded
    /// The one state that the library tests; the application gives the others their meaning.
    static constexpr std::int64_t stateInstalled = 3;

    /// A new pack of the class that is asked: the user's own, and installed.
    static std::shared_ptr<PLXContentPack> userContentPack() {
        return madeByUser<PLXContentPack>();
    }
    /// The same of this pack's own class.
    std::shared_ptr<PLXContentPack> userContentPackOfOwnClass() const {
        return userContentPackOfClass(recordClass());
    }

    QSML_PROPERTY(String, name, setName)
    QSML_PROPERTY(String, summary, setSummary)
    QSML_PROPERTY(String, artist, setArtist)
    QSML_PROPERTY(String, genre, setGenre)
    /// Seconds.
    QSML_PROPERTY(float, duration, setDuration)
    /// Beats per minute.
    QSML_PROPERTY(float, bpm, setBpm)
    /// Index into the table of musical keys; -1: no key. Always archived, because an archive
    /// without it reads as 0. Pinned by
    /// GivenAnArchiveWithoutItsKeys.WhenReadAsAPackThenTheKeySignatureIsTheFirst.
    QSML_PROPERTY(std::int64_t, keySignatureIndex, setKeySignatureIndex, .initial = -1)
    /// Of the pack's PLXContentPackMediaItems, in pack order.
    QSML_PROPERTY(std::optional<OrderedSet<String>>, mediaItemUUIDs, setMediaItemUUIDs,
                  .form = ArchiveForm::orderedSet)
    /// Of the other packs whose files this one uses.
    QSML_PROPERTY(std::optional<OrderedSet<String>>, referencedContentPackUUIDs,
                  setReferencedContentPackUUIDs, .form = ArchiveForm::set)
    QSML_PROPERTY(std::int64_t, owner, setOwner)
    QSML_PROPERTY(std::int64_t, source, setSource)
    QSML_PROPERTY(std::int64_t, state, setState)
    /// Without asking the user.
    QSML_PROPERTY(bool, automaticallyInstall, setAutomaticallyInstall, .form = ArchiveForm::integer)
    QSML_PROPERTY(std::optional<URL>, previewURL, setPreviewURL)
    QSML_PROPERTY(std::optional<URL>, imageURL, setImageURL)
    /// Bytes to download.
    QSML_PROPERTY(std::int64_t, fileSize, setFileSize)
    QSML_PROPERTY_AS(bool, featured, isFeatured, setFeatured)
    QSML_PROPERTY(std::optional<Date>, addedDate, setAddedDate)
    /// The place in the catalogue.
    QSML_PROPERTY(std::int64_t, sortOrder, setSortOrder)
    /// The folder of the pack's files: the user's folder for a user's pack, whatever its source;
    /// else by source the pack's folder in the store folder, or in the application where that has
    /// an "index.json". Nothing otherwise; nor, with a log line, when the UUID would lead out of
    /// that folder. It stays on this device: no cloud record can hold a URL, and nothing sets it.
    QSML_COMPUTED(std::optional<URL>, locationURL)
    QSML_RECORD_END()

    /// The same; here a pack that can still be changed keeps the first folder that it finds, also
    /// when the properties that led to it change. Copies find their own.
    std::optional<URL> locationURL();

    /// The folder of what was downloaded: "Content Packs" where the application keeps its files.
    /// Found once, so the host sets its bundle's identifier before. Thread-safe.
    static URL storeContentPackMediaItemLocationURL();
    /// The folder of the user's own files: "Samples" in the one that the main bundle's information
    /// names under "QSMediaLibraryBundlePath", where "~" is the user's home. Nothing until that is
    /// set; then found once. Thread-safe.
    static std::optional<URL> userContentPackMediaItemLocationURL();

    /// A refreshed catalogue entry without the loss of what is local: a copy of this pack with
    /// every catalogue field of the other that is present and differs. UUID, owner, source, state
    /// and the date of adding stay. Texts, URLs and collections are present unless nil; duration,
    /// tempo and size unless 0; the key signature unless -1; the flags and the place in the
    /// catalogue always. Of a pack of another kind the arrangement is not taken.
    std::shared_ptr<PLXContentPack> mergedCopyWithContentPack(const PLXContentPack& other) const {
        return merged(*this, other);
    }

    /// Leaves the file out of the pack. Sets nothing when the pack does not refer to it.
    virtual void removeDependancyOnMediaItemUUID(const String& mediaItemUUID);

    /// "<CLASS: UUID> (NAME)", for logs.
    std::string description() const;

protected:
    template <class Pack>
    static std::shared_ptr<Pack> madeByUser() {
        return std::static_pointer_cast<Pack>(userContentPackOfClass(Pack::classObject()));
    }
    template <class Pack>
    static std::shared_ptr<Pack> merged(const Pack& pack, const PLXContentPack& other) {
        auto copy = pack.copy();
        PLXContentPack& changed = *copy;
        changed.takeCatalogueFields(other);
        return copy;
    }

    // Overrides call the base first.
    virtual void becomeUserContentPack();
    virtual void takeCatalogueFields(const PLXContentPack& other);

private:
    // A copy may come to lie elsewhere, so it does not take the memo over.
    struct LocationMemo {
        LocationMemo() = default;
        LocationMemo(const LocationMemo&) {}
        LocationMemo& operator=(const LocationMemo&) = delete;
        ~LocationMemo() = default;
        std::optional<URL> url;
    };
    static std::shared_ptr<PLXContentPack> userContentPackOfClass(const RecordClass& packClass);
    std::optional<URL> derivedLocationURL() const;

    LocationMemo location_;
};

}  // namespace qsml
