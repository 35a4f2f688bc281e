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

/// The search for one track.
struct Search {
    std::string which;
    String part = lowercased(which);
    Candidates named = {}, containing = {};

    void look(const PLXMediaItem& track, const String& title) {
        if (track.uuid().view().starts_with(which) || hasTitle(track, which))
            named.add(track);
        else if (title.view().find(part.view()) != std::string_view::npos)
            containing.add(track);
    }
    String uuid() const {
        const Candidates& best = named.count > 0 ? named : containing;
        if (best.count == 0)
            throw CommandFailure("no track has the ID or the title \"" + which +
                                 "\"; \"qsml tracks\" lists them all");
        if (best.count > 1) failAmbiguous(which, best);
        return best.uuids.front();
    }
};

std::vector<String> uuidsOf(const std::vector<std::string>& which,
                            const YapDatabaseReadTransaction& transaction) {
    std::vector<Search> searches;
    for (const std::string& one : which)
        if (!transaction.hasObjectForKey(one, PLXDatabaseCollectionMediaItems))
            searches.push_back({one});
    if (!searches.empty())
        enumerateTracks(transaction, [&](const PLXMediaItem& track) {
            const String title = lowercased(track.title());
            for (Search& search : searches) search.look(track, title);
        });
    std::vector<String> uuids;
    auto search = searches.begin();
    for (const std::string& one : which) {
        const bool isSearched = search != searches.end() && search->which == one;
        uuids.push_back(isSearched ? (search++)->uuid() : String(one));
    }
    return uuids;
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
    return findTracks({which}, transaction).front();
}

std::vector<std::shared_ptr<const PLXMediaItem>> findTracks(
    const std::vector<std::string>& which, const YapDatabaseReadTransaction& transaction) {
    std::vector<std::shared_ptr<const PLXMediaItem>> tracks;
    for (const String& uuid : uuidsOf(which, transaction)) {
        tracks.push_back(transaction.object<PLXMediaItem>(uuid, PLXDatabaseCollectionMediaItems));
        if (!tracks.back())
            throw CommandFailure("the track " + uuid.str() +
                                 " is damaged and cannot be read; \"qsml check\" tells more");
    }
    return tracks;
}

void requireTracks(const std::vector<std::shared_ptr<const PLXMediaItem>>& tracks,
                   const YapDatabaseReadTransaction& transaction) {
    for (const auto& track : tracks)
        if (!transaction.hasObjectForKey(track->uuid(), PLXDatabaseCollectionMediaItems))
            throw CommandFailure("the track " + track->uuid().str() +
                                 " has just been removed; nothing is changed");
}

}  // namespace qsml::app
