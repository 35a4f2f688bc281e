#include <QSMediaLibraryData/database/collectionNames.h>
#include <QSMediaLibraryData/database/extensionNames.h>
#include <QSMediaLibraryData/organisation/PLXMediaItemPlaylist.h>
#include <QSMediaLibraryData/store/relationships/YapDatabaseRelationshipTransaction.h>
#include <QSMediaLibraryData/store/views/YapDatabaseViewTransaction.h>
#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "PlaylistTree.h"
#include "Table.h"
#include "libraryTransactions.h"
#include "output.h"
#include "playlistCommands.h"
#include "playlistRecords.h"
#include "printable.h"

namespace qsml::app {

namespace {

using Playlist = PlaylistTree::Playlist;
using Writer = YapDatabaseReadWriteTransaction;

constexpr std::string_view playlists = PLXDatabaseCollectionMediaItemPlaylists;
constexpr std::string_view items = PLXDatabaseCollectionMediaItemPlaylistItems;

/// One playlist of the list, as it is shown.
struct Line {
    const PLXMediaItemPlaylist& playlist;
    std::size_t depth = 0;
    std::uint64_t tracks = 0, children = 0;
    std::vector<std::string> faults;
};

void putJSONLine(const Line& line) {
    Dictionary values{{"uuid", line.playlist.uuid()},
                      {"name", line.playlist.name()},
                      {"parentUUID", line.playlist.parentUUID()},
                      {"type", line.playlist.type()},
                      {"depth", static_cast<std::int64_t>(line.depth)},
                      {"tracks", line.tracks},
                      {"playlists", line.children}};
    Value::Array faults;
    for (const std::string& fault : line.faults) faults.emplace_back(fault);
    if (!faults.empty()) values.set("faults", std::move(faults));
    putJSON(values);
}

/// What is indented deeper than anybody sees says how deep it is instead.
std::string indentedName(const Line& line) {
    constexpr std::size_t deepest = 12;
    const std::string name =
        line.playlist.name() ? line.playlist.name().str() : std::string("(without a name)");
    const std::string indent(2 * std::min(line.depth, deepest), ' ');
    return line.depth > deepest ? fmt::format("{}[level {}] {}", indent, line.depth + 1, name)
                                : indent + name;
}

Table::Row textLine(const Line& line) {
    constexpr std::size_t shownOfUUID = 8;
    std::string faults;
    for (const std::string& fault : line.faults) faults += (faults.empty() ? "" : "; ") + fault;
    return {indentedName(line), grouped(line.tracks), grouped(line.children),
            line.playlist.uuid().str().substr(0, shownOfUUID), faults};
}

void putDamaged(const String& key, std::optional<Table>& table) {
    const char* const fault = "its record cannot be read; \"qsml check\" tells more";
    if (table)
        table->add({"(damaged)", "", "", key.str(), fault});
    else
        putJSON({{"key", key}, {"fault", fault}});
}

/// The tree in one transaction, and what is changed of it: one copy of each playlist, however often
/// it is changed.
class TreeEdit {
public:
    explicit TreeEdit(Writer& transaction) : transaction_(transaction), tree_(transaction) {}

    Writer& transaction() { return transaction_; }
    const PlaylistTree& tree() const { return tree_; }

