#include <QSMediaLibraryData/database/collectionNames.h>
#include <QSMediaLibraryData/foundation/text.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <QSMediaLibraryData/tracks/PLXMediaItem.h>
#include <fmt/format.h>

#include <algorithm>

#include "CommandFailure.h"
#include "output.h"
#include "printable.h"
#include "readTracks.h"
#include "recordValues.h"

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

/// The key of the track that is meant: an ID or its start, or a title, or else a part of a title.
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

std::string textOf(const Value& value) {
    if (value.kind() == Value::Kind::string) return printable(value.string());
    if (value.kind() == Value::Kind::date) return iso8601(*value.date()).str();
    if (!value.isCollection()) return jsonText(value);
    std::string all;
    for (const Value& element : value.elements())
        all += (all.empty() ? "" : ", ") + textOf(element);
    return all;
}

void putText(const Dictionary& values, const std::string& indent = "") {
    constexpr std::size_t width = 26;
    for (const auto& [key, value] : values) {
        if (value.kind() == Value::Kind::dictionary) {
            putLine(indent + key.string().str());
            putText(value.dictionary(), indent + "  ");
        } else if (!value.isNil()) {
            putLine(fitted(indent + key.string().str(), width) + textOf(value));
        }
    }
}

}  // namespace

int runShow(const CommonOptions& common, const std::string& which) {
    readLibrary(common, [&](YapDatabaseReadTransaction& transaction) {
        const String uuid = uuidOf(which, transaction);
        const auto track = transaction.object<PLXMediaItem>(uuid, PLXDatabaseCollectionMediaItems);
        if (!track)
            throw CommandFailure("the track " + uuid.str() +
                                 " is damaged and cannot be read; \"qsml check\" tells more");
        const Dictionary values = valuesOf(*track, transaction);
        if (common.asJSON)
            putJSON(values);
        else
            putText(values);
    });
    return 0;
}

}  // namespace qsml::app
