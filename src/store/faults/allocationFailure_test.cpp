// Operations of the store with every allocation failing, one after the other: each ends in a
// failure that it reports, or in success, and never in half of it. A program of its own, as it
// replaces operator new.
#include <gtest/gtest.h>

#include <map>

#include "store/faults/FailingAllocations.h"
#include "testing/OpenStore.h"
#include "testing/RowListExtension.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

using Rows = std::map<std::string, std::string>;
using Repeat = failingAllocations::Repeat;

Rows rowsOf(YapDatabaseConnection& connection) {
    Rows rows;
    EXPECT_TRUE(connection.read([&](auto& transaction) {
        transaction.enumerateKeysAndObjectsInAllCollections(
            [&](std::string_view collection, std::string_view key, const Value& object, bool&) {
                rows[std::string(collection) + "/" + std::string(key)] = object.string().str();
            });
    }));
    return rows;
}

/// What an operation needs, made before allocations fail: only the library's own are to fail.
struct Inputs {
    Value text = "new text";
    std::string key = "3", collection = "texts";
    std::string path, name = "second";
    YapDatabaseObjectCallbacks objects = plainTexts(), metadata = plainTexts();
    YapDatabaseOptions options;
    std::shared_ptr<YapDatabaseExtension> extension = std::make_shared<RowListExtension>();
    std::vector<Value> many = std::vector<Value>(100, Value(std::string_view("one of many")));
    std::vector<std::string> manyKeys;
    YapDatabaseConnection::ReadWriteBlock write;
    YapDatabaseConnection::ReadBlock read;
    std::size_t found = 0;
};

struct Operation {
    std::string name;
    std::function<void(Inputs&)> prepare;
    std::function<bool(StoreOfTexts&, Inputs&)> run;
};

bool runWrite(StoreOfTexts& store, Inputs& in) { return store.connection().readWrite(in.write); }
bool runRead(StoreOfTexts& store, Inputs& in) { return store.connection().read(in.read); }

using Write = YapDatabaseReadWriteTransaction&;
using Read = YapDatabaseReadTransaction&;

std::vector<Operation> writingOperations() {
    return {{"Set",
             [](Inputs& in) {
                 in.write = [&in](Write t) { t.setObject(in.text, in.key, in.collection); };
             },
             runWrite},
            {"SetWithMetadata",
             [](Inputs& in) {
                 in.write = [&in](Write t) {
                     t.setObject(in.text, in.key, in.collection, in.text);
                 };
             },
             runWrite},
            {"Replace",
             [](Inputs& in) {
                 in.write = [&in](Write t) { t.replaceObject(in.text, in.key, in.collection); };
             },
             runWrite},
            {"Touch",
             [](Inputs& in) {
                 in.write = [&in](Write t) { t.touchObjectForKey(in.key, in.collection); };
             },
             runWrite},
            {"Remove",
             [](Inputs& in) {
                 in.write = [&in](Write t) { t.removeObjectForKey(in.key, in.collection); };
             },
             runWrite},
            {"RemoveCollection",
             [](Inputs& in) {
                 in.write = [&in](Write t) { t.removeAllObjectsInCollection(in.collection); };
             },
             runWrite},
            {"CommitHundredRows",
             [](Inputs& in) {
                 for (int row = 0; row < 100; row++) in.manyKeys.push_back(std::to_string(row));
                 in.write = [&in](Write t) {
                     for (std::size_t row = 0; row < 100; row++)
                         t.setObject(in.many[row], in.manyKeys[row], in.collection);
                 };
             },
             runWrite}};
}

std::vector<Operation> otherOperations() {
    return {{"Read",
             [](Inputs& in) {
                 in.read = [&in](Read t) {
                     in.found = !t.objectForKey(in.key, in.collection).isNil() || t.error();
                 };
             },
             [](StoreOfTexts& store, Inputs& in) {
                 const bool done = runRead(store, in);
                 EXPECT_TRUE(!done || in.found) << "a row is missing and no error tells";
                 return done;
             }},
            {"NewConnection", [](Inputs&) {},
             [](StoreOfTexts& store, Inputs&) { return !!store.database().newConnection(); }},
            {"PinAndUnpin", [](Inputs&) {},
             [](StoreOfTexts& store, Inputs&) {
                 store.connection().beginLongLivedReadTransaction();
                 store.connection().endLongLivedReadTransaction();
                 return true;
             }},
            {"Checkpoint", [](Inputs&) {},
             [](StoreOfTexts& store, Inputs&) { return store.database().checkpoint(); }},
            {"RegisterExtension", [](Inputs&) {},
             [](StoreOfTexts& store, Inputs& in) {
                 return store.database().registerExtension(in.extension, in.name);
             }},
            {"Open", [](Inputs& in) { in.path += ".second"; },
             [](StoreOfTexts&, Inputs& in) {
                 return !!YapDatabase::initWithPath(in.path, std::move(in.objects),
                                                    std::move(in.metadata), std::move(in.options));
             }}};
}

