#include <gmock/gmock.h>

#include <algorithm>

#include "EditedLibrary.h"
#include "FourTracks.h"
#include "database/collectionNames.h"
#include "testing/UndecodableObject.h"
#include "tracks/PLXCuePoint.h"
#include "tracks/PLXMediaItemUserData.h"

namespace qsml::app {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

class GivenRecords : public FourTracks {
protected:
    std::vector<rapidjson::Document> dump(const std::string& collection) const {
        const ProgramRun run = qsml({"dump", collection});
        EXPECT_EQ(run.exitStatus, 0) << run.errors;
        return objects(run.output);
    }
    std::vector<rapidjson::Document> edges(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "edges");
        arguments.emplace_back("--json");
        const ProgramRun run = qsml(arguments);
        EXPECT_EQ(run.exitStatus, 0) << run.errors;
        return objects(run.output);
    }
    /// Puts something into a collection that nobody else uses.
    void store(const std::shared_ptr<const Object>& object, const std::string& key) const {
        EditedLibrary(library()).write(
            [&](auto& transaction) { transaction.setObject(Value(object), key, "odds"); });
    }
};

TEST_F(GivenRecords, WhenDumpedThenAllPropertiesStandInKeyOrder) {
    const auto rows = dump("mediaItems");
    ASSERT_EQ(rows.size(), 4u);
    std::vector<std::string> keys;
    for (const auto& row : rows) {
        keys.push_back(text(row, "key"));
        EXPECT_EQ(text(row, "collection"), "mediaItems");
        EXPECT_EQ(text(row, "class"), "PLXMediaItem");
        EXPECT_EQ(text(row, "uuid"), text(row, "key"));
        EXPECT_NE(text(row, "title"), "");
        EXPECT_EQ(number(row, "duration"), 60);
        EXPECT_TRUE(row["drmProtected"].IsBool());
        EXPECT_EQ(text(row["titleID"], "title"), text(row, "title"));
        EXPECT_THAT(texts(row, "artistUUIDs"), SizeIs(1));
    }
    EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end()));
    EXPECT_EQ(qsml({"dump", "mediaItems"}).output, qsml({"dump", "mediaItems"}).output);
}

TEST_F(GivenRecords, WhenRecordsHoldOthersThenThoseAreDumpedToo) {
    const auto cue = PLXCuePoint::initWithNumber(3, 12.5f, "intro");
    const auto data = PLXMediaItemUserData::init();
    data->setCuePoints(std::vector<std::shared_ptr<PLXCuePoint>>{cue});
    store(data, "a");
    const auto rows = dump("odds");
    ASSERT_EQ(rows.size(), 1u);
    const auto& cues = rows[0]["cuePoints"];
    ASSERT_EQ(cues.Size(), 1u);
    EXPECT_EQ(number(cues[0], "number"), 3);
    EXPECT_EQ(number(cues[0], "time"), 12.5);
    EXPECT_EQ(text(cues[0], "comment"), "intro");
}

TEST_F(GivenRecords, WhenRowsCannotBeReadThenTheyAreNamedInTheirPlace) {
    const std::string hostile = "b\"\n\x1b";
    store(std::make_shared<UndecodableObject>(), hostile);
    EditedLibrary(library()).write([](auto& transaction) {
        transaction.setObject(Value("text"), "a", "odds");
        transaction.setObject(Value(7), "c", "odds", Value("about it"));
    });
    const auto rows = dump("odds");
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(text(rows[0], "value"), "text");
    EXPECT_EQ(text(rows[1], "key"), hostile);
    EXPECT_THAT(text(rows[1], "fault"), HasSubstr("it cannot be read"));
    EXPECT_EQ(number(rows[2], "value"), 7);
    EXPECT_EQ(text(rows[2], "metadata"), "about it");
}

TEST_F(GivenRecords, WhenAllIsDumpedThenEveryRowOfEveryCollectionIsThere) {
    const auto rows = objects(qsml({"dump", "--all"}).output);
    EXPECT_EQ(static_cast<double>(rows.size()), number(told({"stats"}), "allRecords"));
    std::vector<std::pair<std::string, std::string>> places;
    for (const auto& row : rows) places.emplace_back(text(row, "collection"), text(row, "key"));
    EXPECT_TRUE(std::is_sorted(places.begin(), places.end()));
}

TEST_F(GivenRecords, WhenTheCollectionIsNoneThenThoseThatAreThereAreNamed) {
    EXPECT_THAT(refusal({"dump", "mediaitems"}),
                HasSubstr("there is no collection \"mediaitems\"; the library has: "));
    EXPECT_EQ(qsml({"dump", "mediaLabels"}).output, "") << "known and empty";
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"dump"},
                                                      {"dump", ""},
                                                      {"dump", "mediaItems", "--all"},
                                                      {"edges", ""},
                                                      {"edges", "--name", ""}})
        EXPECT_EQ(qsml(arguments).exitStatus, 2) << arguments.back();
}

TEST_F(GivenRecords, WhenEdgesAreAskedForThenThoseFromAndToTheRowAreTold) {
    const std::string playlist = text(told({"playlist", "create", "A"}), "uuid");
    const auto item = told({"playlist", "add", "A", "first"});
    const std::string itemUUID = text(item, "uuid"), track = text(item, "mediaItemUUID");
    const std::string toTrack = "mediaItemPlaylistItemMediaItem";

    const auto ofTrack = edges({"first light", "--name", toTrack});
    ASSERT_EQ(ofTrack.size(), 1u);
    EXPECT_EQ(text(ofTrack[0], "sourceKey"), itemUUID);
    EXPECT_EQ(text(ofTrack[0], "destinationCollection"), "mediaItems");
    EXPECT_EQ(text(ofTrack[0], "destinationKey"), track);
    EXPECT_THAT(texts(ofTrack[0], "rules"), ElementsAre("deleteSourceIfDestinationDeleted"));
    EXPECT_FALSE(ofTrack[0]["isManual"].GetBool());
    EXPECT_FALSE(ofTrack[0]["isDestinationMissing"].GetBool());

    std::vector<std::string> names;
    for (const auto& edge : edges({itemUUID})) names.push_back(text(edge, "name"));
    EXPECT_THAT(names,
                ElementsAre(toTrack, "mediaItemPlaylistItemPlaylist", "mediaItemPlaylistItem"));
    EXPECT_THAT(edges({"mediaItemPlaylists/" + playlist}), SizeIs(4));
    EXPECT_THAT(edges({"--name", toTrack}), SizeIs(1));
    EXPECT_GE(edges({}).size(), 6u);
    EXPECT_EQ(qsml({"edges", "first", "--name", toTrack}).output,
              "mediaItemPlaylistItems/" + itemUUID + " --" + toTrack + "--> mediaItems/" + track +
                  "  [deleteSourceIfDestinationDeleted]\n");
    EXPECT_THAT(refusal({"edges", "nothing like it"}), HasSubstr("no track has the ID"));
}

}  // namespace
}  // namespace qsml::app
