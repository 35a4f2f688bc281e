#include <QSMediaLibraryData/core/PLXMediaEntity.h>
#include <QSMediaLibraryData/database/PLXDatabaseManager.h>
#include <QSMediaLibraryData/foundation/text.h>
#include <QSMediaLibraryData/store/YapDatabaseTransaction.h>
#include <QSMediaLibraryData/store/relationships/YapDatabaseRelationshipTransaction.h>
#include <QSMediaLibraryData/store/views/YapDatabaseViewTransaction.h>
#include <QSMediaLibraryData/tracks/PLXMediaItem.h>
#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <set>

#include "CommandFailure.h"
#include "Table.h"
#include "TrackList.h"
#include "browsingCommands.h"
#include "libraryTransactions.h"
#include "musicalKeys.h"
#include "output.h"

namespace qsml::app {

namespace {

/// One line of the list of names: what tracks are found under.
struct Entry {
    String uuid = {};   // of an entity
    String name = {};   // nil where the record has none
    String group = {};  // of a view of tracks
    std::uint64_t trackCount = 0;
};

/// Where the view of everything lists a kind of entity.
struct EntityKind {
    std::string_view plural, group, collection;
};
constexpr EntityKind entityKinds[] = {{"artists", "artist", PLXDatabaseCollectionMediaArtists},
                                      {"albums", "album", PLXDatabaseCollectionMediaAlbums},
                                      {"genres", "genre", PLXDatabaseCollectionMediaGenres},
                                      {"labels", "label", PLXDatabaseCollectionMediaLabels}};

/// Null for sources and keys, which are no records.
const EntityKind* entityKind(BrowsedKind kind) {
    const auto place = static_cast<std::size_t>(kind);
    return place < std::size(entityKinds) ? &entityKinds[place] : nullptr;
}

using TrackBlock = std::function<void(const PLXMediaItem&)>;

/// One snapshot, browsed.
class Browser {
public:
    Browser(const BrowseOptions& options, YapDatabaseReadTransaction& transaction)
        : options_(options), transaction_(transaction) {}

    std::vector<Entry> entries() {
        const EntityKind* const kind = entityKind(options_.kind);
        return kind ? entitiesOf(*kind) : groupsOf();
    }
    /// The entity's key or the view's group that the name means. Throws CommandFailure.
    String named() {
        const EntityKind* const kind = entityKind(options_.kind);
        return kind ? entityNamed(*kind) : groupNamed();
    }
    /// The page of the tracks under it.
    void enumerateTracks(const String& named, const TrackBlock& block) {
        const EntityKind* const kind = entityKind(options_.kind);
        if (kind)
            enumerateByTitle(tracksOfEntity(named, *kind), block);
        else
            enumerateGroup(named, block);
    }

private:
    using Keys = std::set<String>;

    YapDatabaseViewTransaction& view(std::string_view name) {
        auto* const found = transaction_.ext<YapDatabaseViewTransaction>(name);
        if (!found)
            throw CommandFailure("the library lacks the view \"" + std::string(name) +
                                 "\"; \"qsml check\" tells more");
        return *found;
    }
    bool isOfKeys() const { return options_.kind == BrowsedKind::keys; }
    YapDatabaseViewTransaction& groupedView() {
        return view(isOfKeys() ? PLXDatabaseExtensionMediaItemKeySignatureIndexView
                               : PLXDatabaseExtensionMediaItemOriginalSourceView);
    }

    std::vector<Entry> entitiesOf(const EntityKind& kind);
    std::vector<Entry> groupsOf();
    Keys tracksOfEntity(const String& uuid, const EntityKind& kind);
    std::uint64_t placeOfName(const EntityKind& kind);
    String entityNamed(const EntityKind& kind);
    String groupNamed();
    void enumerateByTitle(const Keys& tracks, const TrackBlock& block);
    void enumerateGroup(const String& group, const TrackBlock& block);

