// Every public operation of the store with every call of the system failing, one after the other.
#include <gtest/gtest.h>
#include <unistd.h>

#include <map>

#include "testing/FailingStore.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

using Rows = std::map<std::string, std::string>;

constexpr int textRows = 300;  // a few dozen pages

/// Every row as this connection reads it; nothing when it could not read them all.
std::optional<Rows> rowsOf(YapDatabaseConnection& connection) {
    Rows rows;
    bool whole = true;
    const bool done = connection.read([&](YapDatabaseReadTransaction& transaction) {
        transaction.enumerateKeysInAllCollections(
            [&](std::string_view collection, std::string_view key, bool&) {
                const Value object = transaction.objectForKey(key, collection);
                rows[std::string(collection) + "/" + std::string(key)] = object.description();
            });
        whole = !transaction.error();
    });
    return done && whole ? std::optional(rows) : std::nullopt;
}

bool write(StoreOfTexts& store, const YapDatabaseConnection::ReadWriteBlock& block) {
    Error error;
    const bool done = store.connection().readWrite(block, &error);
    EXPECT_EQ(done, !error) << "the answer and the error disagree: " << error.description;
    return done;
}

/// An operation; what it claims of itself. A writing one must have happened where it claims
/// success.
struct Operation {
    std::string name;
    std::function<bool(StoreOfTexts&)> run;
    bool startsClosed = false;
};

bool writeHundredRows(StoreOfTexts& store) {
    return write(store, [](auto& transaction) {
        for (int row = 0; row < 100; row++)
            transaction.setObject(String(std::string(300, 'n')), "new" + std::to_string(row),
                                  "texts");
    });
}

/// What it writes depends on what it reads: a failed read must not pass for an absent row.
bool readAndWrite(StoreOfTexts& store) {
    return write(store, [](auto& transaction) {
        for (const char* key : {"50", "150", "250"}) {
            const String text = transaction.objectForKey(key, "texts").string();
            transaction.setObject(text ? "read" : "found nothing", key, "other");
        }
    });
}

bool enumerate(StoreOfTexts& store) {
    int rows = 0;
    bool whole = true;
    const bool done = store.connection().read([&](auto& transaction) {
        transaction.enumerateKeysAndObjectsInCollection(
            "texts", [&](std::string_view, const Value&, bool&) { rows++; });
        whole = !transaction.error();
    });
    EXPECT_TRUE(!done || !whole || rows == textRows) << "rows are missing and no error tells";
    return done && whole;
}

bool writeAsynchronously(StoreOfTexts& store) {
    bool done = false;
    store.connection().asyncReadWrite(
        [](auto& transaction) { transaction.setObject("async", "async", "texts"); },
        [&](const Error& error) { done = !error; });
    store.drain();
    return done;
}

bool pinAndUnpin(StoreOfTexts& store) {
    store.connection().beginLongLivedReadTransaction();
    store.connection().endLongLivedReadTransaction();
    return true;
}

bool registerExtension(StoreOfTexts& store) {
    Error error;
    const bool done =
        store.database().registerExtension(std::make_shared<RowListExtension>(), "second", &error);
    EXPECT_EQ(done, !error) << error.description;
    const std::size_t expected = done ? 2 : 1;
    EXPECT_EQ(store.database().registeredExtensionNames().size(), expected);
    return done;
}

const std::vector<Operation>& operations() {
    static const std::vector<Operation> all = {
        {"Open", [](StoreOfTexts& store) { return store.open(); }, true},
        {"NewConnection",
         [](StoreOfTexts& store) { return store.database().newConnection() != nullptr; }},
        {"Set",
         [](StoreOfTexts& store) {
             return write(store, [](auto& t) { t.setObject("new", "new", "texts"); });
         }},
        {"SetWithMetadata",
         [](StoreOfTexts& store) {
             return write(store, [](auto& t) { t.setObject("new", "3", "texts", "metadata"); });
         }},
        {"Replace",
         [](StoreOfTexts& store) {
             return write(store, [](auto& t) { t.replaceObject("new", "3", "texts"); });
         }},
        {"Touch",
         [](StoreOfTexts& store) {
             return write(store, [](auto& t) { t.touchObjectForKey("3", "texts"); });
         }},
        {"Remove",
         [](StoreOfTexts& store) {
             return write(store, [](auto& t) { t.removeObjectForKey("3", "texts"); });
         }},
        {"RemoveCollection",
         [](StoreOfTexts& store) {
             return write(store, [](auto& t) { t.removeAllObjectsInCollection("texts"); });
         }},
        {"CommitHundredRows", writeHundredRows},
        {"ReadAndWrite", readAndWrite},
        {"WriteAsynchronously", writeAsynchronously},
        {"PinAndUnpin", pinAndUnpin},
        {"Enumerate", enumerate},
        {"RegisterExtension", registerExtension},
        {"UnregisterExtension",
         [](StoreOfTexts& store) { return store.database().unregisterExtension("list"); }},
        {"Checkpoint", [](StoreOfTexts& store) { return store.database().checkpoint(); }},
        {"Check", [](StoreOfTexts& store) { return store.faults().empty(); }}};
    return all;
}

