#include "findTrack.h"

#include <QSMediaLibraryData/database/collectionNames.h>
#include <QSMediaLibraryData/foundation/text.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <QSMediaLibraryData/tracks/PLXMediaItem.h>
#include <fmt/format.h>

#include "CommandFailure.h"

namespace qsml::app {

namespace {

struct Candidates {
    std::uint64_t count = 0;
    std::vector<String> uuids;  // the first ones
    std::vector<String> titles;

    void add(const PLXMediaItem& track) {
        constexpr std::size_t mostNamed = 5;
        if (++count > mostNamed) return;
        uuids.push_back(track.uuid());
        titles.push_back(track.title());
    }
};

[[noreturn]] void failAmbiguous(const std::string& which, const Candidates& candidates) {
    std::string list;
    for (std::size_t i = 0; i < candidates.uuids.size(); ++i)
        list += fmt::format("{}{} ({})", list.empty() ? "" : ", ", candidates.uuids[i].view(),
                            candidates.titles[i].view());
    if (candidates.count > candidates.uuids.size()) list += ", ...";
    throw CommandFailure(fmt::format("\"{}\" means {} tracks; name one by its ID: {}", which,
                                     candidates.count, list));
}

bool hasTitle(const PLXMediaItem& track, const std::string& text) {
    return track.title() && localizedCaseInsensitiveCompare(track.title(), text) == 0;
}

String uuidOf(const std::string& which, const YapDatabaseReadTransaction& transaction) {
    if (transaction.hasObjectForKey(which, PLXDatabaseCollectionMediaItems)) return which;
    const String part = lowercased(which);
    Candidates named, containing;
    enumerateTracks(transaction, [&](const PLXMediaItem& track) {
        if (track.uuid().view().starts_with(which) || hasTitle(track, which))
            named.add(track);
        else if (lowercased(track.title()).view().find(part.view()) != std::string_view::npos)
            containing.add(track);
    });
    const Candidates& best = named.count > 0 ? named : containing;
    if (best.count == 0)
        throw CommandFailure("no track has the ID or the title \"" + which +
                             "\"; \"qsml tracks\" lists them all");
    if (best.count > 1) failAmbiguous(which, best);
    return best.uuids.front();
}

}  // namespace

void enumerateTracks(const YapDatabaseReadTransaction& transaction,
                     const std::function<void(const PLXMediaItem&)>& block) {
    transaction.enumerateKeysAndObjectsInCollection(
        PLXDatabaseCollectionMediaItems, [&](std::string_view, const Value& object, bool&) {
            if (const auto* track = dynamic_cast<const PLXMediaItem*>(object.object().get()))
                block(*track);
        });
}

std::shared_ptr<const PLXMediaItem> findTrack(const std::string& which,
                                              const YapDatabaseReadTransaction& transaction) {
    const String uuid = uuidOf(which, transaction);
    auto track = transaction.object<PLXMediaItem>(uuid, PLXDatabaseCollectionMediaItems);
    if (!track)
        throw CommandFailure("the track " + uuid.str() +
                             " is damaged and cannot be read; \"qsml check\" tells more");
    return track;
}

}  // namespace qsml::app
