#include <QSMediaLibraryData/core/PLXMediaEntity.h>
#include <QSMediaLibraryData/database/collectionNames.h>
#include <QSMediaLibraryData/foundation/text.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <QSMediaLibraryData/tracks/PLXMediaItem.h>

#include <algorithm>
#include <unordered_map>

#include "TrackList.h"
#include "findTrack.h"
#include "libraryTransactions.h"

namespace qsml::app {

namespace {

/// All that is kept of a track while the order is found.
struct SortKey {
    String text;  // nil sorts last, and so does no number
    std::optional<double> number;
    String uuid;
};

bool isBefore(const SortKey& a, const SortKey& b) {
    if (a.text.has_value() != b.text.has_value()) return a.text.has_value();
    if (const int order = a.text ? localizedCaseInsensitiveCompare(a.text, b.text) : 0)
        return order < 0;
    if (a.number.has_value() != b.number.has_value()) return a.number.has_value();
    if (a.number && *a.number != *b.number) return *a.number < *b.number;
    return a.uuid < b.uuid;
}

/// The names of a collection of entities by their keys, each text once.
std::unordered_map<String, String> entityNames(std::string_view collection,
                                               const YapDatabaseReadTransaction& transaction) {
    std::unordered_map<String, String> names;
    transaction.enumerateKeysAndObjectsInCollection(
        collection, [&](std::string_view key, const Value& object, bool&) {
            if (const auto* entity = dynamic_cast<const PLXMediaEntity*>(object.object().get()))
                names.emplace(key, entity->name());
        });
    return names;
}

using Names = std::unordered_map<String, String>;

String nameIn(const Names& names, const String& uuid) {
    const auto found = names.find(uuid);
    return found == names.end() ? String() : found->second;
}

String artistsIn(const Names& names, const PLXMediaItem& track) {
    std::string all;
    if (track.artistUUIDs())
        for (const String& uuid : *track.artistUUIDs())
            if (const String name = nameIn(names, uuid))
                all += (all.empty() ? "" : ", ") + name.str();
    return all.empty() ? String() : String(all);
}

std::optional<double> unlessZero(float number) {
    return number == 0 ? std::nullopt : std::optional<double>(static_cast<double>(number));
}

SortKey sortKeyOf(const PLXMediaItem& track, TrackOrder order, const Names& names) {
    SortKey key{{}, {}, track.uuid()};
    switch (order) {
        case TrackOrder::title:
            key.text = track.title();
            break;
        case TrackOrder::artist:
            key.text = artistsIn(names, track);
            break;
        case TrackOrder::album:
            key.text = nameIn(names, track.albumUUID());
            break;
        case TrackOrder::added:
            if (track.addedDate()) key.number = track.addedDate()->secondsSinceReferenceDate;
            break;
        case TrackOrder::bpm:
            key.number = unlessZero(track.bpm());
            break;
        case TrackOrder::duration:
            key.number = unlessZero(track.duration());
            break;
    }
    return key;
}

/// The keys of the page that was asked for, in order.
std::vector<SortKey> sortedPage(const TracksOptions& options,
                                const YapDatabaseReadTransaction& transaction) {
    Names names;
    if (options.order == TrackOrder::artist)
        names = entityNames(PLXDatabaseCollectionMediaArtists, transaction);
    if (options.order == TrackOrder::album)
        names = entityNames(PLXDatabaseCollectionMediaAlbums, transaction);
    std::vector<SortKey> keys;
    enumerateTracks(transaction, [&](const PLXMediaItem& track) {
        keys.push_back(sortKeyOf(track, options.order, names));
    });
    const auto total = static_cast<std::uint64_t>(keys.size());
    const std::uint64_t first = std::min(options.offset, total);
    const std::uint64_t last = first + std::min(options.limit, total - first);
    const auto at = [&](std::uint64_t place) {
        return keys.begin() + static_cast<std::ptrdiff_t>(place);
    };
    std::partial_sort(keys.begin(), at(last), keys.end(), isBefore);
    keys.erase(at(last), keys.end());
    keys.erase(keys.begin(), at(first));
    return keys;
}

}  // namespace

int runTracks(const CommonOptions& common, const TracksOptions& options) {
    readLibrary(common, [&](YapDatabaseReadTransaction& transaction) {
        TrackList list(common.asJSON);
        for (const SortKey& key : sortedPage(options, transaction)) {
            const auto track =
                transaction.object<PLXMediaItem>(key.uuid, PLXDatabaseCollectionMediaItems);
            if (track) list.add(*track, transaction);
        }
    });
    return 0;
}

}  // namespace qsml::app
