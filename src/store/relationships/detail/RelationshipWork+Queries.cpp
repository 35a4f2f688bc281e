// Queries: what is stored, less what the write has replaced or removed, plus what it has declared.
#include <algorithm>

#include "foundation/Value.h"
#include "store/relationships/detail/RelationshipWork.h"

namespace qsml::detail {

/// A query in numbers. An end of 0 is any.
struct RelationshipWork::Filter {
    const Transaction::Query* query = nullptr;
    std::int64_t name = 0, source = 0, destination = 0;
    bool matchesStored = true;    ///< else no stored edge can match
    bool matchesDeclared = true;  ///< else none that the write has declared can

    bool matches(const StoredEdge& edge) const {
        return (!name || edge.name() == name) && (!source || edge.source == source) &&
               (!destination || edge.destination == destination);
    }
    bool matches(const YapDatabaseRelationshipEdge& edge) const {
        const auto same = [](const String& a, const String& b) {
            return a.view() == b.view();  // nil is the empty name or collection
        };
        if (query->name && !same(edge.name, query->name)) return false;
        return !query->destination ||
               (edge.destinationKey == query->destination->key &&
                same(edge.destinationCollection, query->destination->collection));
    }
};

bool RelationshipWork::makeFilter(const Transaction::Query& query, Filter* filter) {
    filter->query = &query;
    if (query.name) {
        filter->name = tables_.numberOfName(query.name);
        filter->matchesStored = filter->name != 0;
    }
    if (query.source) {
        const auto row = tables_.row(query.source->key, query.source->collection);
        filter->source = row.value_or(0);
        if (!row) filter->matchesStored = filter->matchesDeclared = false;
    }
    if (query.destination) {
        const auto& [collection, key] = *query.destination;
        auto end = tables_.row(key, collection);
        if (!end && key) end = removed_.rowid(collection.view(), key);
        if (!end && key) end = tables_.absent(key, collection ? collection.view() : "");
        filter->destination = end.value_or(0);
        if (!filter->destination) filter->matchesStored = false;
        if (!key) filter->matchesDeclared = false;
    }
    return tables_.ok();
}

/// Whether a stored edge still counts in the running write.
bool RelationshipWork::isShown(const StoredEdge& edge, const Filter& filter) const {
    if (!filter.matches(edge) || removed_.contains(edge.source)) return false;
    return edge.isManual() ? !removed_.contains(edge.destination)
                           : pendingOf_.find(edge.source) == pendingOf_.end();
}

/// The block answers false to end it; so does this then, and after a failure.
bool RelationshipWork::visitStored(const Filter& filter, const FoundBlock& block) {
    if (!filter.matchesStored) return true;
    const auto visit = [&](const std::vector<StoredEdge>& edges) {
        return std::all_of(edges.begin(), edges.end(), [&](const StoredEdge& edge) {
            return !isShown(edge, filter) || block(edge);
        });
    };
    if (filter.source) return visit(tables_.outgoing(filter.source)) && tables_.ok();
    if (filter.destination) return visit(tables_.incoming(filter.destination)) && tables_.ok();
    StoredEdge last;
    for (;;) {
        const std::vector<StoredEdge> page = tables_.after(last);
        if (page.empty()) return tables_.ok();
        if (!visit(page)) return false;
        last = page.back();
    }
}

void RelationshipWork::noteTargets(std::size_t pending) {
    if (!pendingTo_) return;
    for (const auto& edge : pending_[pending].list)
        (*pendingTo_)[edge.destinationKey].push_back(pending);
}

std::vector<std::size_t> RelationshipWork::pendingTo(const String& destinationKey) {
    if (!pendingTo_) {
        pendingTo_.emplace();
        for (std::size_t i = 0; i < pending_.size(); ++i) noteTargets(i);
    }
    const auto found = pendingTo_->find(destinationKey);
    if (found == pendingTo_->end()) return {};
    std::vector<std::size_t> lists = found->second;
    std::sort(lists.begin(), lists.end());
    lists.erase(std::unique(lists.begin(), lists.end()), lists.end());
    return lists;
}

bool RelationshipWork::visitPending(const Filter& filter, const DeclaredBlock& block) {
    if (!filter.matchesDeclared) return true;
    const auto visit = [&](const Pending& pending) {
        if (removed_.contains(pending.source)) return true;
        return std::all_of(pending.list.begin(), pending.list.end(), [&](const auto& edge) {
            return !filter.matches(edge) || block(pending.source, edge);
        });
    };
    if (!filter.source && filter.query->destination) {
        const auto lists = pendingTo(filter.query->destination->key);
        return std::all_of(lists.begin(), lists.end(),
                           [&](std::size_t list) { return visit(pending_[list]); });
    }
    if (!filter.source) return std::all_of(pending_.begin(), pending_.end(), visit);
    const auto found = pendingOf_.find(filter.source);
    return found == pendingOf_.end() || visit(pending_[found->second]);
}

/// Found first and told then, because the block may write.
bool RelationshipWork::enumerate(const Transaction::Query& query,
                                 const Transaction::EdgeBlock& block, Error* error) {
    Filter filter;
    std::vector<Transaction::FoundEdge> found;
    makeFilter(query, &filter);
    YapDatabaseCollectionKey source;
    std::int64_t known = 0;
    const auto sourceOf = [&](std::int64_t row) {
        if (known != row) source = tables_.address(row).value_or(YapDatabaseCollectionKey());
        known = row;
        return source;
    };
    visitPending(filter, [&](std::int64_t row, const YapDatabaseRelationshipEdge& edge) {
        found.push_back({edge, sourceOf(row), false});
        return tables_.ok();
    });
    visitStored(filter, [&](const StoredEdge& edge) {
        auto to = query.destination ? query.destination : tables_.address(edge.destination);
        if (!to) to = removed_.address(edge.destination);
        if (!to) return tables_.ok();
        found.push_back({{tables_.name(edge.name()), to->key, to->collection,
                          static_cast<std::uint32_t>(edge.rules)},
                         sourceOf(edge.source),
                         edge.isManual()});
        return tables_.ok();
    });
    if (!tables_.ok()) {
        report(error, tables_.error());
        return false;
    }
    bool stop = false;
    for (auto one = found.begin(); one != found.end() && !stop; ++one) block(*one, stop);
    return true;
}

std::uint64_t RelationshipWork::count(const Transaction::Query& query, Error* error) {
    Filter filter;
    std::uint64_t number = 0;
    const auto countOne = [&](auto&&...) {
        ++number;
        return true;
    };
    makeFilter(query, &filter);
    visitPending(filter, countOne);
    visitStored(filter, countOne);
    if (tables_.ok()) return number;
    report(error, tables_.error());
    return 0;
}

}  // namespace qsml::detail
