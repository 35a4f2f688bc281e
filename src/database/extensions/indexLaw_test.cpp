// Whatever is written to the records of a library, in whatever order: its indexes are what a
// rebuild would make.
#include <gtest/gtest.h>

#include <random>

#include "contentpacks/PLXLooperPack.h"
#include "contentpacks/PLXTrackPack.h"
#include "database/extensions/testing/IndexedLibrary.h"
#include "testing/testScale.h"

namespace qsml {
namespace {

/// Random records under a few keys, so that they meet each other.
class RandomRecords {
public:
    using Writer = YapDatabaseReadWriteTransaction;

    void change(Writer& transaction) {
        const Kind& kind = kinds_[below(std::size(kinds_))];
        const std::string key = keyIn(kind.collection);
        switch (below(8)) {
            case 0:
                transaction.removeObjectForKey(key, kind.collection);
                break;
            case 1:
                transaction.touchObjectForKey(key, kind.collection);
                break;
            case 2:
                if (below(15) == 0) transaction.removeAllObjectsInCollection(kind.collection);
                break;
            default:
                EXPECT_TRUE(transaction.setObject((this->*kind.make)(key), key, kind.collection));
        }
    }
    std::size_t below(std::size_t limit) { return random_() % limit; }

private:
    using Made = std::shared_ptr<const Object>;
    struct Kind {
        const char* collection;
        Made (RandomRecords::*make)(const std::string& key);
    };

    /// What analysis found lies under the keys of user data.
    std::string keyIn(std::string_view collection) {
        const bool isAnalyzed = collection == "mediaItemAnalyzedData";
        return std::string(isAnalyzed ? "mediaItemUserData" : collection) +
               std::to_string(below(4));
    }
    String text() {
        static const char* const words[] = {"Bells", "Café", "東京", "{{X}}", "a b", ""};
        const std::size_t word = below(std::size(words) + 1);
        return word == std::size(words) ? String() : String(words[word]);
    }
    std::optional<OrderedSet<String>> keys(std::string_view collection) {
        if (below(4) == 0) return std::nullopt;
        std::vector<String> some;
        for (std::size_t left = below(4); left > 0; --left) some.emplace_back(keyIn(collection));
        return OrderedSet<String>(some);
    }

    template <class Record>
    Made named(const std::string& key) {
        const auto made = Record::initWithUUID(key);
        made->setName(text());
        return made;
    }
    Made track(const std::string& key) {
        const auto made = PLXMediaItem::initWithUUID(key);
        made->setTitle(text());
        made->setComments(text());
        made->setGrouping(text());
        made->setArtistUUIDs(keys("mediaArtists"));
        made->setAlbumArtistUUIDs(keys("mediaArtists"));
        made->setGenreUUIDs(keys("mediaGenres"));
        if (below(2)) made->setAlbumUUID(keyIn("mediaAlbums"));
        if (below(2)) made->setTitleID(titleID(text()));
        return made;
    }
    std::shared_ptr<const PLXMediaItemTitleID> titleID(const String& title) {
        return PLXMediaItemTitleID::initWithTitle(title, "Band", 1, text());
    }
    Made userData(const std::string& key) {
        const auto made = PLXMediaItemUserData::initWithUUID(key);
        // Different ones, as the elements of a set are.
        if (below(2)) made->setTitleIDs(std::vector{titleID("One"), titleID("Two")});
        made->setManualBPM(static_cast<float>(below(3)) * 60);
        made->setTagUUIDs(keys("mediaItemTags"));
        return made;
    }
    Made analyzedData(const std::string& key) {
        const auto made = PLXMediaItemAnalyzedData::initWithUUID(key);
        made->setBpm(static_cast<float>(below(3)) * 64);
        made->setKeySignatureIndex(static_cast<std::int64_t>(below(3)) - 1);
        return made;
    }
    Made tag(const std::string& key) {
        const auto made = PLXMediaItemTag::initWithUUID(key);
        made->setValue(text());
        return made;
    }

    using Self = RandomRecords;
    static constexpr const char* tracks_ = "mediaItems";
    const Kind kinds_[13] = {{tracks_, &Self::track},
                             {tracks_, &Self::track},
                             {tracks_, &Self::named<PLXMediaArtist>},
                             {"mediaArtists", &Self::named<PLXMediaArtist>},
                             {"mediaArtists", &Self::named<PLXMediaGenre>},
                             {"mediaAlbums", &Self::named<PLXMediaAlbum>},
                             {"mediaGenres", &Self::named<PLXMediaGenre>},
                             {"mediaItemTags", &Self::tag},
                             {"mediaItemUserData", &Self::userData},
                             {"mediaItemAnalyzedData", &Self::analyzedData},
                             {"mediaItemPlaylists", &Self::named<PLXMediaItemPlaylist>},
                             {"contentPacks", &Self::named<PLXLooperPack>},
                             {"userContentPacks", &Self::named<PLXTrackPack>}};
    std::mt19937 random_{20'260'101};
};

class GivenARandomHistoryOfRecords : public IndexedLibrary {};

TEST_F(GivenARandomHistoryOfRecords, WhenEachCommitIsDoneThenEveryIndexEqualsARebuild) {
    manager_.setupMediaItemSecondaryIndexExtension();
    manager_.setupMediaItemUserDataSecondaryIndexExtension();
    const std::shared_ptr<YapDatabaseConnection> connections[] = {
        manager_.bgDatabaseConnection(), manager_.database()->newConnection()};
    RandomRecords records;
    std::size_t rows = 0;
    for (std::size_t i = testScale(400, 20'000); i > 0 && !HasFailure(); --i) {
        EXPECT_TRUE(connections[records.below(2)]->readWrite([&](Writer& transaction) {
            for (std::size_t left = 1 + records.below(6); left > 0; --left)
                records.change(transaction);
            if (records.below(15) == 0) transaction.rollback();
        }));
        ASSERT_EQ(faults(), "") << i << " commits are left";
        for (const char* index : {"mediaItemAnalyzedDataIndex", "mediaItemUserDataIndex"})
            rows += rowsIn(index);
        rows += matches("searchIndex", "bells").size();
    }
    EXPECT_GT(rows, testScale(400, 20'000)) << "the history has something to index";
}

}  // namespace
}  // namespace qsml
