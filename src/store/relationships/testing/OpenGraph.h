#pragma once
#include <gtest/gtest.h>

#include <algorithm>

#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/relationships/YapDatabaseRelationship.h"
#include "store/relationships/YapDatabaseRelationshipTransaction.h"
#include "store/relationships/testing/GraphNode.h"
#include "testing/OpenStore.h"

namespace qsml {

using Reader = YapDatabaseReadTransaction;
using Writer = YapDatabaseReadWriteTransaction;
using Graph = YapDatabaseRelationshipTransaction;

inline Graph* graphOf(Reader& transaction) { return transaction.ext<Graph>("relationship"); }

/// "name>key" to a node, with rules.
inline Edge to(std::string_view key, std::uint32_t rules = 0, std::string_view name = "e") {
    return {String(name), String(key), "nodes", rules};
}

/// A store of nodes with the extension registered as "relationship".
class OpenGraph : public ::testing::Test {
protected:
    void SetUp() override {
        GraphNode::told().clear();
        GraphNode::answer = nullptr;
        options_.executor = executor_;
        options_.notificationQueue = &queue_;
        open();
    }
    void TearDown() override {
        close();
        options_.executor.reset();
    }
    void openFile() {
        close();
        Error error;
        database_ = YapDatabase::initWithPath(path_, GraphBytes::callbacks(),
                                              GraphBytes::callbacks(), options_, &error);
        ASSERT_TRUE(database_) << error.description;
        connection_ = database_->newConnection();
    }
    bool add(std::string tag = "1", YapDatabaseRelationshipOptions options = {},
             Error* error = nullptr) {
        return database_->registerExtension(
            std::make_shared<YapDatabaseRelationship>(std::move(tag), std::move(options)),
            "relationship", error);
    }
    void open() {
        openFile();
        Error error;
        ASSERT_TRUE(add("1", {}, &error)) << error.description;
    }
    void close() {
        second_.reset();
        connection_.reset();
        database_.reset();
        executor_->waitUntilIdle();
    }

    bool write(const std::function<void(Writer&)>& block, Error* error = nullptr) {
        return connection_->readWrite(block, error);
    }
    static void set(Writer& transaction, std::string_view key, std::vector<Edge> edges = {}) {
        auto node = std::make_shared<GraphNode>(std::move(edges));
        node->label = std::string(key);
        transaction.setObject(node, key, "nodes");
    }
    void set(std::string_view key, std::vector<Edge> edges = {}) {
        EXPECT_TRUE(write([&](Writer& t) { set(t, key, std::move(edges)); }));
    }
    void remove(const std::vector<String>& keys) {
        EXPECT_TRUE(write([&](Writer& t) { t.removeObjectsForKeys(keys, "nodes"); }));
    }

    /// The keys of all nodes, sorted, with blanks between.
    static std::string keys(Reader& transaction) {
        std::vector<String> all = transaction.allKeysInCollection("nodes");
        std::sort(all.begin(), all.end());
        std::string text;
        for (const String& key : all) text += (text.empty() ? "" : " ") + key.str();
        return text;
    }
    std::string keys() {
        std::string text;
        connection_->read([&](Reader& t) { text = keys(t); });
        return text;
    }
    /// All edges that match, sorted: "source-name>destination", "!" before a manual one.
    static std::string edges(Reader& transaction, const Graph::Query& query = {}) {
        std::vector<std::string> all;
        Graph& graph = *graphOf(transaction);
        EXPECT_TRUE(graph.enumerateEdges(query, [&](const Graph::FoundEdge& found, bool&) {
            all.push_back((found.isManual ? "!" : "") + found.source.key.str() + "-" +
                          found.edge.name.str() + ">" + found.edge.destinationKey.str());
        }));
        EXPECT_EQ(graph.edgeCount(query), all.size());
        std::sort(all.begin(), all.end());
        std::string text;
        for (const std::string& line : all) text += (text.empty() ? "" : " ") + line;
        return text;
    }
    std::string edges(const Graph::Query& query = {}) {
        std::string text;
        connection_->read([&](Reader& t) { text = edges(t, query); });
        return text;
    }
    std::string told() {
        std::string text;
        for (const std::string& line : GraphNode::told()) text += (text.empty() ? "" : " ") + line;
        GraphNode::told().clear();
        return text;
    }
    std::string faults() {
        std::string lines;
        Error error;
        const bool isSound = database_->check(
            [&](const YapDatabase::Fault& fault) {
                lines += fault.collection + "/" + fault.key + ": " + fault.description + "\n";
            },
            {}, &error);
        return isSound || !lines.empty() ? lines : "check failed: " + error.description;
    }

    TemporaryDirectory directory_;
    std::string path_ = directory_.file("graph.db");
    std::shared_ptr<TestExecutor> executor_ = std::make_shared<TestExecutor>();
    DispatchQueue queue_{"notifications of a test", executor_};
    YapDatabaseOptions options_;
    std::shared_ptr<YapDatabase> database_;
    std::shared_ptr<YapDatabaseConnection> connection_, second_;
};

}  // namespace qsml
