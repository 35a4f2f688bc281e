// Questions to a list of notifications.
#include <algorithm>
#include <string>
#include <unordered_set>

#include "foundation/OrderedSet.h"
#include "store/YapDatabaseConnection.h"

namespace qsml {

namespace {

using Matches = bool (*)(const YapDatabaseRowChange&);

bool isAny(const YapDatabaseRowChange&) { return true; }
bool isObjectChange(const YapDatabaseRowChange& change) { return change.object; }
bool isMetadataChange(const YapDatabaseRowChange& change) { return change.metadata; }

/// Whether a change of the kind satisfies the question; commits of other processes may hold any.
template <class Question>
bool hasChange(const YapDatabaseNotifications& list, Matches matches, Question&& question) {
    return std::any_of(list.begin(), list.end(), [&](const auto& commit) {
        if (commit->isForeign) return true;
        return std::any_of(commit->changes.begin(), commit->changes.end(), [&](const auto& change) {
            return matches(change) && question(change.row);
        });
    });
}

bool hasInCollection(std::string_view collection, const YapDatabaseNotifications& list,
                     Matches matches) {
    return hasChange(list, matches, [&](const YapDatabaseCollectionKey& row) {
        return row.collection == collection;
    });
}

bool hasForKey(std::string_view key, std::string_view collection,
               const YapDatabaseNotifications& list, Matches matches) {
    return hasChange(list, matches, [&](const YapDatabaseCollectionKey& row) {
        return row.key == key && row.collection == collection;
    });
}

bool hasForAnyKeys(const OrderedSet<String>& keys, std::string_view collection,
                   const YapDatabaseNotifications& list, Matches matches) {
    if (keys.empty()) return false;
    return hasChange(list, matches, [&](const YapDatabaseCollectionKey& row) {
        return row.collection == collection && keys.contains(row.key);
    });
}

struct RowHash {
    std::size_t operator()(const YapDatabaseCollectionKey& row) const {
        return std::hash<String>()(row.key) * 31 + std::hash<String>()(row.collection);
    }
};

}  // namespace

bool YapDatabaseConnection::hasChangeForCollection(std::string_view collection,
                                                   const YapDatabaseNotifications& list) {
    return hasInCollection(collection, list, isAny);
}

bool YapDatabaseConnection::hasObjectChangeForCollection(std::string_view collection,
                                                         const YapDatabaseNotifications& list) {
    return hasInCollection(collection, list, isObjectChange);
}

bool YapDatabaseConnection::hasMetadataChangeForCollection(std::string_view collection,
                                                           const YapDatabaseNotifications& list) {
    return hasInCollection(collection, list, isMetadataChange);
}

bool YapDatabaseConnection::hasChangeForKey(std::string_view key, std::string_view collection,
                                            const YapDatabaseNotifications& list) {
    return hasForKey(key, collection, list, isAny);
}

bool YapDatabaseConnection::hasObjectChangeForKey(std::string_view key, std::string_view collection,
                                                  const YapDatabaseNotifications& list) {
    return hasForKey(key, collection, list, isObjectChange);
}

bool YapDatabaseConnection::hasMetadataChangeForKey(std::string_view key,
                                                    std::string_view collection,
                                                    const YapDatabaseNotifications& list) {
    return hasForKey(key, collection, list, isMetadataChange);
}

bool YapDatabaseConnection::hasChangeForAnyKeys(const OrderedSet<String>& keys,
                                                std::string_view collection,
                                                const YapDatabaseNotifications& list) {
    return hasForAnyKeys(keys, collection, list, isAny);
}

bool YapDatabaseConnection::hasObjectChangeForAnyKeys(const OrderedSet<String>& keys,
                                                      std::string_view collection,
                                                      const YapDatabaseNotifications& list) {
    return hasForAnyKeys(keys, collection, list, isObjectChange);
}

bool YapDatabaseConnection::hasMetadataChangeForAnyKeys(const OrderedSet<String>& keys,
                                                        std::string_view collection,
                                                        const YapDatabaseNotifications& list) {
    return hasForAnyKeys(keys, collection, list, isMetadataChange);
}

void YapDatabaseConnection::enumerateChangedCollectionKeys(const YapDatabaseNotifications& list,
                                                           const CollectionKeyBlock& block) {
    std::unordered_set<YapDatabaseCollectionKey, RowHash> seen;
    bool stop = false;
    for (const auto& commit : list)
        for (const YapDatabaseRowChange& change : commit->changes) {
            // One commit names each row once.
            if (list.size() > 1 && !seen.insert(change.row).second) continue;
            block(change.row.collection, change.row.key, stop);
            if (stop) return;
        }
}

void YapDatabaseConnection::enumerateChangedKeysInCollection(
    std::string_view collection, const YapDatabaseNotifications& list,
    const std::function<void(std::string_view key, bool& stop)>& block) {
    enumerateChangedCollectionKeys(
        list, [&](std::string_view itsCollection, std::string_view key, bool& stop) {
            if (itsCollection == collection) block(key, stop);
        });
}

}  // namespace qsml
