#include <gtest/gtest.h>

#include <thread>

#include "foundation/PropertyList.h"
#include "organisation/PLXMediaItemTag.h"
#include "organisation/detail/testing/FaultyLibrary.h"
#include "organisation/detail/testing/TagGroups.h"
#include "testing/UndecodableObject.h"

namespace qsml {
namespace {

constexpr const char* logHead = "-[PLXMediaItemTagGroupSource setupGroups] [Line ";

class GivenALibraryWithoutTagGroups : public LibraryWithTagGroups {};

TEST_F(GivenALibraryWithoutTagGroups, WhenASourceIsMadeThenItStoresExactlyTheGroupsOfTheFile) {
    Bundle::library().setResourceURL({});  // the library's own file
    const auto file = Bundle::library().URLForResource("DefaultMediaItemTagGroups", "plist");
    ASSERT_TRUE(file);
    GroupContents expected;
    const Value root = propertyListOfFile(file->path());
    for (const Value& element : root.elements()) {
        const Dictionary& entry = element.dictionary();
        GroupContent& content = expected[entry["uuid"].string()];
        content.name = entry["name"].string();
        for (const Value& tag : entry["tags"].elements()) content.tags.insert(tag.string());
        EXPECT_FALSE(content.name.empty() || content.tags.empty());
    }
    ASSERT_GT(expected.size(), 1U);

    PLXMediaItemTagGroupSource source(manager_);
    EXPECT_EQ(contentsOf(source), expected);
    EXPECT_EQ(storedGroups(manager_), expected);
    const auto groups = source.groups();
    for (const auto& [uuid, group] : *groups) EXPECT_TRUE(group->isImmutable()) << uuid;
}

TEST_F(GivenALibraryWithoutTagGroups, WhenASourceIsMadeAgainThenItLoadsWhatIsStored) {
    writeDefaults(element("a") + element("b"));
    { PLXMediaItemTagGroupSource source(manager_); }
    setGroup("a", "mine", {"x"});
    const auto snapshot = manager_.database()->snapshot();
    writeDefaults(element("c"));
    PLXMediaItemTagGroupSource source(manager_);
    auto expected = defaultsOf({"b"});
    expected["a"] = {"mine", {"x"}};
    EXPECT_EQ(contentsOf(source), expected);
    EXPECT_EQ(manager_.database()->snapshot(), snapshot) << "nothing is written";
}

TEST_F(GivenALibraryWithoutTagGroups, WhenTheStoredOnesCannotBeReadThenTheyAreNotReplaced) {
    writeDefaults(element("a"));
    write([](auto& transaction) {
        transaction.setObject(std::make_shared<UndecodableObject>(), "a", "mediaItemTagGroups");
    });
    const auto snapshot = manager_.database()->snapshot();
    PLXMediaItemTagGroupSource source(manager_);
    EXPECT_TRUE(source.groups()->empty());
    EXPECT_EQ(manager_.database()->snapshot(), snapshot);
}

TEST_F(GivenALibraryWithoutTagGroups, WhenTheFileIsMissingThenNothingIsSeededWithoutAWord) {
    LogCapture log;
    const auto snapshot = manager_.database()->snapshot();
    PLXMediaItemTagGroupSource source(manager_);
    ASSERT_TRUE(source.groups());
    EXPECT_TRUE(source.groups()->empty());
    EXPECT_TRUE(source.setupGroups());
    EXPECT_EQ(manager_.database()->snapshot(), snapshot);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(GivenALibraryWithoutTagGroups, WhenTheFileIsNoPropertyListThenNothingIsSeededAndALineSays) {
    for (const char* text : {"", "no property list", "<plist><dict/></plist>"}) {
        writeFile(pathOfDefaults(), text);
        LogCapture log;
        PLXMediaItemTagGroupSource source(manager_);
        EXPECT_TRUE(source.groups()->empty());
        EXPECT_TRUE(storedGroups(manager_).empty());
        ASSERT_EQ(log.lines().size(), 1U) << text;
        EXPECT_EQ(log.lines()[0].find(logHead), 0U) << log.lines()[0];
        EXPECT_NE(log.lines()[0].find(pathOfDefaults()), std::string::npos) << log.lines()[0];
    }
}

TEST_F(GivenALibraryWithoutTagGroups, WhenElementsAreMalformedThenTheyAreLeftOut) {
    writeDefaults("<string>text</string><dict/><array/>" + element("a") +
                  "<dict><key>uuid</key><integer>5</integer></dict>"
                  "<dict><key>uuid</key><string>b</string></dict>"
                  "<dict><key>uuid</key><string>c</string><key>name</key><true/>"
                  "<key>tags</key><array><string>x</string><integer>1</integer>"
                  "<string>x</string></array></dict>");
    PLXMediaItemTagGroupSource source(manager_);
    auto expected = defaultsOf({"a"});
    expected["b"] = {};
    expected["c"] = {nullptr, {"x"}};
    EXPECT_EQ(storedGroups(manager_), expected);
    EXPECT_EQ(contentsOf(source), expected);
    EXPECT_TRUE(source.groups()->at("b")->tags()) << "an empty set, not nil";
}

TEST_F(GivenALibraryWithoutTagGroups, WhenTheUserDeletesAllThenTheNextReloadBringsThemBack) {
    writeDefaults(element("a"));
    PLXMediaItemTagGroupSource source(manager_);
    setGroup("a", "mine", {"x"});
    setGroup("b", "mine", {"y"});
    drain();
    removeAllGroups();
    drain();
    EXPECT_EQ(contentsOf(source), defaultsOf({"a"}));
    EXPECT_EQ(storedGroups(manager_), defaultsOf({"a"}));
}

TEST_F(GivenALibraryWithoutTagGroups, WhenAnotherSeedsMeanwhileThenNothingIsSeededTwice) {
    writeDefaults(element("a"));
    commitUnseen(manager_, [](YapDatabaseReadWriteTransaction& transaction) {
        const auto group = PLXMediaItemTagGroup::initWithUUID("a");
        group->setName("mine");
        transaction.setObject(group, "a", "mediaItemTagGroups");
    });
    PLXMediaItemTagGroupSource source(manager_);
    const GroupContents expected = {{"a", {"mine", {}}}};
    EXPECT_EQ(storedGroups(manager_), expected);
    EXPECT_EQ(contentsOf(source), expected);
}

TEST_F(GivenALibraryWithoutTagGroups, WhenTwoSourcesAreMadeAtOnceThenOneSeeds) {
    writeDefaults(element("a") + element("b"));
    const auto snapshot = manager_.database()->snapshot();
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i)
        threads.emplace_back([this] {
            PLXMediaItemTagGroupSource source(manager_);
            EXPECT_EQ(contentsOf(source), defaultsOf({"a", "b"}));
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(manager_.database()->snapshot(), snapshot + 1);
}

TEST_F(GivenALibraryWithoutTagGroups, WhenItHoldsOnlyRecordsOfOtherClassesThenThoseStay) {
    writeDefaults(element("a"));
    write([](YapDatabaseReadWriteTransaction& transaction) {
        transaction.setObject(PLXMediaItemTag::initWithUUID("t"), "t", "mediaItemTagGroups");
    });
    PLXMediaItemTagGroupSource source(manager_);
    EXPECT_TRUE(source.groups()->empty());
    EXPECT_EQ(storedGroups(manager_).size(), 1U);
}

class GivenAFailingFileToSeedInto : public LibraryWithTagGroups {};

TEST_F(GivenAFailingFileToSeedInto, WhenSeededThenAllGroupsAreStoredOrNone) {
    writeDefaults(element("a") + element("b"));
    bool isDone = false;
    GroupContents loaded;
    const auto seed = [&](PLXDatabaseManager& manager) {
        PLXMediaItemTagGroupSource source(manager);
        loaded = contentsOf(source);
    };
    const auto verify = [&](PLXDatabaseManager& reopened) {
        const auto stored = storedGroups(reopened);
        EXPECT_EQ(stored, loaded);
        EXPECT_TRUE(stored.empty() || stored == defaultsOf({"a", "b"}));
        isDone = !stored.empty();
        PLXMediaItemTagGroupSource source(reopened);
        EXPECT_EQ(contentsOf(source), defaultsOf({"a", "b"})) << "once the file works again";
    };
    EXPECT_GT(FaultyLibrary().forEachFailingWrite({}, seed, verify), 2U);
    EXPECT_TRUE(isDone) << "the last run meets no failure";
}

void storeManyGroups(YapDatabaseReadWriteTransaction& transaction) {
    for (int i = 0; i < 40; ++i) {
        const auto group = PLXMediaItemTagGroup::initWithUUID(std::to_string(i));
        group->setName(std::string(2000, 'n'));
        transaction.setObject(group, group->uuid(), "mediaItemTagGroups");
    }
}

// What cannot be read, at first or when it is looked for again, must not be taken for a library
// without groups.
TEST_F(GivenAFailingFileToSeedInto, WhenTheGroupsCannotBeReadThenNothingIsSeeded) {
    writeDefaults(element("a"));
    for (const bool isUnseen : {false, true}) {
        FaultyLibrary library;
        library.arrange = [&](PLXDatabaseManager& manager) {
            if (isUnseen) commitUnseen(manager, storeManyGroups);
        };
        const auto prepare = [&](PLXDatabaseManager& manager) {
            if (!isUnseen) manager.bgDatabaseConnection()->readWrite(storeManyGroups);
        };
        std::uint64_t failures = 0;
        const auto load = [&](PLXDatabaseManager& manager) {
            PLXMediaItemTagGroupSource source(manager);
            const auto count = source.groups()->size();
            EXPECT_TRUE(count == 0 || count == 40) << "some are missing: " << count;
            if (count == 0) ++failures;
        };
        const auto verify = [](PLXDatabaseManager& reopened) {
            EXPECT_EQ(storedGroups(reopened).size(), 40U);
        };
        EXPECT_GT(library.forEachFailingRead(prepare, load, verify), 5U);
        EXPECT_GT(failures, 5U);
    }
}

}  // namespace
}  // namespace qsml
