#include <random>

#include "store/relationships/testing/GraphModel.h"
#include "store/relationships/testing/OpenGraph.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

/// Random histories beside the model. What failed is repeated by its seed.
class GivenARandomHistory : public OpenGraph {
protected:
    using Link = GraphModel::Link;

    unsigned pick(unsigned below) { return static_cast<unsigned>(random_()) % below; }
    std::string anyRow() { return std::string(1, "abcdefghij0AZ"[pick(13)]); }
    std::uint32_t anyRules() { return pick(3) ? 1u << pick(6) : pick(64); }
    GraphModel::Links anyLinks(const std::string& source) {
        GraphModel::Links links;
        for (unsigned i = pick(5); i > 0; --i)
            links[{pick(3) ? "e" : "f", source, anyRow()}] = anyRules();
        if (source < "d") addMany(links, source);
        return links;
    }
    /// Long lists, of which little changes. Most of these destinations never exist.
    void addMany(GraphModel::Links& links, const std::string& source) {
        for (const char c : std::string_view("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"))
            if (pick(40)) links[{"z", source, std::string(1, c)}] = pick(40) ? 0 : anyRules();
    }
    static std::shared_ptr<GraphNode> node(const std::string& row, const GraphModel::Links& links) {
        std::vector<Edge> list;
        for (const auto& [link, rules] : links)
            list.push_back(to(link.destination, rules, link.name));
        auto made = std::make_shared<GraphNode>(std::move(list));
        made->label = row;
        return made;
    }

    void writeRow(Writer& t, const std::string& row, const GraphModel::Links& links) {
        t.setObject(node(row, links), row, "nodes");
        model_.write(row, links);
    }
    void removeRow(Writer& t, const std::string& row) {
        t.removeObjectForKey(row, "nodes");
        model_.remove(row);
    }
    void changeManual(Writer& t) {
        const Link link{"m", anyRow(), anyRow()};
        const auto rules = anyRules();
        if (pick(3)) {
            const bool isAdded =
                graphOf(t)->addEdge(to(link.destination, rules, "m"), {"nodes", link.source});
            EXPECT_EQ(isAdded, model_.addManual(link, rules));
            return;
        }
        const auto processing = static_cast<EdgeReason>(pick(3));
        const bool isRemoved = graphOf(t)->removeEdge(to(link.destination, 0, "m"),
                                                      {"nodes", link.source}, processing);
        EXPECT_EQ(isRemoved, model_.removeManual(link, processing));
    }
    void operate(Writer& t) {
        const std::string row = anyRow();
        switch (pick(12)) {
            case 0:
            case 1:
                return removeRow(t, row);
            case 2:  // removed and written again, as it was or not
                if (model_.has(row)) {
                    const auto before = model_.rows[row];
                    removeRow(t, row);
                    writeRow(t, row, pick(2) ? before : anyLinks(row));
                }
                return;
            case 3:
                return t.touchObjectForKey(row, "nodes");
            case 4:
            case 5:
                return changeManual(t);
            case 6:
                if (pick(4)) return;
                EXPECT_TRUE(graphOf(t)->flush());
                return model_.flush();
            case 7:
                t.setObject("text", row, "nodes");
                return model_.write(row, {}, false);
            default:
                return writeRow(t, row, anyLinks(row));
        }
    }

    static std::vector<std::string> found(Reader& t) {
        std::vector<std::string> all;
        graphOf(t)->enumerateEdges({}, [&](const Graph::FoundEdge& one, bool&) {
            all.push_back(GraphModel::line(
                {one.edge.name.str(), one.source.key.str(), one.edge.destinationKey.str()},
                one.edge.nodeDeleteRules, one.isManual));
        });
        std::sort(all.begin(), all.end());
        return all;
    }
    void expectModel(Reader& t) {
        std::string rows;
        for (const auto& [row, links] : model_.rows) rows += (rows.empty() ? "" : " ") + row;
        ASSERT_EQ(keys(t), rows);
        ASSERT_EQ(found(t), model_.visible());
    }
    /// A query with any part given finds what the model has of it.
    void expectQuery(Reader& t) {
        Graph::Query query;
        if (pick(2)) query.name = pick(2) ? "e" : "m";
        if (pick(2)) query.source = {"nodes", anyRow()};
        if (pick(2)) query.destination = {"nodes", anyRow()};
        std::size_t expected = 0;
        for (const std::string& line : model_.visible()) {
            const std::size_t at = line[0] == '!' ? 1 : 0;  // "s-e>d=rules"
            expected += (!query.name || query.name.view()[0] == line[at + 2]) &&
                        (!query.source || query.source->key.view()[0] == line[at]) &&
                        (!query.destination || query.destination->key.view()[0] == line[at + 4]);
        }
        ASSERT_EQ(graphOf(t)->edgeCount(query), expected);
    }
    void expectTold() {
        std::vector<std::string> actual;
        for (const std::string& line : GraphNode::told())
            actual.push_back(line.substr(0, line.rfind('|')));
        GraphNode::told().clear();
        std::sort(actual.begin(), actual.end());
        std::sort(model_.told.begin(), model_.told.end());
        ASSERT_EQ(actual, model_.told);
        model_.told.clear();
    }
    void commit() {
        auto& connection = pick(2) && second_ ? second_ : connection_;
        const GraphModel before = model_;
        const bool isRolledBack = pick(15) == 0;
        ASSERT_TRUE(connection->readWrite([&](Writer& t) {
            for (unsigned i = 1 + pick(6); i > 0; --i) operate(t);
            expectModel(t);
            expectQuery(t);
            if (isRolledBack) t.rollback();
        }));
        if (isRolledBack) {
            model_ = before;
            GraphNode::told().clear();
            return;
        }
        model_.flush();
        expectTold();
    }
    void reopen() {
        close();
        open();
        second_ = database_->newConnection();
    }

    std::mt19937_64 random_{20260101};
    GraphModel model_;
};

TEST_F(GivenARandomHistory, WhenCommittedThenEdgesAreThoseOfTheModel) {
    options_.synchronous = YapDatabaseSynchronous::normal;
    reopen();
    const std::size_t commits = testScale(2'000, 50'000);
    for (std::size_t i = 0; i < commits && !HasFatalFailure() && !HasNonfatalFailure(); ++i) {
        SCOPED_TRACE("commit " + std::to_string(i));
        commit();
        if (HasFatalFailure()) return;
        connection_->read([&](Reader& t) { expectModel(t), expectQuery(t); });
        second_->read([&](Reader& t) { expectModel(t); });
        ASSERT_EQ(faults(), "");
        if (pick(100) == 0) reopen();
    }
    close();  // a fresh build finds the same
    openFile();
    ASSERT_TRUE(add("2"));
    connection_->read([&](Reader& t) { expectModel(t); });
    EXPECT_EQ(faults(), "");
}

}  // namespace
}  // namespace qsml
