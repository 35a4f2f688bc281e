#include <QSMediaLibraryData/database/extensionNames.h>
#include <QSMediaLibraryData/store/relationships/YapDatabaseRelationshipTransaction.h>
#include <QSMediaLibraryData/tracks/PLXMediaItem.h>
#include <fmt/format.h>

#include <algorithm>
#include <tuple>

#include "CommandFailure.h"
#include "ProgressBar.h"
#include "doctorCommands.h"
#include "findTrack.h"
#include "libraryTransactions.h"
#include "output.h"
#include "printable.h"

namespace qsml::app {

namespace {

using Row = YapDatabaseCollectionKey;
using Graph = YapDatabaseRelationshipTransaction;
using Found = YapDatabaseRelationshipFoundEdge;

struct Rule {
    std::uint32_t bit;
    const char* name;
};
constexpr Rule rules[] = {
    {YDB_NotifyIfSourceDeleted, "notifyIfSourceDeleted"},
    {YDB_NotifyIfDestinationDeleted, "notifyIfDestinationDeleted"},
    {YDB_DeleteSourceIfDestinationDeleted, "deleteSourceIfDestinationDeleted"},
    {YDB_DeleteDestinationIfSourceDeleted, "deleteDestinationIfSourceDeleted"},
    {YDB_DeleteSourceIfAllDestinationsDeleted, "deleteSourceIfAllDestinationsDeleted"},
    {YDB_DeleteDestinationIfAllSourcesDeleted, "deleteDestinationIfAllSourcesDeleted"}};

/// One reading of the graph.
class EdgeList {
public:
    EdgeList(const CommonOptions& common, const EdgesOptions& options,
             YapDatabaseReadTransaction& transaction)
        : isJSON_(common.asJSON),
          name_(options.name.empty() ? String() : String(options.name)),
          transaction_(transaction),
          graph_(transaction.ext<Graph>(PLXDatabaseExtensionRelationship)) {
        if (!graph_)
            throw CommandFailure(
                "the library has no links between its records; \"qsml repair\" "
                "makes them anew");
    }

    /// Row by row of the sources, by collection and key.
    void putAll() {
        ProgressBar bar("records");
        std::uint64_t done = 0;
        for (const String& collection : sorted(transaction_.allCollections()))
            for (const String& key : sorted(transaction_.allKeysInCollection(collection))) {
                put(edgesOf({.name = name_, .source = Row{collection, key}}));
                bar.update(++done, 0);
            }
    }

    void putOf(const std::string& which) {
        for (const Row& row : rowsOf(which)) {
            std::vector<Found> edges = edgesOf({.name = name_, .source = row});
            for (Found& edge : edgesOf({.name = name_, .destination = row}))
                if (!(edge.source == row)) edges.push_back(std::move(edge));
            put(std::move(edges));
        }
    }

private:
    static std::vector<String> sorted(std::vector<String> texts) {
        std::sort(texts.begin(), texts.end());
        return texts;
    }

    std::vector<Found> edgesOf(const YapDatabaseRelationshipQuery& query) {
        std::vector<Found> edges;
        Error error;
        const auto collect = [&](const Found& edge, bool&) { edges.push_back(edge); };
        if (!graph_->enumerateEdges(query, collect, &error))
            throw CommandFailure("cannot read the links between the records", error);
        return edges;
    }

    /// Those that are in the file, or that an edge leads to.
    bool isKnown(const Row& row) {
        return transaction_.hasObjectForKey(row.key, row.collection) ||
               !edgesOf({.destination = row}).empty();
    }

    /// A key may stand in several collections: a track's does.
    std::vector<Row> rowsOf(const std::string& which) {
        std::vector<Row> rows;
        for (const String& collection : sorted(transaction_.allCollections())) {
            const std::string prefix = collection.str() + "/";
            if (isKnown({collection, which})) rows.push_back({collection, which});
            if (which.starts_with(prefix) && isKnown({collection, which.substr(prefix.size())}))
                rows.push_back({collection, which.substr(prefix.size())});
        }
        return rows.empty() ? rowsOf(findTrack(which, transaction_)->uuid().str()) : rows;
    }

    void put(std::vector<Found> edges) {
        const auto place = [](const Found& edge) {
            return std::tie(edge.source.collection, edge.source.key, edge.edge.name,
                            edge.edge.destinationCollection, edge.edge.destinationKey,
                            edge.isManual);
        };
        std::sort(edges.begin(), edges.end(),
                  [&](const Found& a, const Found& b) { return place(a) < place(b); });
        for (const Found& edge : edges)
            if (isJSON_)
                putEdgeJSON(edge);
            else
                putEdgeText(edge);
    }

    bool isDangling(const Found& found) const {
        return !transaction_.hasObjectForKey(found.edge.destinationKey,
                                             found.edge.destinationCollection);
    }

    void putEdgeJSON(const Found& found) const {
        Value::Array names;
        for (const Rule& rule : rules)
            if (found.edge.nodeDeleteRules & rule.bit) names.emplace_back(rule.name);
        putJSON({{"name", found.edge.name},
                 {"sourceCollection", found.source.collection},
                 {"sourceKey", found.source.key},
                 {"destinationCollection", found.edge.destinationCollection},
                 {"destinationKey", found.edge.destinationKey},
                 {"rules", std::move(names)},
                 {"isManual", found.isManual},
                 {"isDestinationMissing", isDangling(found)}});
    }

    void putEdgeText(const Found& found) const {
        std::string names;
        for (const Rule& rule : rules)
            if (found.edge.nodeDeleteRules & rule.bit)
                names += (names.empty() ? "" : ", ") + std::string(rule.name);
        putLine(fmt::format(
            "{}/{} --{}--> {}/{}  [{}]{}{}", printable(found.source.collection.view()),
            printable(found.source.key.view()), printable(found.edge.name.view()),
            printable(found.edge.destinationCollection.view()),
            printable(found.edge.destinationKey.view()), names.empty() ? "no rule" : names,
            found.isManual ? " manual" : "", isDangling(found) ? " (destination missing)" : ""));
    }

    bool isJSON_;
    String name_;
    YapDatabaseReadTransaction& transaction_;
    Graph* graph_;
};

}  // namespace

int runEdges(const CommonOptions& common, const EdgesOptions& options) {
    readLibrary(common, [&](YapDatabaseReadTransaction& transaction) {
        EdgeList edges(common, options, transaction);
        if (options.row.empty())
            edges.putAll();
        else
            edges.putOf(options.row);
    });
    return 0;
}

}  // namespace qsml::app
