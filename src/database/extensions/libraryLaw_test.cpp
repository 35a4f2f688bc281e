// Whatever is written to a library, in whatever order: every view, index, search and edge is what a
// rebuild would make of the rows, and what the views announce makes an old list the new one.
//
// QSML_LAW_COMMITS=4000000 sets the number of commits of the histories together; QSML_LAW_SEED=7
// begins at another seed. What failed is named by seed and commit.
#include <gtest/gtest.h>

#include <cstdlib>

#include "database/extensions/testing/LibraryHistory.h"
#include "database/extensions/testing/libraryModel.h"
#include "foundation/text.h"
#include "organisation/PLXMediaItemPlaylist.h"
#include "store/YapDatabase.h"
#include "store/views/testing/ToldLists.h"
#include "testing/OpenLibrary.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

constexpr unsigned numberOfHistories = 8;

std::size_t numberFrom(const char* variable, std::size_t otherwise) {
    const char* const wish = std::getenv(variable);
    return wish && *wish ? std::strtoull(wish, nullptr, 10) : otherwise;
}

class GivenALibraryWithAHistory : public OpenLibrary,
                                  public ::testing::WithParamInterface<unsigned> {
protected:
    GivenALibraryWithAHistory() { setCurrentLocale("en_US"); }
    ~GivenALibraryWithAHistory() override { setCurrentLocale(""); }

    void SetUp() override {
        OpenLibrary::SetUp();
        registerFilteredViews(manager_);
        drain();
        reader_ = manager_.database()->newConnection();
        reader_->setObjectCacheLimit(0);
    }
    static std::size_t commits() {
        return numberFrom("QSML_LAW_COMMITS", testScale(2000, 50'000)) / numberOfHistories;
    }
    static std::size_t commitsPerCheck() { return isWishedFor("QSML_TEST_FULL") ? 1 : 20; }
    static unsigned seed() {
        return static_cast<unsigned>(numberFrom("QSML_LAW_SEED", 1)) + GetParam();
    }
    std::string faults() {
        std::string found;
        manager_.database()->check([&](const YapDatabase::Fault& fault) {
            found += fault.extension + ": " + fault.collection + "/" + fault.key + " " +
                     fault.description + "\n";
        });
        return found;
    }

    void compare(const LibraryHistory& history) {
        reader_->read([&](YapDatabaseReadTransaction& t) {
            for (const auto& [view, rows] : expectViewsOfRows(t, history.rules()))
                rowsShown_[view] += rows;
        });
    }

    using Mappings = YapDatabaseViewMappings;
    using Range = YapDatabaseViewRangeOptions;

    static std::shared_ptr<Mappings> whole(std::vector<String> groups, std::string view) {
        return Mappings::initWithGroups(std::move(groups), std::move(view));
    }
    static std::shared_ptr<Mappings> dynamic(std::vector<String> groups, std::string view) {
        auto made = whole(std::move(groups), std::move(view));
        made->setIsDynamicSectionForAllGroups(true);
        return made;
    }
    static std::shared_ptr<Mappings> ranged(std::string view) {
        auto made = whole({"artist", "mediaItem"}, std::move(view));
        made->setRangeOptions(Range::fixedRange(6, 3), "mediaItem");
        made->setRangeOptions(Range::fixedRange(3, 1, Range::Pin::end), "artist");
        return made;
    }
    /// Lists of every kind of view, of some of its groups.
    std::unique_ptr<ToldLists> lists() {
        auto lists = std::make_unique<ToldLists>(*manager_.database(), textShown);
        const std::vector<String> media{"mediaItem", "playlist", "artist", "genre"},
            playlists{PLXRootMediaItemPlaylistUUID, "p1", "root", "p2", "p3"},
            kinds{"track", "looper", "sampler", "visualizer"};
        for (const char* view : {"mediaView", "searchResultsView", "filteredTracks"})
            lists->add(whole(media, view));
        for (const char* view : {"mediaView", "searchResultsView", "filteredFound"})
            lists->add(ranged(view));
        lists->add(dynamic(media, "searchResultsView"));
        lists->add(whole({"mediaItem"}, "mediaItemsView"));
        lists->add(dynamic({"cloud", "disk", "none"}, "mediaItemOriginalSourceView"));
        lists->add(dynamic({"0", "1", "2", "3"}, "mediaItemKeySignatureIndexView"));
        lists->add(whole(playlists, "mediaItemPlaylistsView"));
        lists->add(whole(playlists, "mediaItemPlaylistView"));
        lists->add(whole({"q0", "q1", "q2"}, "queueView"));
        lists->add(whole({"sessions"}, "historySessionView"));
        lists->add(dynamic(kinds, "allAvailableContentPacksView"));
        lists->add(whole(kinds, "installedContentPacksView"));
        return lists;
    }

    std::shared_ptr<YapDatabaseConnection> reader_;
    std::map<std::string, std::size_t> rowsShown_;  ///< over all comparisons
};

TEST_P(GivenALibraryWithAHistory, WhenEachCommitIsDoneThenEveryExtensionAndListIsWhatTheRowsSay) {
    LibraryHistory history(manager_, seed(), 1);
    const auto quickLists = lists(), slowLists = lists();
    const std::size_t all = commits();
    for (std::size_t i = 0; i < all && !HasFailure(); ++i) {
        history.commit();
        compare(history);
        quickLists->move();
        if (i % 7 == 6) slowLists->move();
        if (i % commitsPerCheck() == 0 || i + 1 == all) {
            EXPECT_EQ(faults(), "");
        }
        drain();
        if (HasFailure()) ADD_FAILURE() << "seed " << seed() << ", commit " << i;
    }
    if (HasFailure()) return;
    for (const auto& [view, rows] : rowsShown_)
        EXPECT_GT(10 * rows, all) << "a law about nothing: " << view;
    EXPECT_GT(quickLists->numberOfChanges(), 4 * all);
}

TEST_P(GivenALibraryWithAHistory, WhenTheLibraryIsLargeThenEveryExtensionAndListIsWhatTheRowsSay) {
    LibraryHistory history(manager_, seed(), 20);
    const auto lists = this->lists();
    const std::size_t all = commits() / 10;
    for (std::size_t i = 0; i < all && !HasFailure(); ++i) {
        if (i % 100 == 0)
            history.commit(1500);
        else
            history.commit();
        lists->move();
        if (i % 25 == 24 || i + 1 == all) {
            compare(history);
            EXPECT_EQ(faults(), "");
        }
        drain();
        if (HasFailure()) ADD_FAILURE() << "seed " << seed() << ", commit " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, GivenALibraryWithAHistory, ::testing::Range(0u, numberOfHistories));

}  // namespace
}  // namespace qsml
