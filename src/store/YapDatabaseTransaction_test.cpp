#include "store/YapDatabaseTransaction.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <map>
#include <optional>
#include <set>

#include "store/YapDatabaseException.h"
#include "testing/OpenStore.h"

namespace qsml {
namespace {

using Writer = YapDatabaseReadWriteTransaction;
using Reader = YapDatabaseReadTransaction;

class GivenAnEmptyStore : public OpenStore {
protected:
    bool write(const std::function<void(Writer&)>& block) {
        return store_.connection().readWrite(block);
    }
    void read(const std::function<void(Reader&)>& block) {
        ASSERT_TRUE(store_.connection().read(block));
    }
    std::string metadata(std::string_view key) {
        std::string text;
        read([&](Reader& transaction) {
            const String found = transaction.metadataForKey(key, "texts").string();
            text = found ? found.str() : "(nil)";
        });
        return text;
    }
};

TEST_F(GivenAnEmptyStore, WhenSetThenObjectIsReadAndMetadataBecomesNil) {
    write([](Writer& t) { t.setObject("a", "k", "texts", "m"); });
    EXPECT_EQ(store_.text("k"), "a");
    EXPECT_EQ(metadata("k"), "m");
    write([](Writer& t) { t.setObject("b", "k", "texts"); });
    EXPECT_EQ(store_.text("k"), "b");
    EXPECT_EQ(metadata("k"), "(nil)");
}

TEST_F(GivenAnEmptyStore, WhenNilIsSetThenTheRowGoes) {
    store_.set("k", "a");
    write([](Writer& t) { EXPECT_TRUE(t.setObject(Value(), "k", "texts")); });
    read([](Reader& t) { EXPECT_FALSE(t.hasObjectForKey("k", "texts")); });
}

TEST_F(GivenAnEmptyStore, WhenReplacedThenOnlyAnExistingRowChangesAndTheOtherHalfStays) {
    write([](Writer& t) {
        EXPECT_FALSE(t.replaceObject("a", "k", "texts"));
        EXPECT_FALSE(t.replaceMetadata("m", "k", "texts"));
        t.setObject("a", "k", "texts", "m");
    });
    write([](Writer& t) { EXPECT_TRUE(t.replaceObject("b", "k", "texts")); });
    EXPECT_EQ(store_.text("k"), "b");
    EXPECT_EQ(metadata("k"), "m");
    write([](Writer& t) { EXPECT_TRUE(t.replaceMetadata("n", "k", "texts")); });
    EXPECT_EQ(store_.text("k"), "b");
    EXPECT_EQ(metadata("k"), "n");
    write([](Writer& t) { EXPECT_TRUE(t.replaceMetadata(Value(), "k", "texts")); });
    EXPECT_EQ(metadata("k"), "(nil)");
    write([](Writer& t) { EXPECT_TRUE(t.replaceObject(Value(), "k", "texts")); });
    EXPECT_EQ(store_.text("k"), "(nil)");
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenAnEmptyStore, WhenCollectionIsNullThenItIsTheEmptyOneAndANullKeyDoesNothing) {
    write([](Writer& t) {
        t.setObject("a", "k", std::string_view());
        EXPECT_FALSE(t.setObject("b", std::string_view(), "texts"));
        t.removeObjectForKey(std::string_view(), "texts");
    });
    EXPECT_EQ(store_.text("k", ""), "a");
    read([](Reader& t) {
        EXPECT_EQ(t.numberOfKeysInAllCollections(), 1u);
        EXPECT_TRUE(t.objectForKey(std::string_view(), "texts").isNil());
    });
}

TEST_F(GivenAnEmptyStore, WhenKeysAndCollectionsAreStrangeThenEachIsItsOwnRow) {
    const std::vector<String> names = {"a\"b",
                                       "x'; DROP TABLE row",
                                       "😀",
                                       std::string_view("a\0b", 3),
                                       std::string(10'240, 'n'),
                                       "",
                                       "0123456789abcdef0123456789abcdef",
                                       "01234567-89AB-CDEF-0123-456789ABCDEF"};
    write([&](Writer& t) {
        for (const String& collection : names)
            for (const String& key : names) EXPECT_TRUE(t.setObject(key, key, collection));
    });
    ASSERT_TRUE(store_.open());
    read([&](Reader& t) {
        EXPECT_EQ(t.numberOfCollections(), names.size());
        for (const String& collection : names) {
            EXPECT_EQ(t.numberOfKeysInCollection(collection), names.size());
            for (const String& key : names)
                EXPECT_EQ(t.objectForKey(key, collection).string(), key);
        }
    });
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenAnEmptyStore, WhenABlockFailsToSerialiseThenTheWriteIsRefusedAndTheRestCommits) {
    write([](Writer& t) {
        EXPECT_FALSE(t.setObject(Value(5), "number", "texts"));
        EXPECT_TRUE(t.error());
        EXPECT_TRUE(t.setObject("a", "k", "texts"));
    });
    EXPECT_EQ(store_.text("k"), "a");
    EXPECT_EQ(store_.text("number"), "(nil)");
}

TEST_F(GivenAnEmptyStore, WhenRolledBackThenNothingOfTheBlockStays) {
    store_.set("k", "a");
    const auto before = store_.database().snapshot();
    EXPECT_TRUE(write([](Writer& t) {
        t.setObject("b", "k", "texts");
        t.rollback();
        t.setObject("c", "new", "elsewhere");
    }));
    EXPECT_EQ(store_.text("k"), "a");
    EXPECT_EQ(store_.text("new", "elsewhere"), "(nil)");
    EXPECT_EQ(store_.database().snapshot(), before);
    store_.set("other", "d", "anew");  // takes the number of the collection that was given back
    EXPECT_EQ(store_.text("new", "elsewhere"), "(nil)");
    EXPECT_EQ(store_.text("other", "anew"), "d");
}

TEST_F(GivenAnEmptyStore, WhenAnExceptionLeavesTheBlockThenItIsRolledBackAndReachesTheCaller) {
    EXPECT_THROW(write([](Writer& t) {
                     t.setObject("a", "k", "texts");
                     throw std::runtime_error("x");
                 }),
                 std::runtime_error);
    EXPECT_EQ(store_.text("k"), "(nil)");
    EXPECT_TRUE(store_.set("k", "b"));
}

TEST_F(GivenAnEmptyStore, WhenNothingChangesThenTheSnapshotStaysButATouchIsAChange) {
    store_.set("k", "a");
    const auto before = store_.database().snapshot();
    write([](Writer& t) {
        t.removeObjectForKey("absent", "texts");
        t.touchObjectForKey("absent", "texts");
        t.touchRowForKey("k", "nowhere");
    });
    EXPECT_EQ(store_.database().snapshot(), before);
    write([](Writer& t) { t.touchObjectForKey("k", "texts"); });
    EXPECT_EQ(store_.database().snapshot(), before + 1);
}

TEST_F(GivenAnEmptyStore, WhenWritingDuringAnEnumerationThenItThrowsButTouchingIsAllowed) {
    store_.set("k", "a");
    write([](Writer& t) {
        t.enumerateKeysInCollection("texts", [&](std::string_view key, bool&) {
            t.touchObjectForKey(key, "texts");
            EXPECT_THROW(t.setObject("b", key, "texts"), YapDatabaseException);
            EXPECT_THROW(t.removeObjectForKey(key, "texts"), YapDatabaseException);
            EXPECT_THROW(t.removeAllObjectsInAllCollections(), YapDatabaseException);
        });
        EXPECT_TRUE(t.setObject("c", "k", "texts"));
    });
    EXPECT_EQ(store_.text("k"), "c");
}

TEST_F(GivenAnEmptyStore, WhenStopIsSetThenEnumerationsEnd) {
    write([](Writer& t) {
        for (const char* key : {"a", "b", "c"})
            t.setObject(key, key, key), t.setObject(key, key, "x");
    });
    int calls = 0;
    read([&](Reader& t) {
        t.enumerateKeysInCollection("x", [&](std::string_view, bool& stop) { stop = ++calls > 0; });
        t.enumerateCollections([&](std::string_view, bool& stop) { stop = ++calls > 0; });
        t.enumerateKeysInAllCollections(
            [&](std::string_view, std::string_view, bool& stop) { stop = ++calls > 0; });
        t.enumerateKeysAndObjectsInCollection(
            "x", [&](std::string_view, const Value&, bool& stop) { stop = ++calls > 0; });
        t.enumerateKeysAndObjectsInAllCollections([&](std::string_view, std::string_view,
                                                      const Value&,
                                                      bool& stop) { stop = ++calls > 0; });
        t.enumerateRowsInCollection("x", [&](std::string_view, const Value&, const Value&,
                                             bool& stop) { stop = ++calls > 0; });
        t.enumerateObjectsForKeys(
            {"a", "b"}, "x", [&](std::size_t, const Value&, bool& stop) { stop = ++calls > 0; });
    });
    EXPECT_EQ(calls, 7);
}

TEST_F(GivenAnEmptyStore, WhenEnumerationsNestThenEachGoesItsWay) {
    write([](Writer& t) {
        for (const char* key : {"a", "b", "c"}) t.setObject(key, key, "x");
    });
    int pairs = 0;
    read([&](Reader& t) {
        t.enumerateKeysAndObjectsInCollection("x", [&](auto, const Value&, bool&) {
            t.enumerateKeysAndObjectsInCollection("x", [&](auto, const Value&, bool&) { ++pairs; });
        });
    });
    EXPECT_EQ(pairs, 9);
}

TEST_F(GivenAnEmptyStore, WhenSeveralKeysAreReadThenEachGivesItsIndexAndMissingOnesNil) {
    store_.set("k", "a");
    std::map<std::size_t, std::string> found;
    read([&](Reader& t) {
        t.enumerateObjectsForKeys({"absent", "k", "k"}, "texts",
                                  [&](std::size_t index, const Value& object, bool&) {
                                      found[index] = object.string().value_or("(nil)");
                                  });
    });
    EXPECT_EQ(found, (std::map<std::size_t, std::string>{{0, "(nil)"}, {1, "a"}, {2, "a"}}));
}

TEST_F(GivenAnEmptyStore, WhenACollectionIsRemovedThenTheOthersStay) {
    write([](Writer& t) {
        for (const char* collection : {"x", "y", "z"}) t.setObject("a", "k", collection);
        t.removeAllObjectsInCollection("x");
    });
    read([](Reader& t) { EXPECT_EQ(t.numberOfCollections(), 2u); });
    write([](Writer& t) { t.removeObjectsForKeys({"k", String(), "absent"}, "y"); });
    EXPECT_EQ(store_.text("k", "z"), "a");
    write([](Writer& t) { t.removeAllObjectsInAllCollections(); });
    read([](Reader& t) { EXPECT_EQ(t.numberOfKeysInAllCollections(), 0u); });
}

TEST_F(GivenAnEmptyStore, WhenATransactionReadsThenItSeesItsOwnWrites) {
    store_.set("k", "a");
    write([](Writer& t) {
        EXPECT_EQ(t.objectForKey("k", "texts").string(), "a");
        t.setObject("b", "k", "texts", "m");
        EXPECT_EQ(t.objectForKey("k", "texts").string(), "b");
        EXPECT_EQ(t.metadataForKey("k", "texts").string(), "m");
        t.enumerateKeysAndObjectsInCollection(
            "texts", [](auto, const Value& object, bool&) { EXPECT_EQ(object.string(), "b"); });
        t.removeObjectForKey("k", "texts");
        EXPECT_TRUE(t.objectForKey("k", "texts").isNil());
        Value object, metadata;
        EXPECT_FALSE(t.getObjectAndMetadata(&object, &metadata, "k", "texts"));
        t.setObject("c", "k", "texts");
        EXPECT_TRUE(t.getObjectAndMetadata(&object, &metadata, "k", "texts"));
        EXPECT_EQ(object.string(), "c");
        EXPECT_TRUE(metadata.isNil());
    });
    EXPECT_EQ(store_.text("k"), "c");
}

TEST_F(GivenAnEmptyStore, WhenAnImportIsLargerThanWhatTheCommitCarriesThenAllIsRead) {
    const int rows = 20'000;
    write([&](Writer& t) {
        for (int i = 0; i < rows; ++i)
            t.setObject(std::to_string(i).c_str(), std::to_string(i), "x");
        EXPECT_EQ(t.objectForKey("19999", "x").string(), "19999");
        EXPECT_EQ(t.objectForKey("1", "x").string(), "1");
    });
    EXPECT_EQ(store_.text("19999", "x"), "19999");
    EXPECT_EQ(store_.text("0", "x"), "0");
}

// Random writes through two connections, rollbacks and reopening, against a map.

using Model = std::map<std::pair<std::string, std::string>, std::pair<std::string, std::string>>;

void expectEqual(YapDatabaseConnection& connection, const Model& model) {
    Model found;
    connection.read([&](Reader& t) {
        for (const String& collection : t.allCollections())
            t.enumerateRowsInCollection(collection, [&](std::string_view key, const Value& object,
                                                        const Value& metadata, bool&) {
                found[{collection.str(), std::string(key)}] = {object.string().str(),
                                                               metadata.string().str()};
                RC_ASSERT(t.objectForKey(key, collection) == object);
                RC_ASSERT(t.metadataForKey(key, collection) == metadata);
            });
    });
    RC_ASSERT(found == model);
}

struct Step {
    int action, collection, key, value;
};

void apply(const Step& step, Writer& t, Model& model) {
    const std::string collection(static_cast<std::size_t>(step.collection), 'c');
    const std::string key = std::to_string(step.key), value = "v" + std::to_string(step.value);
    const auto row = std::pair(collection, key);
    const bool exists = model.count(row) > 0;
    switch (step.action) {
        case 0:
            t.setObject(String(value), key, collection), model[row] = {value, ""};
            break;
        case 1:
            t.setObject(String(value), key, collection, String(value));
            model[row] = {value, value};
            break;
        case 2:
            RC_ASSERT(t.replaceObject(String(value), key, collection) == exists);
            if (exists) model[row].first = value;
            break;
        case 3:
            RC_ASSERT(t.replaceMetadata(String(value), key, collection) == exists);
            if (exists) model[row].second = value;
            break;
        case 4:
            t.removeObjectForKey(key, collection), model.erase(row);
            break;
        case 5:
            t.touchRowForKey(key, collection);
            break;
        default:
            t.removeAllObjectsInCollection(collection);
            std::erase_if(model,
                          [&](const auto& entry) { return entry.first.first == collection; });
    }
    const auto now = model.find(row);
    RC_ASSERT(t.hasObjectForKey(key, collection) == (now != model.end()));
    RC_ASSERT(t.objectForKey(key, collection).string().str() ==
              (now == model.end() ? "" : now->second.first));
}

RC_GTEST_PROP(Store, BehavesAsAMapThroughTwoConnectionsRollbacksAndReopening, ()) {
    TemporaryDirectory directory;
    StoreOfTexts store(directory.file("store.db"));
    RC_ASSERT(store.open());
    auto second = store.database().newConnection();
    Model model;
    const int transactions = *rc::gen::inRange(1, 12);
    for (int i = 0; i < transactions; ++i) {
        const auto steps = *rc::gen::container<std::vector<Step>>(
            rc::gen::construct<Step>(rc::gen::inRange(0, 7), rc::gen::inRange(0, 3),
                                     rc::gen::inRange(0, 6), rc::gen::inRange(0, 1000)));
        const bool isRolledBack = *rc::gen::inRange(0, 4) == 0;
        const bool isSecond = *rc::gen::arbitrary<bool>();
        Model changed = model;
        RC_ASSERT((isSecond ? *second : store.connection()).readWrite([&](Writer& t) {
            for (const Step& step : steps) apply(step, t, changed);
            if (isRolledBack) t.rollback();
        }));
        if (!isRolledBack) model = changed;
        expectEqual(store.connection(), model);
        expectEqual(*second, model);
        if (*rc::gen::inRange(0, 6) == 0) {
            second.reset();
            RC_ASSERT(store.open());
            second = store.database().newConnection();
            expectEqual(*second, model);
        }
    }
    RC_ASSERT(store.faults() == "");
}

}  // namespace
}  // namespace qsml
