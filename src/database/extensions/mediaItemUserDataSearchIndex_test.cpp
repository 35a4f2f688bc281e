#include <gtest/gtest.h>

#include "database/extensions/testing/IndexedLibrary.h"

namespace qsml {
namespace {

using TitleID = std::shared_ptr<const PLXMediaItemTitleID>;

class GivenASearchOfISRCs : public IndexedLibrary {
protected:
    void storeUserData(const String& key, const std::vector<String>& isrcs) {
        std::vector<TitleID> titleIDs;
        for (const String& isrc : isrcs) {
            const std::string title = "Song " + std::to_string(titleIDs.size());
            titleIDs.push_back(PLXMediaItemTitleID::initWithTitle(title, "Band", 1, isrc));
        }
        const auto data = PLXMediaItemUserData::initWithUUID(key);
        data->setTitleIDs(titleIDs);
        store(data, "mediaItemUserData");
    }
    Keys found(const std::string& query) { return matches("mediaItemUserDataSearchIndex", query); }
};

TEST_F(GivenASearchOfISRCs, WhenABracedISRCIsSearchedThenOnlyThatOneMatches) {
    storeUserData("a", {"DE-A01"});
    storeUserData("b", {"DE-A012"});
    storeUserData("c", {"XDE-A01"});
    storeUserData("d", {"DE", "A01"});
    EXPECT_EQ(found("isrcs: \"{{DE-A01}}\""), Keys{"a"});
    EXPECT_EQ(found("isrcs: \"{{DE-A012}}\""), Keys{"b"});
    EXPECT_EQ(found("isrcs: \"{{A01}}\""), Keys{"d"});
    EXPECT_EQ(found("isrcs: \"A01\""), Keys{}) << "braces belong to the words";
    EXPECT_EQ(found("isrcs: \"{{DE}}\" OR isrcs: \"{{XDE-A01}}\""), (Keys{"c", "d"}));
}

TEST_F(GivenASearchOfISRCs, WhenThereAreSeveralThenTheyAreJoinedInOrderAndNilIsSkipped) {
    storeUserData("a", {nullptr, "ONE", nullptr, "TWO"});
    EXPECT_EQ(found("isrcs: \"{{ONE}} {{TWO}}\""), Keys{"a"});
    EXPECT_EQ(found("isrcs: \"{{TWO}} {{ONE}}\""), Keys{});
    EXPECT_EQ(found("isrcs: \"{{null}}\" OR isrcs: \"{{}}\""), Keys{});
}

TEST_F(GivenASearchOfISRCs, WhenTheRecordChangesThenSoDoesWhatIsFound) {
    storeUserData("a", {"ONE"});
    storeUserData("a", {"TWO"});
    EXPECT_EQ(found("isrcs: \"{{ONE}}\""), Keys{});
    EXPECT_EQ(found("isrcs: \"{{TWO}}\""), Keys{"a"});
    storeUserData("a", {nullptr});
    EXPECT_EQ(found("isrcs: \"{{TWO}}\""), Keys{});
}

TEST_F(GivenASearchOfISRCs, WhenRecordsAreOfOtherKindsOrHaveNoneThenTheyAreNotFound) {
    const auto titleID = PLXMediaItemTitleID::initWithTitle("Song", "Band", 1, "ONE");
    store(titleID, "mediaItemTitleIDs");
    store(PLXMediaItem::initWithTitleID(titleID), "mediaItems");
    store(PLXMediaItemUserData::initWithUUID("bare"), "mediaItemUserData");
    storeUserData("empty", {});
    EXPECT_EQ(found("isrcs: \"{{ONE}}\""), Keys{});
}

}  // namespace
}  // namespace qsml
