#include "store/YapDatabaseExtension.h"

#include <gtest/gtest.h>
#include "store/detail/testing/LengthsExtension.h"
#include "testing/OpenStore.h"

namespace qsml {
namespace {

using Writer = YapDatabaseReadWriteTransaction;
using Reader = YapDatabaseReadTransaction;
using Transaction = LengthsExtension::Transaction;

class GivenAStoreWithTexts : public OpenStore {
protected:
    void SetUp() override {
        OpenStore::SetUp();
        store_.set("a", "1");
        store_.set("b", "22");
        store_.set("c", "333", "others");
    }
    std::shared_ptr<LengthsExtension> add(std::string name = "lengths", std::string tag = "1") {
        auto made = std::make_shared<LengthsExtension>(std::move(tag));
        Error error;
        EXPECT_TRUE(store_.database().registerExtension(made, name, &error)) << error.description;
        return made;
    }
    void expectRefused(const std::shared_ptr<LengthsExtension>& extension,
                       const std::string& name) {
        const auto before = store_.database().registeredExtensionNames();
        const auto snapshot = store_.database().snapshot();
        Error error;
        EXPECT_FALSE(store_.database().registerExtension(extension, name, &error));
        EXPECT_EQ(error.code == 1 || error.domain == YapDatabaseErrorDomain, true);
        EXPECT_EQ(store_.database().registeredExtensionNames(), before);
        EXPECT_EQ(store_.database().snapshot(), snapshot);
    }
    static std::int64_t length(YapDatabaseConnection& connection, const std::string& key,
                               std::string_view name = "lengths") {
        std::int64_t found = -2;
        connection.read([&](Reader& t) {
            if (auto* part = t.ext<Transaction>(name)) found = part->length(key);
        });
        return found;
    }
    std::int64_t length(const std::string& key) { return length(store_.connection(), key); }
    std::string callsOf(LengthsExtension& extension, const std::function<void(Writer&)>& block) {
        extension.calls.clear();
        EXPECT_TRUE(store_.connection().readWrite(block));
        return extension.calls;
    }
};

TEST_F(GivenAStoreWithTexts, WhenRegisteredThenItIsFilledFromTheAllowedCollections) {
    const auto extension = add();
    EXPECT_EQ(length("a"), 1);
    EXPECT_EQ(length("c"), -1);
    EXPECT_EQ(extension->fills, 1);
    EXPECT_EQ(store_.database().registeredExtension("lengths"), extension);
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenAStoreWithTexts, WhenRegistrationIsImpossibleThenItIsRefused) {
    const auto extension = add();
    expectRefused(std::make_shared<LengthsExtension>(), "lengths");
    expectRefused(extension, "again");
    expectRefused(std::make_shared<LengthsExtension>(), "");
    expectRefused(std::make_shared<LengthsExtension>(), std::string("a\0b", 3));
    const auto child = std::make_shared<LengthsExtension>();
    child->needed = {"lengths", "missing"};
    expectRefused(child, "child");
}

TEST_F(GivenAStoreWithTexts, WhenRegistrationFailsThenItLeavesNoTrace) {
    store_.close();
    const std::string before = contentOf(store_.path());
    ASSERT_TRUE(store_.open());
    const auto extension = std::make_shared<LengthsExtension>();
    extension->failsToFill = true;
    expectRefused(extension, "lengths");
    store_.close();
    EXPECT_EQ(contentOf(store_.path()), before);
    ASSERT_TRUE(store_.open());
    extension->failsToFill = false;
    EXPECT_TRUE(store_.database().registerExtension(extension, "lengths"));
}

TEST_F(GivenAStoreWithTexts, WhenNamesAreStrangeThenTheirTablesAreTheirOwn) {
    const std::vector<std::string> names = {"a\"b", "x'; DROP TABLE row", "😀",
                                            std::string(10'240, 'n')};
    for (const std::string& name : names) add(name);
    store_.set("new", "4444");
    for (const std::string& name : names) EXPECT_EQ(length(store_.connection(), "new", name), 4);
    for (const std::string& name : names) EXPECT_TRUE(store_.database().unregisterExtension(name));
}

TEST_F(GivenAStoreWithTexts, WhenRegisteredAgainUnchangedThenWhatIsStoredIsUsed) {
    add();
    ASSERT_TRUE(store_.open());
    const auto extension = add();
    EXPECT_EQ(extension->fills, 0);
    EXPECT_EQ(length("b"), 2);
}

TEST_F(GivenAStoreWithTexts, WhenTagKindOrConfigurationDifferThenItIsRebuilt) {
    add();
    const auto fillsAfter = [&](const std::function<void(LengthsExtension&)>& change,
                                const std::string& tag) {
        EXPECT_TRUE(store_.open());
        auto extension = std::make_shared<LengthsExtension>(tag);
        change(*extension);
        EXPECT_TRUE(store_.database().registerExtension(extension, "lengths"));
        EXPECT_EQ(length("b"), 2);
        return extension->fills;
    };
    EXPECT_EQ(fillsAfter([](auto&) {}, "1"), 0);
    EXPECT_EQ(fillsAfter([](auto&) {}, "2"), 1);
    EXPECT_EQ(fillsAfter([](auto& e) { e.columns = "more"; }, "2"), 1);
    EXPECT_EQ(fillsAfter([](auto& e) { e.kindName = "other"; }, "2"), 1);
    EXPECT_EQ(fillsAfter([](auto& e) { e.kindName = "other"; }, "2"), 0);
}

TEST_F(GivenAStoreWithTexts, WhenItMissesAWriteThenItIsRebuiltAndNotBefore) {
    add();
    ASSERT_TRUE(store_.open());
    store_.connection().readWrite([](Writer& t) { t.setObject("x", "a", "texts"), t.rollback(); });
    EXPECT_EQ(add()->fills, 0);
    ASSERT_TRUE(store_.open());
    store_.set("b", "55555");
    const auto extension = add();
    EXPECT_EQ(extension->fills, 1);
    EXPECT_EQ(length("b"), 5);
    ASSERT_TRUE(store_.open());
    EXPECT_EQ(add()->fills, 0);
}

TEST_F(GivenAStoreWithTexts, WhenUnregisteredThenDependentsAndTablesGoFirst) {
    add();
    const auto child = std::make_shared<LengthsExtension>();
    child->needed = {"lengths"};
    EXPECT_TRUE(store_.database().registerExtension(child, "child"));
    EXPECT_EQ(store_.database().registeredExtensionNames(),
              (std::vector<std::string>{"lengths", "child"}));
    EXPECT_TRUE(store_.database().unregisterExtension("lengths"));
    EXPECT_FALSE(store_.database().unregisterExtension("lengths"));
    EXPECT_TRUE(store_.database().registeredExtensionNames().empty());
    EXPECT_EQ(length("a"), -2);
    EXPECT_EQ(add()->fills, 1);
}

TEST_F(GivenAStoreWithTexts, WhenPinnedBeforeARegistrationThenItIsSeenAfterMoving) {
    const auto reader = store_.database().newConnection();
    reader->beginLongLivedReadTransaction();
    add();
    EXPECT_EQ(length(*reader, "a"), -2);
    const auto list = reader->beginLongLivedReadTransaction();
    ASSERT_EQ(list.size(), 1u);
    EXPECT_TRUE(list[0]->changes.empty());
    const auto* changes =
        dynamic_cast<const LengthsExtension::Changes*>(list[0]->extensions.at("lengths").get());
    ASSERT_TRUE(changes);
    EXPECT_EQ(changes->rows, 2);
    EXPECT_EQ(length(*reader, "a"), 1);
}

TEST_F(GivenAStoreWithTexts, WhenRowsChangeThenHooksRunAndEachSnapshotKeepsItsState) {
    const auto extension = add();
    const auto reader = store_.database().newConnection();
    reader->beginLongLivedReadTransaction();
    EXPECT_EQ(callsOf(*extension,
                      [](Writer& t) {
                          t.setObject("4444", "new", "texts");
                          t.setObject("55555", "new", "texts");
                          t.replaceMetadata("m", "new", "texts");
                          t.touchObjectForKey("new", "texts");
                          t.removeObjectForKey("a", "texts");
                          t.setObject("x", "ignored", "others");
                      }),
              "insert new;update new;metadata new;touch new;will a;did a;flush;write;");
    EXPECT_EQ(length("new"), 5);
    EXPECT_EQ(length("a"), -1);
    EXPECT_EQ(length(*reader, "a"), 1);
    EXPECT_EQ(length(*reader, "new"), -1);
    reader->beginLongLivedReadTransaction();
    EXPECT_EQ(length(*reader, "new"), 5);
    EXPECT_EQ(extension->commits, 1);
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenAStoreWithTexts, WhenACollectionIsRemovedThenHooksRunKeyByKey) {
    const auto extension = add();
    EXPECT_EQ(callsOf(*extension, [](Writer& t) { t.removeAllObjectsInCollection("texts"); }),
              "will a;did a;will b;did b;flush;write;");
}

TEST_F(GivenAStoreWithTexts, WhenARowThatOthersReadChangesThenTheseAreComputedAgainOnce) {
    const auto extension = add();
    EXPECT_EQ(callsOf(*extension,
                      [](Writer& t) {
                          t.setObject("four", "a", "bases");
                          t.setObject("seven..", "a", "bases");
                      }),
              "dependent a;flush;write;");
    EXPECT_EQ(length("a"), 8);
    callsOf(*extension, [](Writer& t) { t.removeObjectForKey("a", "bases"); });
    EXPECT_EQ(length("a"), 1);
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenAStoreWithTexts, WhenNoRowConcernsAnExtensionThenItTakesPartOnlyWithItsParent) {
    const auto extension = std::make_shared<LengthsExtension>();
    const auto child = std::make_shared<LengthsExtension>();
    extension->watched.emplace().emplace("bases");
    child->watched.emplace();
    child->needed = {"lengths"};
    ASSERT_TRUE(store_.database().registerExtension(extension, "lengths"));
    ASSERT_TRUE(store_.database().registerExtension(child, "child"));
    EXPECT_EQ(callsOf(*extension, [](Writer& t) { t.setObject("x", "a", "others"); }), "");
    EXPECT_EQ(child->calls, "");
    EXPECT_EQ(callsOf(*extension, [](Writer& t) { t.setObject("four", "a", "bases"); }),
              "dependent a;flush;write;");
    EXPECT_EQ(child->calls, "flush;write;");
}

TEST_F(GivenAStoreWithTexts, WhenAnotherKindTakesTheNameThenItFindsNothingOfTheFormerOne) {
    const auto former = add();
    for (int turn = 0; turn < 2; ++turn) EXPECT_EQ(length("a"), 1);
    EXPECT_EQ(former->foundInSlot, "lengths");
    const auto other = std::make_shared<LengthsExtension>();
    other->kindName = "other";
    ASSERT_TRUE(store_.database().unregisterExtension("lengths"));
    ASSERT_TRUE(store_.database().registerExtension(other, "lengths"));
    EXPECT_EQ(length("a"), 1);
    EXPECT_EQ(other->foundInSlot, "");
    EXPECT_EQ(length("a"), 1);
    EXPECT_EQ(other->foundInSlot, "other");
}

TEST_F(GivenAStoreWithTexts, WhenAFlushWritesRowsThenAllFlushAgainAndTheyAreInTheCommit) {
    const auto extension = add();
    const auto second = add("second");
    extension->writesAtFlush = true;
    const auto reader = store_.database().newConnection();
    reader->beginLongLivedReadTransaction();
    second->calls.clear();
    EXPECT_EQ(callsOf(*extension, [](Writer& t) { t.setObject("4444", "new", "texts"); }),
              "insert new;flush;insert flushed;flush;write;");
    EXPECT_EQ(second->calls, "insert new;insert flushed;flush;flush;write;");
    const auto list = reader->beginLongLivedReadTransaction();
    EXPECT_TRUE(YapDatabaseConnection::hasChangeForKey("flushed", "texts", list));
    EXPECT_EQ(length(store_.connection(), "flushed", "second"), 16);
}

TEST_F(GivenAStoreWithTexts, WhenAFlushFailsThenTheCommitDoes) {
    const auto extension = add();
    extension->failsToFlush = true;
    const auto before = store_.database().snapshot();
    Error error;
    EXPECT_FALSE(store_.connection().readWrite(
        [](Writer& t) { t.setObject("4444", "new", "texts"); }, &error));
    EXPECT_EQ(error.description, "The flush fails.");
    EXPECT_EQ(store_.database().snapshot(), before);
    EXPECT_EQ(store_.text("new"), "(nil)");
    EXPECT_EQ(length("new"), -1);
    EXPECT_EQ(extension->commits, 0);
}

TEST_F(GivenAStoreWithTexts, WhenRolledBackThenTheExtensionKeepsItsState) {
    const auto extension = add();
    store_.connection().readWrite([](Writer& t) {
        t.setObject("4444", "a", "texts");
        auto* part = t.ext<Transaction>("lengths");
        ASSERT_TRUE(part);
        EXPECT_EQ(part->length("a"), 4);
        t.rollback();
    });
    EXPECT_EQ(length("a"), 1);
    EXPECT_EQ(store_.faults(), "");
}

TEST_F(GivenAStoreWithTexts, WhenOnlyTheExtensionChangesThenThatIsACommitWithoutRows) {
    add();
    const auto reader = store_.database().newConnection();
    reader->beginLongLivedReadTransaction();
    store_.connection().readWrite([](Writer& t) {
        if (auto* part = t.ext<Transaction>("lengths")) part->forget();
    });
    const auto list = reader->beginLongLivedReadTransaction();
    ASSERT_EQ(list.size(), 1u);
    EXPECT_TRUE(list[0]->changes.empty());
    EXPECT_EQ(length("a"), -1);
    EXPECT_NE(store_.faults().find("[lengths]: the lengths differ"), std::string::npos);
}

TEST_F(GivenAStoreWithTexts, WhenRegisteredAsynchronouslyThenALaterWriteRunsAfterIt) {
    const auto extension = std::make_shared<LengthsExtension>();
    bool isReady = false;
    store_.database().asyncRegisterExtension(extension, "lengths",
                                             [&](bool ready) { isReady = ready; });
    store_.connection().asyncReadWrite([](Writer& t) {
        auto* part = t.ext<Transaction>("lengths");
        ASSERT_TRUE(part);
        t.setObject("4444", "new", "texts");
    });
    store_.drain();
    EXPECT_TRUE(isReady);
    EXPECT_EQ(length("new"), 4);
}

}  // namespace
}  // namespace qsml
