#include <unordered_set>

#include "database/PLXDatabaseManager.h"
#include "organisation/PLXMediaItemPlaylist.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"
#include "store/indexes/YapDatabaseSecondaryIndexTransaction.h"
#include "tracks/detail/backgroundTransactions.h"

namespace qsml {
namespace {

/// The first free name; nil when it cannot be said which are taken. `isTaken` says nothing then.
String firstFreeName(std::string_view prefix,
                     const std::function<std::optional<bool>(const String& name)>& isTaken) {
    for (std::int64_t number = 1;; ++number) {
        String name = std::string(prefix) + " " + std::to_string(number);
        const auto taken = isTaken(name);
        if (!taken) return {};
        if (!*taken) return name;
    }
}

std::unordered_set<String> storedNames(const YapDatabaseReadTransaction& transaction) {
    std::unordered_set<String> names;
    transaction.enumerateKeysAndObjectsInCollection(
        PLXDatabaseCollectionMediaItemPlaylists, [&](std::string_view, const Value& object, bool&) {
            if (const auto playlist = objectOfClass<PLXMediaItemPlaylist>(object))
                names.insert(playlist->name());
        });
    return names;
}

}  // namespace

String PLXMediaItemPlaylist::nextAvailablePlaylistNameWithPrefix(
    std::string_view prefix, YapDatabaseReadTransaction& transaction) {
    auto* index = transaction.ext<YapDatabaseSecondaryIndexTransaction>(
        PLXDatabaseExtensionMediaItemPlaylistIndex);
    if (index)
        return firstFreeName(prefix, [&](const String& name) -> std::optional<bool> {
            std::uint64_t count = 0;
            const YapDatabaseQuery query("WHERE name == ?", {Value(name)});
            if (!index->getNumberOfRows(&count, query)) return std::nullopt;
            return count > 0;
        });
    const auto names = storedNames(transaction);
    if (transaction.error()) return {};
    return firstFreeName(prefix, [&](const String& name) { return names.contains(name); });
}

String PLXMediaItemPlaylist::nextAvailablePlaylistNameWithPrefix(std::string_view prefix,
                                                                 PLXDatabaseManager& manager) {
    String name;
    detail::read(manager, [&](YapDatabaseReadTransaction& transaction) {
        name = nextAvailablePlaylistNameWithPrefix(prefix, transaction);
    });
    return name;
}

String PLXMediaItemPlaylist::nextAvailablePlaylistNameWithPrefix(std::string_view prefix) {
    return nextAvailablePlaylistNameWithPrefix(prefix, PLXDatabaseManager::sharedManager());
}

}  // namespace qsml
