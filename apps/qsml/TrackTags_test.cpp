#include "TrackTags.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qsml::app {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class GivenTheFieldsOfAFile : public ::testing::Test {
protected:
    TrackTags read(const TagFields& fields, TagOptions options = {}) {
        TrackTags tags;
        repairs_.clear();
        takeFields(fields, options, tags, repairs_);
        return tags;
    }
    std::vector<std::string> repairs_;
};

TEST_F(GivenTheFieldsOfAFile, WhenThereAreNoneThenAllIsUnknown) {
    const TrackTags tags = read({});
    EXPECT_FALSE(tags.title || tags.artistText || tags.isrc);
    EXPECT_EQ(tags.bpm, 0.0f);
    EXPECT_EQ(tags.musicalKeySignatureIndex, -1);
    EXPECT_THAT(repairs_, IsEmpty());
}

TEST_F(GivenTheFieldsOfAFile, WhenThereAreSeveralValuesThenTheyStayApart) {
    const TrackTags tags = read({{"ARTIST", {"A, B", "C"}}, {"GENRE", {"House", "Techno"}}});
    EXPECT_THAT(tags.artists, ElementsAre("A, B", "C"));
    EXPECT_EQ(tags.artistText, "A, B, C");
    EXPECT_THAT(tags.genres, ElementsAre("House", "Techno"));
}

TEST_F(GivenTheFieldsOfAFile, WhenSplitThenTheArtistTextStaysAsTagged) {
    const TrackTags tags = read({{"ARTIST", {"A & B feat. C"}}}, {.splitsNames = true});
    EXPECT_THAT(tags.artists, ElementsAre("A", "B", "C"));
    EXPECT_EQ(tags.artistText, "A & B feat. C");
}

TEST_F(GivenTheFieldsOfAFile, WhenBlankThenNilAndNoRepair) {
    const TrackTags tags = read({{"TITLE", {"  \n"}}, {"ALBUM", {" X "}}});
    EXPECT_FALSE(tags.title);
    EXPECT_EQ(tags.album, "X");
    EXPECT_THAT(repairs_, IsEmpty());
}

TEST_F(GivenTheFieldsOfAFile, WhenFieldsAreOddThenOnlyTheyAreLostAndNamed) {
    const TrackTags tags = read({{"TITLE", {"T"}},
                                 {"BPM", {"fa\x1Bst"}},
                                 {"DATE", {"soon"}},
                                 {"ISRC", {"X"}},
                                 {"TRACKNUMBER", {"A1"}},
                                 {"INITIALKEY", {"H"}},
                                 {"ALBUM", {"\xFF"}},
                                 {"COMPOSER", {""}}});
    EXPECT_EQ(tags.title, "T");
    EXPECT_FALSE(tags.album || tags.composer || tags.isrc || tags.releaseDate);
    EXPECT_THAT(repairs_,
                ElementsAre("ALBUM is empty or not valid text",
                            "COMPOSER is empty or not valid text", "ISRC \"X\" is no ISRC",
                            "DATE \"soon\" is no date", "TRACKNUMBER \"A1\" is no number",
                            "BPM \"fa\\x1Bst\" is no tempo", "INITIALKEY \"H\" is no musical key"));
}

TEST_F(GivenTheFieldsOfAFile, WhenOnlyTheYearMakesSenseThenItIsKeptAndTheRestNamed) {
    const TrackTags tags = read({{"DATE", {"2012-13-40"}}});
    EXPECT_EQ(tags.year, 2012);
    EXPECT_FALSE(tags.releaseDate);
    EXPECT_THAT(repairs_, ElementsAre("DATE \"2012-13-40\" is no whole date"));
}

TEST_F(GivenTheFieldsOfAFile, WhenCountsStandAloneThenTheyAreRead) {
    const TrackTags tags = read({{"TRACKNUMBER", {"3"}},
                                 {"TOTALTRACKS", {"12"}},
                                 {"DISCNUMBER", {"1/2"}},
                                 {"COMPILATION", {"1"}},
                                 {"ITUNESADVISORY", {"1"}}});
    EXPECT_EQ(tags.albumTrackNumber, 3);
    EXPECT_EQ(tags.albumTrackCount, 12);
    EXPECT_EQ(tags.albumDiscNumber, 1);
    EXPECT_EQ(tags.albumDiscCount, 2);
    EXPECT_EQ(tags.albumType, 1);
    EXPECT_TRUE(tags.explicitContent);
}

}  // namespace
}  // namespace qsml::app
