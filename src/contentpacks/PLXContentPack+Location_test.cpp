#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <thread>

#include "contentpacks/PLXTrackPack.h"
#include "contentpacks/detail/samplePacks.h"
#include "foundation/Bundle.h"
#include "testing/LogCapture.h"
#include "testing/TemporaryDirectory.h"

namespace qsml {
namespace {

using namespace std::string_view_literals;

/// What the two folders that are found once answered, asked before any test could.
struct FirstAnswers : testing::Environment {
    using Folder = std::optional<URL>;
    static inline Folder withoutKey, withOddKey, withEmptyKey, users, usersLater, store, storeLater;

    void SetUp() override {
        Bundle& bundle = Bundle::main();
        const auto ask = [&](Value key) {
            bundle.setInfoValue("QSMediaLibraryBundlePath", std::move(key));
            return PLXContentPack::userContentPackMediaItemLocationURL();
        };
        const char* home = std::getenv("HOME");
        const std::string homeBefore = home ? home : "/";
        setenv("HOME", "/home/dj", 1);
        setenv("XDG_DATA_HOME", "/data/dj", 1);
        withoutKey = ask({});
        withOddKey = ask(5);
        withEmptyKey = ask("");
        users = ask("~/Library Bundle");
        usersLater = ask("/elsewhere");
        bundle.setInfoValue("CFBundleIdentifier", "com.example.dj");
        store = PLXContentPack::storeContentPackMediaItemLocationURL();
        bundle.setInfoValue("CFBundleIdentifier", "com.example.other");
        storeLater = PLXContentPack::storeContentPackMediaItemLocationURL();
        bundle.setInfoValue("CFBundleIdentifier", {});
        bundle.setInfoValue("QSMediaLibraryBundlePath", {});
        unsetenv("XDG_DATA_HOME");
        setenv("HOME", homeBefore.c_str(), 1);
    }
};
[[maybe_unused]] auto* const firstAnswers = testing::AddGlobalTestEnvironment(new FirstAnswers);

const std::string storePath = "/data/dj/com.example.dj/Content Packs";

TEST(GivenTheUsersFolder, WhenTheHostHasNotNamedItThenThereIsNone) {
    EXPECT_EQ(FirstAnswers::withoutKey, std::nullopt);
    EXPECT_EQ(FirstAnswers::withOddKey, std::nullopt);
    EXPECT_EQ(FirstAnswers::withEmptyKey, std::nullopt);
}

TEST(GivenTheUsersFolder, WhenTheHostHasNamedItThenItIsFoundOnceAndKept) {
    EXPECT_EQ(FirstAnswers::users, URL::fileURLWithPath("/home/dj/Library Bundle/Samples"));
    EXPECT_EQ(FirstAnswers::usersLater, FirstAnswers::users);
    EXPECT_EQ(PLXContentPack::userContentPackMediaItemLocationURL(), FirstAnswers::users);
}

TEST(GivenTheStoreFolder, WhenAskedThenItIsFoundOnceAndKept) {
    EXPECT_EQ(FirstAnswers::store, URL::fileURLWithPath(storePath));
    EXPECT_EQ(FirstAnswers::storeLater, FirstAnswers::store);
}

/// A pack, and an application that ships the pack "pack-1"; beside its resources lies what no pack
/// may reach.
class GivenAPackAndAnApplication : public testing::Test {
protected:
    void SetUp() override {
        for (const char* folder : {"", "/resources", "/resources/pack-1", "/outside"}) {
            std::filesystem::create_directories(directory_.path() + folder);
            writeFile(directory_.path() + folder + "/index.json", "{}");
        }
        Bundle::main().setResourceURL(URL::fileURLWithPath(resources_));
    }
    void TearDown() override { Bundle::main().setResourceURL(std::nullopt); }

    static std::shared_ptr<PLXTrackPack> packOf(std::int64_t source, String uuid = "pack-1") {
        auto pack = PLXTrackPack::initWithUUID(std::move(uuid));
        pack->setSource(source);
        return pack;
    }
    static std::shared_ptr<PLXTrackPack> frozen(const std::shared_ptr<PLXTrackPack>& pack) {
        pack->makeImmutable();
        return pack;
    }