    const BrowseOptions& options_;
    YapDatabaseReadTransaction& transaction_;
};

std::vector<Entry> Browser::entitiesOf(const EntityKind& kind) {
    std::vector<Entry> page;
    const auto block = [&](std::string_view, std::string_view key, const Value& object,
                           std::uint64_t, bool&) {
        const auto* entity = dynamic_cast<const PLXMediaEntity*>(object.object().get());
        if (entity) page.push_back({String(key), entity->name()});
    };
    view(PLXDatabaseExtensionMediaView)
        .enumerateKeysAndObjectsInGroup(kind.group, block,
                                        {options_.page.offset, options_.page.limit});
    for (Entry& entry : page) entry.trackCount = tracksOfEntity(entry.uuid, kind).size();
    return page;
}

/// A track may lead to an artist by several edges.
Browser::Keys Browser::tracksOfEntity(const String& uuid, const EntityKind& kind) {
    auto* const graph =
        transaction_.ext<YapDatabaseRelationshipTransaction>(PLXDatabaseExtensionRelationship);
    if (!graph) throw CommandFailure("the library has no edges; \"qsml check\" tells more");
    Keys tracks;
    graph->enumerateEdges({.destination = {{kind.collection, uuid}}},
                          [&](const YapDatabaseRelationshipFoundEdge& found, bool&) {
                              if (found.source.collection == PLXDatabaseCollectionMediaItems)
                                  tracks.insert(found.source.key);
                          });
    return tracks;
}

/// The groups of a view, of which there are few.
std::vector<Entry> Browser::groupsOf() {
    auto& grouped = groupedView();
    std::vector<String> names = grouped.allGroups();
    const auto isBefore = [this](const String& a, const String& b) {
        if (isOfKeys() && a.size() != b.size()) return a.size() < b.size();  // as numbers
        const int order = localizedCaseInsensitiveCompare(a, b);
        return order != 0 ? order < 0 : a < b;
    };
    std::sort(names.begin(), names.end(), isBefore);
    const auto count = static_cast<std::uint64_t>(names.size());
    const std::uint64_t first = std::min(options_.page.offset, count);
    const std::uint64_t last = first + std::min(options_.page.limit, count - first);
    std::vector<Entry> page;
    for (std::uint64_t i = first; i < last; ++i) {
        const String& group = names[i];
        std::int64_t index = -1;
        std::from_chars(group.view().data(), group.view().data() + group.size(), index);
        const String name = isOfKeys() ? String(musicalKeyName(index)) : group;
        page.push_back(
            {{}, name.empty() ? group : name, group, grouped.numberOfItemsInGroup(group)});
    }
    return page;
}

/// The first place whose name is not before the one that was given.
std::uint64_t Browser::placeOfName(const EntityKind& kind) {
    auto& all = view(PLXDatabaseExtensionMediaView);
    std::uint64_t first = 0, last = all.numberOfItemsInGroup(kind.group);
    while (first < last) {
        const std::uint64_t middle = first + (last - first) / 2;
        const Value object = all.objectAtIndex(middle, kind.group);
        const auto* entity = dynamic_cast<const PLXMediaEntity*>(object.object().get());
        // Those without a name come last.
        const bool isBefore = entity && entity->name() &&
                              localizedCaseInsensitiveCompare(entity->name(), options_.name) < 0;
        (isBefore ? first : last) = isBefore ? middle + 1 : middle;
    }
    return first;
}

String Browser::entityNamed(const EntityKind& kind) {
    auto& all = view(PLXDatabaseExtensionMediaView);
    std::vector<Entry> alike;
    for (std::uint64_t place = placeOfName(kind);; ++place) {
        const auto key = all.keyAtIndex(place, kind.group);
        const auto entity =
            key ? transaction_.object<PLXMediaEntity>(key->key, kind.collection) : nullptr;
        if (!entity || !entity->name() ||
            localizedCaseInsensitiveCompare(entity->name(), options_.name) != 0)
            break;
        if (entity->name() == options_.name) return key->key;
        alike.push_back({key->key, entity->name()});
    }
    if (alike.size() == 1) return alike.front().uuid;
    std::string list;
    for (const Entry& entry : alike)
        list += (list.empty() ? "\"" : ", \"") + entry.name.str() + "\"";
    if (!alike.empty())
        throw CommandFailure(fmt::format("\"{}\" is written in several ways; name one exactly: {}",
                                         options_.name, list));
    throw CommandFailure(
        fmt::format("none of the {0} is called \"{1}\"; \"qsml browse {0}\" lists "
                    "them all",
                    kind.plural, options_.name));
}

String Browser::groupNamed() {
    auto& grouped = groupedView();
    if (!isOfKeys() && grouped.hasGroup(options_.name)) return options_.name;
    if (isOfKeys()) {
        const std::string& name = options_.name;
        const bool isIndex = name.find_first_not_of("0123456789") == std::string::npos;
        const std::string group = isIndex ? name : std::to_string(musicalKeyIndex(name));
        if (grouped.hasGroup(group)) return group;
    }
    const char* const what = isOfKeys() ? "keys" : "sources";
    throw CommandFailure(
        fmt::format("no track has one of the {0} \"{1}\"; \"qsml browse {0}\" lists "
                    "those that are there",
                    what, options_.name));
}

/// The page of them in the order of titles, which is that of their places in the view.
void Browser::enumerateByTitle(const Keys& tracks, const TrackBlock& block) {
    auto& all = view(PLXDatabaseExtensionMediaView);
    std::vector<std::uint64_t> places;
    for (const String& key : tracks)
        if (const auto place = all.groupAndIndexForKey(key, PLXDatabaseCollectionMediaItems))
            places.push_back(place->index);
    std::sort(places.begin(), places.end());
    const std::size_t first = std::min<std::uint64_t>(options_.page.offset, places.size());
    const std::size_t length = std::min<std::uint64_t>(options_.page.limit, places.size() - first);
    for (std::size_t i = first; i < first + length; ++i) {
        const Value object = all.objectAtIndex(places[i], "mediaItem");
        const auto* track = dynamic_cast<const PLXMediaItem*>(object.object().get());
        if (track) block(*track);
    }
}

void Browser::enumerateGroup(const String& group, const TrackBlock& block) {
    auto& grouped = groupedView();
    if (isOfKeys()) {  // rows of analysed data, in no order, under the keys of their tracks
        Keys tracks;
        grouped.enumerateKeysInGroup(group, [&](std::string_view, std::string_view key,
                                                std::uint64_t, bool&) { tracks.emplace(key); });
        enumerateByTitle(tracks, block);
        return;
    }
    grouped.enumerateKeysAndObjectsInGroup(
        group,
        [&](std::string_view, std::string_view, const Value& object, std::uint64_t, bool&) {
            const auto* track = dynamic_cast<const PLXMediaItem*>(object.object().get());
            if (track) block(*track);
        },
        {options_.page.offset, options_.page.limit});
}

void put(const CommonOptions& common, bool isOfKeys, const std::vector<Entry>& entries) {
    std::optional<Table> table;
    if (!common.asJSON)
        table.emplace(std::vector<Table::Column>{{"Name", 60}, {"Tracks", 8, true}});
    for (const Entry& entry : entries) {
        if (table) {
            table->add({entry.name.str(), grouped(entry.trackCount)});
            continue;
        }
        Dictionary values{{"uuid", entry.uuid}, {"name", entry.name}};
        if (isOfKeys) values.set("index", static_cast<std::int64_t>(std::stoll(entry.group.str())));
        values.set("tracks", entry.trackCount);
        putJSON(values);
    }
}

}  // namespace

int runBrowse(const CommonOptions& common, const BrowseOptions& options) {
    readLibrary(common, [&](YapDatabaseReadTransaction& transaction) {
        Browser browser(options, transaction);
        if (options.name.empty()) {
            put(common, options.kind == BrowsedKind::keys, browser.entries());
            return;
        }
        const String named = browser.named();
        TrackList list(common.asJSON);
        browser.enumerateTracks(named,
                                [&](const PLXMediaItem& track) { list.add(track, transaction); });
    });
    return 0;
}

}  // namespace qsml::app