    PLXMediaItemPlaylist& edit(const Playlist& playlist) {
        auto& copy = changed_[playlist->uuid()];
        if (!copy) copy = playlist->copy();
        return *copy;
    }
    /// Gives the playlist a place among the parent's children; 0 is at the end. Throws when there
    /// is no such place.
    void list(const Playlist& parent, const String& uuid, std::size_t at) {
        std::vector<String> shown;
        for (const Playlist& child : tree_.childrenOf(parent->uuid()))
            if (child->uuid() != uuid) shown.push_back(child->uuid());
        if (at > shown.size() + 1)
            throw CommandFailure(
                fmt::format("there is no position {} there; {} is the last", at, shown.size() + 1));
        // UUIDs that name nothing stay where they are: they may be on their way from another
        // device.
        const OrderedSet<String> stored =
            parent->childUUIDs() ? *parent->childUUIDs() : OrderedSet<String>();
        std::vector<String> order = stored.list();
        for (const String& child : shown)
            if (!stored.contains(child)) order.push_back(child);
        std::erase(order, uuid);
        const bool isAtEnd = at == 0 || at > shown.size();
        order.insert(isAtEnd ? order.end() : std::find(order.begin(), order.end(), shown[at - 1]),
                     uuid);
        edit(parent).setChildUUIDs(OrderedSet<String>(std::move(order)));
    }
    /// Takes the UUID out of all lists.
    void strike(const String& uuid) {
        for (const Playlist& owner : tree_.ownersOf(uuid)) {
            std::vector<String> order = owner->childUUIDs()->list();
            std::erase(order, uuid);
            edit(owner).setChildUUIDs(OrderedSet<String>(std::move(order)));
        }
    }
    void store() {
        for (const auto& [uuid, playlist] : changed_)
            storeRecord(playlist, playlists, transaction_);
    }

private:
    Writer& transaction_;
    const PlaylistTree tree_;
    std::map<String, std::shared_ptr<PLXMediaItemPlaylist>> changed_;
};

/// Runs the block in one transaction and stores what it changed.
void changeTree(const std::shared_ptr<YapDatabaseConnection>& connection,
                const std::function<void(TreeEdit&)>& block) {
    changeLibrary(connection, [&](Writer& transaction) {
        TreeEdit edit(transaction);
        block(edit);
        edit.store();
    });
}

std::shared_ptr<YapDatabaseConnection> open(const CommonOptions& common) {
    return openLibrary(libraryPath(common.library), Opening::existing);
}

/// The same, with a root in the library.
std::shared_ptr<YapDatabaseConnection> openWithRoot(const CommonOptions& common) {
    auto connection = open(common);
    if (!PLXMediaItemPlaylist::rootPlaylist())
        throw CommandFailure(
            "the top of the playlists can neither be read nor made; \"qsml "
            "check\" tells more");
    return connection;
}

void tell(const CommonOptions& common, std::string_view what,
          const PLXMediaItemPlaylist& playlist) {
    if (common.asJSON)
        putJSON({{"uuid", playlist.uuid()},
                 {"name", playlist.name()},
                 {"parentUUID", playlist.parentUUID()}});
    else
        putLine(fmt::format("{} {} ({})", what, printable(playlist.name().view()),
                            printable(playlist.uuid().view())));
}

}  // namespace

int runPlaylistTree(const CommonOptions& common) {
    readLibrary(common, [&](YapDatabaseReadTransaction& transaction) {
        const PlaylistTree tree(transaction);
        auto* entries =
            transaction.ext<YapDatabaseViewTransaction>(PLXDatabaseExtensionMediaItemPlaylistView);
        if (!common.asJSON && tree.all().empty() && tree.damagedKeys().empty()) {
            putLine("there are no playlists; \"qsml playlist create NAME\" makes one");
            return;
        }
        std::optional<Table> table;
        if (!common.asJSON)
            table.emplace(std::vector<Table::Column>{{"Playlist", 50},
                                                     {"Tracks", 9, true},
                                                     {"Playlists", 9, true},
                                                     {"ID", 36},
                                                     {"Faults", 120}});
        tree.walk([&](const Playlist& playlist, std::size_t depth) {
            const Line line{*playlist, depth,
                            entries ? entries->numberOfItemsInGroup(playlist->uuid()) : 0,
                            tree.childrenOf(playlist->uuid()).size(), tree.faultsOf(*playlist)};
            if (table)
                table->add(textLine(line));
            else
                putJSONLine(line);
        });
        for (const String& key : tree.damagedKeys()) putDamaged(key, table);
    });
    return 0;
}

int runPlaylistCreate(const CommonOptions& common, const PlaylistOptions& options) {
    const auto playlist = PLXMediaItemPlaylist::init();
    changeTree(openWithRoot(common), [&](TreeEdit& edit) {
        const Playlist parent = findParent(options.parent, edit.tree());
        playlist->setName(options.name.empty()
                              ? PLXMediaItemPlaylist::nextAvailablePlaylistNameWithPrefix(
                                    "Playlist", edit.transaction())
                              : String(options.name));
        if (!playlist->name())
            throw CommandFailure("cannot tell which names are free; \"qsml check\" tells more");
        playlist->setParentUUID(parent->uuid());
        storeRecord(playlist, playlists, edit.transaction());
        edit.list(parent, playlist->uuid(), 0);
    });
    tell(common, "created", *playlist);
    return 0;
}

int runPlaylistRename(const CommonOptions& common, const PlaylistOptions& options) {
    Playlist renamed;
    changeTree(open(common), [&](TreeEdit& edit) {
        auto& playlist = edit.edit(findPlaylist(options.playlist, edit.tree()));
        playlist.setName(options.name);
        renamed = playlist.copy();
    });
    tell(common, "renamed to", *renamed);
    return 0;
}

int runPlaylistMove(const CommonOptions& common, const PlaylistOptions& options) {
    Playlist moved;
    changeTree(openWithRoot(common), [&](TreeEdit& edit) {
        const PlaylistTree& tree = edit.tree();
        const Playlist playlist = findPlaylist(options.playlist, tree);
        const Playlist parent = findParent(options.parent, tree);
        if (parent->uuid() == playlist->uuid())
            throw CommandFailure("a playlist cannot be put into itself");
        if (parent->isDecendantOf(playlist->uuid(), edit.transaction()))
            throw CommandFailure(
                fmt::format("\"{}\" is below \"{}\", which can therefore not be put into it",
                            tree.pathOf(*parent), tree.pathOf(*playlist)));
        edit.strike(playlist->uuid());
        edit.list(parent, playlist->uuid(), options.at);
        edit.edit(playlist).setParentUUID(parent->uuid());
        moved = edit.edit(playlist).copy();
    });
    tell(common, "moved", *moved);
    return 0;
}

int runPlaylistDelete(const CommonOptions& common, const PlaylistOptions& options) {
    std::uint64_t deletedPlaylists = 0, deletedItems = 0;
    changeTree(open(common), [&](TreeEdit& edit) {
        const Playlist playlist = findPlaylist(options.playlist, edit.tree());
        Writer& transaction = edit.transaction();
        auto* edges =
            transaction.ext<YapDatabaseRelationshipTransaction>(PLXDatabaseExtensionRelationship);
        if (!edges)
            throw CommandFailure(
                "the library has no links between its records; \"qsml repair\" "
                "makes them anew");
        const auto playlistsBefore = transaction.numberOfKeysInCollection(playlists),
                   itemsBefore = transaction.numberOfKeysInCollection(items);
        Error error;
        // The edges take what is below it along; carried out here, so that it can be counted.
        if (!transaction.removeObjectForKey(playlist->uuid(), playlists) || !edges->flush(&error))
            throw CommandFailure("cannot delete the playlist; it is as it was", error);
        deletedPlaylists = playlistsBefore - transaction.numberOfKeysInCollection(playlists);
        deletedItems = itemsBefore - transaction.numberOfKeysInCollection(items);
    });
    if (common.asJSON)
        putJSON({{"playlists", deletedPlaylists}, {"entries", deletedItems}});
    else
        putLine(fmt::format("deleted {} playlists with {} entries; the tracks stay",
                            grouped(deletedPlaylists), grouped(deletedItems)));
    return 0;
}

}  // namespace qsml::app