    TemporaryDirectory directory_;
    std::string resources_ = directory_.path() + "/resources";
    std::optional<URL> stored_ = URL::fileURLWithPath(storePath + "/pack-1");
};

TEST_F(GivenAPackAndAnApplication, WhenDownloadedThenItIsInTheStoreFolder) {
    EXPECT_EQ(packOf(2)->locationURL(), stored_);
    EXPECT_EQ(packOf(2)->valueForKey("locationURL"), Value(stored_));
}

TEST_F(GivenAPackAndAnApplication, WhenShippedThenItIsWhereItsIndexLies) {
    EXPECT_EQ(packOf(1)->locationURL(), URL::fileURLWithPath(resources_ + "/pack-1"));
    LogCapture log;
    EXPECT_EQ(packOf(1, "pack-2")->locationURL(), std::nullopt);
    EXPECT_EQ(packOf(1, "..outside")->locationURL(), std::nullopt);
    EXPECT_TRUE(log.lines().empty()) << "looking is no error";
}

TEST_F(GivenAPackAndAnApplication, WhenTheSourceIsAnyOtherThenItIsNowhere) {
    LogCapture log;
    for (const std::int64_t source : {0LL, 3LL, -1LL})
        EXPECT_EQ(packOf(source, "../x")->locationURL(), std::nullopt) << source;
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(GivenAPackAndAnApplication, WhenItIsTheUsersThenTheSourceAndTheUUIDDoNotCount) {
    LogCapture log;
    for (const std::int64_t source : {0, 1, 2}) {
        const auto pack = packOf(source, source == 2 ? "../x" : "pack-1");
        pack->setOwner(1);
        EXPECT_EQ(pack->locationURL(), FirstAnswers::users);
    }
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(GivenAPackAndAnApplication, WhenItCanBeChangedThenItKeepsTheFirstFolderThatItFinds) {
    const auto pack = packOf(0);
    EXPECT_EQ(pack->locationURL(), std::nullopt);
    pack->setSource(2);
    EXPECT_EQ(std::as_const(*pack).locationURL(), stored_) << "nowhere is not kept";
    pack->setSource(0);
    EXPECT_EQ(pack->locationURL(), std::nullopt) << "nor is what is read of a constant pack";
    pack->setSource(2);
    EXPECT_EQ(pack->locationURL(), stored_);
    pack->setSource(0);
    EXPECT_EQ(pack->locationURL(), stored_);
    EXPECT_EQ(std::as_const(*pack).locationURL(), stored_);
    EXPECT_EQ(pack->valueForKey("locationURL"), Value(stored_));
    EXPECT_EQ(pack->copy()->locationURL(), std::nullopt) << "a copy finds its own";
}

TEST_F(GivenAPackAndAnApplication, WhenFrozenThenItFindsItsFolderEachTime) {
    const auto pack = frozen(packOf(1));
    EXPECT_EQ(pack->locationURL(), URL::fileURLWithPath(resources_ + "/pack-1"));
    Bundle::main().setResourceURL(URL::fileURLWithPath("/nowhere"));
    EXPECT_EQ(pack->locationURL(), std::nullopt);
}

TEST_F(GivenAPackAndAnApplication, WhenFrozenThenManyThreadsMayAskAtOnce) {
    const auto pack = frozen(packOf(2));
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&] { EXPECT_EQ(pack->locationURL(), stored_); });
    for (auto& thread : threads) thread.join();
}

TEST_F(GivenAPackAndAnApplication, WhenItsUUIDLeadsOutOfTheFolderThenItIsNowhereAndALineNamesIt) {
    const std::string longPath = "../" + std::string(1'000'000, 'a');
    const std::vector<String> hostile = {nullptr,
                                         "",
                                         ".",
                                         "..",
                                         "/",
                                         "//",
                                         "../",
                                         "./",
                                         "../outside",
                                         "../../outside",
                                         "../resources/pack-1",
                                         "pack-1/",
                                         "pack-1/.",
                                         "pack-1/..",
                                         "pack-1/../pack-1",
                                         "/etc",
                                         "/pack-1",
                                         "~/pack-1",
                                         "file:///etc",
                                         "a/b",
                                         "\\",
                                         "..\\outside",
                                         "C:\\pack-1",
                                         "\\\\server\\share",
                                         "pack-1\\",
                                         "\0"sv,
                                         "pack-1\0"sv,
                                         "..\0"sv,
                                         "pack-1\0/../x"sv,
                                         "../outside\n[Line 1] forged",
                                         longPath,
                                         std::string(1'000'000, '/')};
    ASSERT_GE(hostile.size(), 25U);
    for (const String& uuid : hostile)
        for (const std::int64_t source : {1, 2}) {
            LogCapture log;
            EXPECT_EQ(packOf(source, uuid)->locationURL(), std::nullopt)
                << uuid.view().substr(0, 60);
            ASSERT_EQ(log.lines().size(), 1U) << uuid.view().substr(0, 60);
            const std::string line = log.lines().front();
            EXPECT_TRUE(line.starts_with("-[PLXContentPack locationURL] [Line ")) << line;
            EXPECT_NE(line.find("<PLXTrackPack: "), std::string::npos) << line;
            EXPECT_EQ(line.find('\n'), std::string::npos);
            EXPECT_LT(line.size(), 5000U);
        }
}

TEST_F(GivenAPackAndAnApplication, WhenItsUUIDOnlyLooksAsIfItLedAwayThenItIsANameInTheFolder) {
    const std::vector<String> plain = {"...",
                                       "..a",
                                       "a..",
                                       "%2e%2e",
                                       "%2F",
                                       "..%2Foutside",
                                       "~",
                                       " ",
                                       ".. ",
                                       "a b",
                                       "a:b",
                                       "C:",
                                       "\n",
                                       "?query",
                                       "#part",
                                       "\xEF\xBC\x8F",
                                       "..\xE2\x81\x84",
                                       "\xFF\xFE",
                                       std::string(1'000'000, 'a')};
    for (const String& uuid : plain) {
        LogCapture log;
        const auto folder = packOf(2, uuid)->locationURL();
        ASSERT_TRUE(folder) << uuid;
        EXPECT_EQ(folder->path(), storePath + "/" + uuid.str());
        EXPECT_EQ(packOf(1, uuid)->locationURL(), std::nullopt) << "not shipped";
        EXPECT_TRUE(log.lines().empty());
    }
}

}  // namespace
}  // namespace qsml
