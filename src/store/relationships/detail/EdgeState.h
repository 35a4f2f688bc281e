#pragma once
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "store/YapDatabaseExtension.h"
#include "store/YapDatabaseRelationshipEdge.h"

namespace qsml::detail {

/// The SQL of one registered extension, made once: statements refer to these texts.
struct EdgeTexts {
    explicit EdgeTexts(const YapDatabaseExtensionContext& context);

    std::vector<std::string> create, drop;
    std::string createIndex, dropIndex;
    std::string names, nameByNumber, numberOfName, insertName;
    std::string hasAbsent, absentByNumber, absentByKey, insertAbsent, removeUnusedAbsent;
    std::string address;
    std::string outgoing, incoming, page, find, insert, move, remove, removeOutgoing;
    std::string hasIncoming, hasOutgoing;
    std::string insertManual, moveManual, removeManual, manuals, dropManuals, forgetManuals;
    std::string strayEdges, removeStrayEdges, absents, lostManuals;
};

/// An edge as it is stored: a row id at each end. A destination below 0 does not exist: it is minus
/// the number of an entry that has its collection and key.
struct StoredEdge {
    std::int64_t source = 0;
    std::int64_t destination = 0;
    std::int64_t kind = 0;  ///< the number of the name, doubled; plus 1 for a manual edge
    std::int64_t rules = 0;

    bool isManual() const noexcept { return kind & 1; }
    std::int64_t name() const noexcept { return kind >> 1; }
    auto identity() const noexcept { return std::tie(source, destination, kind); }
    friend bool operator==(const StoredEdge&, const StoredEdge&) = default;
};

using EdgeList = std::vector<YapDatabaseRelationshipEdge>;

/// A list as it was declared last, and how each of its edges is stored; no edge occurs twice.
struct KnownList {
    EdgeList list;
    std::vector<StoredEdge> stored;
};

/// What is kept in memory of a snapshot: never the graph. Edge names are few, but as they are data
/// only so many are kept. So are the long lists that were stored last, because whoever changes a
/// long list changes a little of it, again and again.
struct EdgeState final : YapDatabaseExtensionState {
    static constexpr std::size_t namesLimit = 1000;

    std::shared_ptr<const EdgeTexts> texts;
    std::map<std::string, std::int64_t, std::less<>> numbers;
    std::map<std::int64_t, String> names;
    bool hasAbsent = false;                               ///< some destination does not exist
    std::vector<std::shared_ptr<const KnownList>> lists;  ///< the newest last

    void add(std::int64_t number, std::string_view name);
};

}  // namespace qsml::detail
