// Every point at which a set-up can be cut short: the first one of a library, and one that rebuilds
// the extensions because their rules have changed. The next set-up makes it whole.
#include <gtest/gtest.h>

#include "database/libraryfaults/CrashingLibrary.h"
#include "store/detail/testing/PlainSqlite.h"

namespace qsml {
namespace {

namespace content = sampleContent;

class GivenACrashDuringSetup : public CrashingLibrary {
protected:
    void recordSetup() {
        record([&] {
            open();
            end_ = library_.database().snapshot();
        });
    }
    /// Every so many of the images, each of them different to SQLite or in its header.
    void expectWholeLibraries(const std::map<std::string, FileImage>& images, std::size_t step) {
        std::size_t number = 0;
        for (const auto& [form, image] : images) {
            if (number++ % step != 0) continue;
            SCOPED_TRACE("image " + form);
            expectWholeLibrary(image);
            if (HasFailure()) return;
        }
    }
    static std::string formOf(const ImageFacts& facts, const FileImage& image) {
        std::string form = std::to_string(facts.content);
        for (const auto& [suffix, bytes] : image)
            form += " " + suffix + (bytes.empty() ? " empty" : "");
        const std::string header = image.count("") ? image.at("").substr(0, 100) : "";
        return form + " " + std::to_string(std::hash<std::string>()(header));
    }
    std::uint64_t end_ = 0;
};

TEST_F(GivenACrashDuringSetup, WhenItIsTheFirstThenTheNextOneSucceeds) {
    writeFile(library_.path(), "");
    recordSetup();
    ASSERT_FALSE(HasFailure());
    std::map<std::string, FileImage> images;
    forEachCrash(base_, trace_.events(), {0, end_}, testScale(1, 6), 1,
                 [&](const FileImage& image, Allowed, bool) {
                     ++states_;
                     images.emplace(formOf(images_.read(image), image), image);
                 });
    EXPECT_GT(images.size(), 20u);
    expectWholeLibraries(images, testScale(8, 1));
    report();
}

/// A library whose extensions were made by older rules and lack half of the rows.
class GivenALibraryOfOlderRules : public GivenACrashDuringSetup {
protected:
    void SetUp() override {
        GivenACrashDuringSetup::SetUp();
        prepare(tracks_ / 2);
        writeWithoutExtensions(tracks_ / 2, tracks_);
        // Nothing tells but the tags.
        ASSERT_EQ(PlainSqlite(library_.path())
                      .query("DELETE FROM yap WHERE key = '#stale';"
                             "UPDATE yap SET data = 'older' WHERE key = '#versionTag'"),
                  "");
    }
    void writeWithoutExtensions(int first, int end) {
        const YapDatabaseObjectCallbacks callbacks{PLXDatabaseManager::databaseSerializer(),
                                                   PLXDatabaseManager::databaseDeserializer(),
                                                   PLXDatabaseManager::databasePreSanitizer(),
                                                   PLXDatabaseManager::databasePostSanitizer()};
        const auto database =
            YapDatabase::initWithPath(library_.path(), callbacks, callbacks, library_.options);
        ASSERT_TRUE(database->newConnection()->readWrite([&](auto& transaction) {
            for (int track = first; track < end; ++track)
                ASSERT_TRUE(content::importTrack(transaction, track));
        }));
    }
    const int tracks_ = static_cast<int>(testScale(60, 400));  // five rows each, and more
};

TEST_F(GivenALibraryOfOlderRules, WhenTheRebuildIsCutShortThenTheNextSetupRebuildsWholly) {
    const ImageFacts before = images_.read(imageOf(library_.path()));
    recordSetup();
    ASSERT_FALSE(HasFailure());
    EXPECT_GT(end_, before.snapshot + 10) << "the extensions were not rebuilt";
    for (auto snapshot = before.snapshot; snapshot <= end_; ++snapshot)
        rowsAt_[snapshot] = before.rows;
    std::map<std::string, FileImage> images;
    forEachCrash(base_, trace_.events(), {before.snapshot, end_}, testScale(1, 6), testScale(2, 1),
                 [&](const FileImage& image, Allowed allowed, bool) {
                     expectSound(image, allowed);
                     images.emplace(formOf(images_.read(image), image), image);
                 });
    expectOneContentForEachCommit();
    expectWholeLibraries(images, testScale(4, 1));
    report();
}

}  // namespace
}  // namespace qsml