std::vector<Operation> operations() {
    auto all = writingOperations();
    for (auto& operation : otherOperations()) all.push_back(std::move(operation));
    return all;
}

class GivenAnAllocationThatFails
    : public ::testing::TestWithParam<std::tuple<std::size_t, Repeat>> {
protected:
    static void SetUpTestSuite() { failingAllocations::install(); }
    void SetUp() override { store_.options.synchronous = YapDatabaseSynchronous::normal; }

    void makeStore() {
        Error error;
        ASSERT_TRUE(store_.open(&error)) << error.description;
        ASSERT_TRUE(
            store_.database().registerExtension(std::make_shared<RowListExtension>(), "list"));
        ASSERT_TRUE(store_.connection().readWrite([](auto& transaction) {
            transaction.removeAllObjectsInAllCollections();
            for (int row = 0; row < 30; row++)
                transaction.setObject(String("text"), std::to_string(row), "texts");
            transaction.setObject("other", "other", "other");
        }));
        store_.connection().flushMemory();
    }
    /// Runs it with one allocation failing; true when none did. The claim must be what happened.
    bool attempt(const Operation& operation, std::uint64_t number, Rows& after) {
        makeStore();
        const Rows before = rowsOf(store_.connection());
        store_.connection().flushMemory();
        Inputs inputs;
        inputs.path = store_.path();
        inputs.options = store_.options;
        operation.prepare(inputs);
        bool claimed = false, threw = false;
        failingAllocations::fail(number, std::get<1>(GetParam()));
        try {
            claimed = operation.run(store_, inputs);
        } catch (const std::bad_alloc&) {
            threw = true;
        }
        const bool clean = failingAllocations::heal() == 0;
        store_.drain();
        EXPECT_FALSE(threw) << "bad_alloc left the library";
        EXPECT_TRUE(claimed || !clean);
        if (clean) after = rowsOf(store_.connection());
        outcomes_.emplace_back(claimed, rowsOf(store_.connection()));
        EXPECT_EQ(rowsOf(*store_.database().newConnection()), outcomes_.back().second);
        EXPECT_TRUE(claimed || outcomes_.back().second == before) << "something of it stayed";
        EXPECT_TRUE(store_.set("later", "later", "other")) << "the next operation fails";
        EXPECT_EQ(store_.faults(), "");
        store_.database().unregisterExtension("second");
        return clean;
    }

    TemporaryDirectory directory_;
    StoreOfTexts store_{directory_.file("store.db")};
    std::vector<std::pair<bool, Rows>> outcomes_;
};

TEST_P(GivenAnAllocationThatFails, WhenAnOperationMeetsItThenAllOrNothingHappens) {
    const Operation operation = operations()[std::get<0>(GetParam())];
    const std::uint64_t step = testScale(11, 1);
    Rows after;
    for (std::uint64_t number = 1; !HasFailure(); number += step) {
        SCOPED_TRACE("with allocation " + std::to_string(number) + " failing");
        if (attempt(operation, number, after)) break;
        ASSERT_LT(number, 100'000u);
    }
    if (HasFailure()) return;
    for (const auto& [claimed, rows] : outcomes_)
        EXPECT_TRUE(!claimed || rows == after) << "success was claimed of something else";
    store_.close();
}

INSTANTIATE_TEST_SUITE_P(Store, GivenAnAllocationThatFails,
                         ::testing::Combine(::testing::Range(std::size_t{0}, operations().size()),
                                            ::testing::Values(Repeat::once, Repeat::forever)),
                         [](const auto& test) {
                             const bool once = std::get<1>(test.param) == Repeat::once;
                             return operations()[std::get<0>(test.param)].name +
                                    (once ? "Once" : "ForGood");
                         });

}  // namespace
}  // namespace qsml
