#pragma once
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "database/PLXViewDataSource.h"
#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"
#include "store/views/YapDatabaseAutoView.h"
#include "testing/OpenLibrary.h"
#include "testing/OpenStore.h"

namespace qsml {

/// A library with a view "things" over the collection "things": the text "GROUP/ORDER" of a row
/// says where it stands. Groups of the lists: "fruit", "herbs".
class LibraryWithLists : public OpenLibrary {
protected:
    using Calls = std::vector<std::string>;
    using Writer = YapDatabaseReadWriteTransaction;

    void SetUp() override {
        auto options = OpenLibrary::options();
        options.executor = executor_;
        manager_.setDatabaseOptions(options);
        Error error;
        ASSERT_TRUE(manager_.setupDatabaseWithFileURL(URL::fileURLWithPath(path()), &error))
            << error.description;
        registerThings("things");
        settle();
    }

    void registerThings(const std::string& name) {
        YapDatabaseViewOptions options;
        options.allowedCollections = {{"things"}};
        EXPECT_TRUE(manager_.database()->registerExtension(
            std::make_shared<YapDatabaseAutoView>(&groupOf, sorting(), "1", options), name));
    }
    /// Lets everything that waits happen: writes in the background, then announcements, until
    /// neither causes the other.
    void settle() {
        for (int turn = 0; turn < 3; ++turn) {
            executor_->waitUntilIdle();
            drain();
        }
    }
    /// One commit.
    void write(const std::function<void(Writer&)>& block) {
        EXPECT_TRUE(manager_.bgDatabaseConnection()->readWrite(block));
    }
    static void put(Writer& t, std::string_view key, std::string_view text) {
        t.setObject(Value(text), key, "things");
    }
    void put(std::string_view key, std::string_view text) {
        write([&](Writer& t) { put(t, key, text); });
    }
    void remove(std::string_view key) {
        write([&](Writer& t) { t.removeObjectForKey(key, "things"); });
    }
    /// In this order: apple, banana, cherry, date; basil.
    void fill() {
        write([](Writer& t) {
            put(t, "apple", "fruit/1");
            put(t, "banana", "fruit/2");
            put(t, "cherry", "fruit/3");
            put(t, "date", "fruit/4");
            put(t, "basil", "herbs/1");
        });
        settle();
    }

    static const std::vector<String>& bothGroups() {
        static const std::vector<String> groups{"fruit", "herbs"};
        return groups;
    }
    std::shared_ptr<PLXViewDataSource> list(std::vector<String> groups = bothGroups()) {
        return PLXViewDataSource::initWithView("things", std::move(groups), manager_);
    }

    /// What a list would show: the texts of its rows, a section each.
    static Calls shown(const PLXViewDataSource& source) {
        Calls sections;
        for (std::uint64_t s = 0; s < source.numberOfSections(); ++s) {
            sections.emplace_back();
            for (std::uint64_t row = 0; row < source.numberOfRowsInSection(s); ++row)
                sections.back() += source.itemAtIndexPath({s, row}).string().str() + " ";
        }
        return sections;
    }

    static std::string textOf(IndexPath path) {
        return std::to_string(path.section) + "." + std::to_string(path.row);
    }
    /// Writes down every call, except that it does not perform updates itself.
    std::shared_ptr<PLXViewDataSourceDelegate> recorder() {
        const auto row = [this](std::string name) {
            return [this, name](PLXViewDataSource&, IndexPath path) {
                calls_.push_back(name + " " + textOf(path));
            };
        };
        const auto section = [this](std::string name) {
            return [this, name](PLXViewDataSource&, std::uint64_t index) {
                calls_.push_back(name + " section " + std::to_string(index));
            };
        };
        auto made = std::make_shared<PLXViewDataSourceDelegate>();
        made->willBeginUpdates = [this](PLXViewDataSource&) { calls_.push_back("begin"); };
        made->didEndUpdates = [this](PLXViewDataSource&) { calls_.push_back("end"); };
        made->didInsertSection = section("insert");
        made->didDeleteSection = section("delete");
        made->didInsertRowAtIndexPath = row("insert");
        made->didDeleteRowAtIndexPath = row("delete");
        made->didUpdateRowAtIndexPath = row("update");
        made->didMoveRowAtIndexPath = [this](PLXViewDataSource&, IndexPath from, IndexPath to) {
            calls_.push_back("move " + textOf(from) + " " + textOf(to));
        };
        return made;
    }
    /// The calls since the last question.
    Calls calls() { return std::exchange(calls_, {}); }

    std::shared_ptr<TestExecutor> executor_ = std::make_shared<TestExecutor>();
    Calls calls_;

private:
    static String groupOf(YapDatabaseReadTransaction&, const YapDatabaseRow& row) {
        const std::string text = row.object.string().str();
        const std::size_t end = text.find('/');
        return end == std::string::npos ? String() : String(text.substr(0, end));
    }
    static YapDatabaseViewSorting sorting() {
        YapDatabaseViewSorting sorting;
        sorting.sortKey = [](YapDatabaseReadTransaction&, std::string_view,
                             const YapDatabaseRow& row) { return row.object.string().str(); };
        return sorting;
    }
};

/// Filled, with a list of both groups whose delegate writes down its calls.
class FilledLibraryWithAList : public LibraryWithLists {
protected:
    void SetUp() override {
        LibraryWithLists::SetUp();
        fill();
        list_ = list();
        list_->setDelegate(delegate_);
    }
    std::shared_ptr<PLXViewDataSourceDelegate> delegate_ = recorder();
    std::shared_ptr<PLXViewDataSource> list_;
};

}  // namespace qsml
