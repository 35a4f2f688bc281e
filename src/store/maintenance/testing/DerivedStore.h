#pragma once
#include <gtest/gtest.h>

#include <string>

#include "store/detail/testing/PlainSqlite.h"
#include "store/search/YapDatabaseFullTextSearch.h"
#include "store/search/YapDatabaseFullTextSearchTransaction.h"
#include "store/views/YapDatabaseAutoView.h"
#include "store/views/YapDatabaseFilteredView.h"
#include "store/views/YapDatabaseViewTransaction.h"
#include "testing/OpenStore.h"
#include "testing/RowListExtension.h"

namespace qsml {

/// A store of texts with a list, a view, a filtered view on it and a search.
class DerivedStore : public OpenStore {
protected:
    static constexpr int rowCount = 1500;  // several nodes and pages

    void SetUp() override {
        OpenStore::SetUp();
        fill();
        registerAll();
    }
    static std::string keyOf(int row) { return "key" + std::to_string(10'000 + row); }
    void fill() {
        ASSERT_TRUE(store_.connection().readWrite([](auto& transaction) {
            for (int row = 0; row < rowCount; row++)
                transaction.setObject(String("word number" + std::to_string(row) + " lorem ipsum"),
                                      keyOf(row), "texts");
        }));
    }
    static std::shared_ptr<YapDatabaseExtension> makeView() {
        YapDatabaseViewSorting sorting;
        sorting.sortKey = [](auto&, std::string_view, const YapDatabaseRow& row) {
            return row.object.string().str();
        };
        return std::make_shared<YapDatabaseAutoView>(
            [](auto&, const YapDatabaseRow&) { return String("all"); }, std::move(sorting));
    }
    /// The rows of even numbers.
    static std::shared_ptr<YapDatabaseExtension> makeFiltered() {
        return std::make_shared<YapDatabaseFilteredView>(
            "view", [](auto&, std::string_view, std::string_view, std::string_view key) {
                return (key.back() - '0') % 2 == 0;
            });
    }
    static std::shared_ptr<YapDatabaseExtension> makeSearch() {
        return std::make_shared<YapDatabaseFullTextSearch>(
            std::vector<std::string>{"text"},
            [](auto&, const YapDatabaseRow& row, YapDatabaseColumnValues& values) {
                values.set("text", row.object);
            });
    }
    bool add(std::shared_ptr<YapDatabaseExtension> extension, const std::string& name) {
        Error error;
        const bool isDone = store_.database().registerExtension(std::move(extension), name, &error);
        EXPECT_TRUE(isDone) << error.description;
        return isDone;
    }
    void registerAll() {
        add(std::make_shared<RowListExtension>(), "list");
        add(makeView(), "view");
        add(makeFiltered(), "filtered");
        add(makeSearch(), "search");
    }
    /// Closes the store, changes the file as another program could, and opens it again.
    void damage(const std::string& sql) {
        store_.close();
        EXPECT_EQ(PlainSqlite(store_.path()).query(sql), "");
        ASSERT_TRUE(store_.open());
    }

    static std::uint64_t items(YapDatabaseConnection& connection, std::string_view view) {
        std::uint64_t count = 0;
        connection.read([&](YapDatabaseReadTransaction& transaction) {
            if (auto* found = transaction.ext<YapDatabaseViewTransaction>(view))
                count = found->numberOfItemsInGroup("all");
        });
        return count;
    }
    static std::size_t matches(YapDatabaseConnection& connection, std::string_view query) {
        std::vector<std::int64_t> rowids;
        connection.read([&](YapDatabaseReadTransaction& transaction) {
            auto* search = transaction.ext<YapDatabaseFullTextSearchTransaction>("search");
            EXPECT_TRUE(search && search->rowidsMatching(query, &rowids));
        });
        return rowids.size();
    }
    /// Everything works and says the same.
    void expectWhole(std::uint64_t rows = rowCount) {
        EXPECT_EQ(store_.faults(), "");
        EXPECT_EQ(items(store_.connection(), "view"), rows);
        EXPECT_EQ(items(store_.connection(), "filtered"), (rows + 1) / 2);
        EXPECT_EQ(matches(store_.connection(), "lorem"), rows);
    }
};

}  // namespace qsml