/// Here short reads too, which SQLite takes for the end of the file.
std::vector<FaultCase> faultCases() {
    auto all = systemFaults();
    all.push_back({"ReadIsShort",
                   {FileCall::read, 1, FaultyFiles::Repeat::once, FaultyFiles::Kind::shortRead}});
    return all;
}

class GivenACallThatFails : public FailingStore {
protected:
    const Operation& operation() const { return operations()[operationIndex()]; }

    /// A file with texts, five other rows and an extension, closed.
    void makeImage() {
        ASSERT_TRUE(store_.open());
        ASSERT_TRUE(
            store_.database().registerExtension(std::make_shared<RowListExtension>(), "list"));
        ASSERT_TRUE(write(store_, [](auto& transaction) {
            for (int row = 0; row < textRows; row++)
                transaction.setObject(String(std::string(200, 'o')), std::to_string(row), "texts");
            for (int row = 0; row < 5; row++)
                transaction.setObject("o", std::to_string(row), "other");
        }));
        before_ = rowsOf(store_.connection()).value();
        store_.close();
        image_ = contentOf(store_.path());
        log_ = contentOf(store_.path() + "-wal");
    }
    /// The image, open with a few rows cached and a few commits in the log; or closed.
    void prepare() {
        store_.close();
        ::unlink((store_.path() + "-shm").c_str());
        writeFile(store_.path(), image_);
        writeFile(store_.path() + "-wal", log_);
        if (operation().startsClosed) return;
        openWithList();
        ASSERT_TRUE(store_.set("0", std::string(200, 'o')));
        ASSERT_EQ(store_.text("1"), std::string(200, 'o'));
    }
    void operate() { claimed_ = operation().run(store_); }

    /// What the operation claims is what happened, and everything works again.
    void verify() {
        const Rows& expected = claimed_ ? after_ : before_;
        EXPECT_FALSE(claimed_ && hasSyncFailed() && writes())
            << "a failed sync was reported as success";
        if (!store_.isOpen()) openWithList();
        ASSERT_TRUE(store_.isOpen());
        EXPECT_TRUE(rowsOf(store_.connection()) == expected) << "as the same connection sees it";
        EXPECT_TRUE(rowsOf(*store_.database().newConnection()) == expected)
            << "as a new one sees it";
        EXPECT_TRUE(store_.set("later", "later", "other")) << "the next operation fails";
        EXPECT_EQ(store_.text("later", "other"), "later");
        EXPECT_EQ(store_.faults(), "");
        store_.close();
        openWithList();
        Rows reopened = rowsOf(store_.connection()).value_or(Rows());
        EXPECT_EQ(reopened.erase("other/later"), 1u);
        EXPECT_TRUE(reopened == expected) << "after opening again";
    }
    bool writes() const { return after_ != before_; }

    std::string log_;
    Rows before_, after_;
};

TEST_P(GivenACallThatFails, WhenAnOperationMeetsItThenAllOrNothingHappens) {
    makeImage();
    prepare();
    operate();
    ASSERT_TRUE(claimed_);
    after_ = rowsOf(store_.connection()).value();
    const auto failures = run({.prepare = [&] { prepare(); },
                               .operation = [&] { operate(); },
                               .verify = [&] { verify(); }},
                              testScale(faultCase().fault.calls == anyFileCall ? 2 : 1, 1));
    RecordProperty("failures", static_cast<int>(failures));
}

INSTANTIATE_TEST_SUITE_P(Store, GivenACallThatFails,
                         FailingStore::combined(operations(), faultCases()), [](const auto& test) {
                             return operations()[std::get<0>(test.param)].name +
                                    std::get<1>(test.param).name;
                         });

}  // namespace
}  // namespace qsml
