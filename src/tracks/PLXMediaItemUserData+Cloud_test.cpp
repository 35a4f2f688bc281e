#include <gtest/gtest.h>

#include <cmath>

#include "foundation/JSON.h"
#include "testing/recordArchives.h"
#include "testing/userData.h"
#include "tracks/detail/testing/userDataKeys.h"

namespace qsml {
namespace {

using Record = PLXMediaItemUserData;
using Kind = Value::Kind;

Value textList(std::initializer_list<const char*> texts) {
    return Value(Value::Array(texts.begin(), texts.end()));
}

TEST(GivenUserData, WhenItsCloudKeysAreAskedThenWhatStaysOnTheDeviceIsNotAmongThem) {
    EXPECT_EQ(Record::classObject().allCloudProperties(),
              (KeySet{"titleIDs", "startPoint", "endPoint", "automixStartPoint", "automixEndPoint",
                      "cuePoints", "loopRegions", "highEQ", "midEQ", "lowEQ", "rating", "energy",
                      "playCount"}));
    const auto data = filledUserData();
    for (const char* key : localKeys) {
        EXPECT_FALSE(data->cloudKeyForLocalKey(key)) << key;
        EXPECT_TRUE(data->cloudValueForCloudKey(key).isNil()) << key;
        EXPECT_TRUE(data->setLocalValueFromCloudValue(Value(9), key)) << "ignored";
        EXPECT_FALSE(data->userChangedCloudKeys().contains(key)) << key;
    }
    EXPECT_EQ(archiveOf(*data), archiveOf(*filledUserData()));
}

TEST(GivenFilledUserData, WhenSentThenPointsAreCompactJSONTexts) {
    const auto data = filledUserData();
    for (const char* key : pointKeys) {
        const Value sent = data->cloudValueForCloudKey(key);
        ASSERT_EQ(sent.kind(), Kind::string) << key;
        const auto point =
            std::static_pointer_cast<const PLXCuePoint>(data->localValueForLocalKey(key).object());
        EXPECT_EQ(sent, Value(jsonText(point->JSONObjectRepresentation()))) << key;
        EXPECT_EQ(sent.string().view().find_first_of(" \n"), std::string_view::npos);
    }
    EXPECT_EQ(valueOfJSONText(data->cloudValueForCloudKey("startPoint").string()),
              Value(Dictionary{{"time", 0.5}, {"number", 1}, {"comment", "start"}}));
}

TEST(GivenFilledUserData, WhenSentThenListsAreArraysOfJSONTextsInOrder) {
    const auto data = filledUserData();
    const Value cues = data->cloudValueForCloudKey("cuePoints");
    ASSERT_EQ(cues.kind(), Kind::array);
    ASSERT_EQ(cues.elements().size(), 2U);
    EXPECT_EQ(valueOfJSONText(cues.elements()[0].string()),
              Value(Dictionary{{"time", 12.5}, {"number", 0}, {"comment", "drop"}}));
    EXPECT_EQ(valueOfJSONText(cues.elements()[1].string()).dictionary()["number"], Value(7));
    const Value loops = data->cloudValueForCloudKey("loopRegions");
    ASSERT_EQ(loops.elements().size(), 2U);
    EXPECT_EQ(
        valueOfJSONText(loops.elements()[0].string()),
        Value(Dictionary{{"startTime", 16}, {"endTime", 32}, {"number", 1}, {"comment", "hook"}}));
    const Value titleIDs = data->cloudValueForCloudKey("titleIDs");
    ASSERT_EQ(titleIDs.kind(), Kind::array);
    ASSERT_EQ(titleIDs.elements().size(), 1U);
    EXPECT_EQ(titleIDs.elements()[0],
              Value(jsonText(*data->titleIDs()->front()->JSONObjectRepresentation())));
}

TEST(GivenFilledUserData, WhenSentThenNumbersGoAsTheyAre) {
    const auto data = filledUserData();
    EXPECT_EQ(data->cloudValueForCloudKey("highEQ").kind(), Kind::real32);
    EXPECT_EQ(data->cloudValueForCloudKey("highEQ"), Value(0.1F));
    EXPECT_EQ(data->cloudValueForCloudKey("rating"), Value(4));
    EXPECT_EQ(data->cloudValueForCloudKey("energy"), Value(6));
    EXPECT_EQ(data->cloudValueForCloudKey("playCount"), Value(12));
}

TEST(GivenUserDataWithoutObjects, WhenSentThenNilIsNilAndEmptyIsEmpty) {
    const auto data = Record::init();
    for (const char* key : pointKeys) EXPECT_TRUE(data->cloudValueForCloudKey(key).isNil());
    for (const char* key : listKeys) EXPECT_TRUE(data->cloudValueForCloudKey(key).isNil());
    data->setCuePoints(CuePoints());
    EXPECT_EQ(data->cloudValueForCloudKey("cuePoints"), Value(Value::Array()));
}

TEST(GivenElementsWithoutAJSONText, WhenSentThenTheyAreLeftOut) {
    const auto data = Record::init();
    const auto good = PLXCuePoint::initWithNumber(1, 2, nullptr);
    const auto bad = PLXCuePoint::initWithNumber(2, NAN, nullptr);
    data->setStartPoint(bad);
    data->setEndPoint(PLXCuePoint::initWithNumber(1, 1, "\xFF"));
    data->setCuePoints(CuePoints{bad, good, bad});
    data->setLoopRegions(LoopRegions{PLXLoopRegion::initWithNumber(1, 0, INFINITY, nullptr)});
    data->setTitleIDs(TitleIDs{PLXMediaItemTitleID::initWithUUID(nullptr),
                               PLXMediaItemTitleID::initWithUUID("u")});
    EXPECT_TRUE(data->cloudValueForCloudKey("startPoint").isNil());
    EXPECT_TRUE(data->cloudValueForCloudKey("endPoint").isNil());
    EXPECT_EQ(data->cloudValueForCloudKey("cuePoints"),
              Value(Value::Array{Value(jsonText(good->JSONObjectRepresentation()))}));
    EXPECT_EQ(data->cloudValueForCloudKey("loopRegions"), Value(Value::Array()));
    EXPECT_EQ(data->cloudValueForCloudKey("titleIDs").elements().size(), 1U);
}

TEST(GivenFilledUserData, WhenNilComesFromTheCloudThenObjectsGoAndNumbersStay) {
    const auto data = filledUserData();
    for (const char* key : pointKeys) EXPECT_TRUE(data->setLocalValueFromCloudValue({}, key));
    for (const char* key : listKeys) EXPECT_TRUE(data->setLocalValueFromCloudValue({}, key));
    EXPECT_FALSE(data->startPoint() || data->endPoint() || data->automixStartPoint() ||
                 data->automixEndPoint() || data->cuePoints() || data->loopRegions() ||
                 data->titleIDs());
    for (const char* key : {"highEQ", "rating", "playCount"})
        EXPECT_FALSE(data->setLocalValueFromCloudValue({}, key)) << key;
    EXPECT_EQ(data->rating(), 4);
}

TEST(GivenFilledUserData, WhenNumbersComeFromTheCloudThenTheyAreTaken) {
    const auto data = filledUserData();
    EXPECT_TRUE(data->setLocalValueFromCloudValue(Value(0.75), "highEQ"));
    EXPECT_TRUE(data->setLocalValueFromCloudValue(Value(2), "rating"));
    EXPECT_TRUE(data->setLocalValueFromCloudValue(Value(99), "playCount"));
    EXPECT_FALSE(data->setLocalValueFromCloudValue(Value("5"), "energy")) << "no number";
    EXPECT_EQ(data->highEQ(), 0.75F);
    EXPECT_EQ(data->rating(), 2);
    EXPECT_EQ(data->playCount(), 99U);
    EXPECT_EQ(data->energy(), 6);
}

TEST(GivenFilledUserData, WhenACloudValueIsOfTheWrongKindThenItIsRefusedAndNothingChanges) {
    const Value text(R"({"time":1,"number":2})");
    const Value notForPoints[] = {Value(Null()),
                                  Value(true),
                                  Value(7),
                                  Value(std::uint64_t{7}),
                                  Value(1.5F),
                                  Value(1.5),
                                  Value(Date{1}),
                                  Value(Data(std::vector<std::uint8_t>{'{', '}'})),
                                  Value(*URL::withString("file:///x")),
                                  Value(UUID{}),
                                  Value(Value::Array{text}),
                                  Value(Value::Array{}),
                                  Value(ValueSet{text}),
                                  Value(OrderedSet<Value>{text}),
                                  Value(Dictionary{{"time", 1}, {"number", 2}}),
                                  Value(PLXCuePoint::init())};
    const auto data = filledUserData();
    const auto before = archiveOf(*data);
    data->clearChangedProperties();
    for (const Value& value : notForPoints) {
        for (const char* key : pointKeys)
            EXPECT_FALSE(data->setLocalValueFromCloudValue(value, key)) << value.description();
        if (value.isCollection()) continue;
        for (const char* key : listKeys)
            EXPECT_FALSE(data->setLocalValueFromCloudValue(value, key)) << value.description();
    }
    for (const char* key : listKeys)
        EXPECT_FALSE(data->setLocalValueFromCloudValue(text, key)) << "one text is no list";
    EXPECT_EQ(archiveOf(*data), before);
    EXPECT_EQ(data->changedProperties(), std::nullopt);
}

TEST(GivenFrozenUserData, WhenACloudValueComesThenItThrowsAndNothingChanges) {
    const auto data = filledUserData();
    data->makeImmutable();
    const Value point(R"({"time":1,"number":2})");
    EXPECT_THROW((void)data->setLocalValueFromCloudValue(point, "startPoint"),
                 PLXDatabaseObjectException);
    EXPECT_THROW((void)data->setLocalValueFromCloudValue(textList({}), "cuePoints"),
                 PLXDatabaseObjectException);
    EXPECT_EQ(archiveOf(*data), archiveOf(*filledUserData()));
}

TEST(GivenAList, WhenSomeOfItCannotBeReadThenTheRestIsTakenInOrder) {
    const auto data = Record::init();
    const Value list(Value::Array{Value(R"({"time":1,"number":5})"), Value(7), Value(Null()),
                                  Value("no JSON"), Value(R"({"time":2})"), Value(Value::Array{}),
                                  Value(R"({"number":3,"time":"2.5","comment":" x "})")});
    ASSERT_TRUE(data->setLocalValueFromCloudValue(list, "cuePoints"));
    ASSERT_EQ(data->cuePoints()->size(), 2U);
    EXPECT_TRUE(data->cuePoints()->at(0)->isEqual(*PLXCuePoint::initWithNumber(5, 1, nullptr)));
    EXPECT_TRUE(data->cuePoints()->at(1)->isEqual(*PLXCuePoint::initWithNumber(3, 2.5F, "x")));
    EXPECT_EQ(data->changedProperties(), KeySet{"cuePoints"});
}

TEST(GivenAList, WhenNothingOfItCanBeReadThenNilIsStored) {
    const auto data = filledUserData();
    for (const char* key : listKeys) {
        EXPECT_TRUE(data->setLocalValueFromCloudValue(textList({"x", "[]", ""}), key));
        EXPECT_TRUE(data->valueForKey(key).isNil()) << key;
    }
    EXPECT_TRUE(data->setLocalValueFromCloudValue(textList({}), "cuePoints"));
    EXPECT_FALSE(data->cuePoints()) << "an empty list is none";
}

TEST(GivenTitleIDsFromTheCloud, WhenTwoSayTheSameThenTheyAreOneAndOthersAreAllKept) {
    const auto data = Record::init();
    ASSERT_TRUE(data->setLocalValueFromCloudValue(
        textList({R"({"uuid":"a","title":"One"})", R"({"uuid":"b","internalID":"a"})",
                  R"({"uuid":"c"})", R"({"uuid":"a","title":"One"})", R"({})"}),
        "titleIDs"));
    ASSERT_EQ(data->titleIDs()->size(), 4U);
    EXPECT_EQ(data->titleIDs()->at(0)->title(), "One");
    EXPECT_EQ(data->titleIDs()->at(1)->uuid(), "b") << "one internal ID, but other metadata";
    EXPECT_EQ(data->titleIDs()->at(2)->uuid(), "c");
    EXPECT_EQ(data->titleIDs()->at(3)->uuid(), "b1de3e6f1eadcc6cdd67ad7cd2635dc4") << "legacy";
}

TEST(GivenTitleIDsOfOneInternalID, WhenStoredAndSentThenEachOfThemIsThere) {
    for (const std::size_t count : {std::size_t{2}, std::size_t{12}}) {
        std::vector<std::shared_ptr<PLXMediaItemTitleID>> ids;
        for (std::size_t i = 0; i < count; ++i) {
            ids.push_back(PLXMediaItemTitleID::initWithTitle("Title " + std::to_string(i), "A", 1,
                                                             "ISRC" + std::to_string(i)));
            ids.back()->setInternalID("same");
        }
        const auto data = Record::initWithUUID("same");
        data->setTitleIDs(ids);
        EXPECT_EQ(recordFrom<Record>(archiveOf(*data))->titleIDs()->size(), count);
        EXPECT_EQ(data->cloudValueForCloudKey("titleIDs").elements().size(), count);
    }
}

TEST(GivenACloudValueOfAnotherWriter, WhenItSaysTheSameThenItIsEqual) {
    const auto data = Record::init();
    const auto isEqual = [&](const char* key, const Value& a, const Value& b) {
        EXPECT_EQ(data->isEqualCloudValue(a, b, key), data->isEqualCloudValue(b, a, key));
        return data->isEqualCloudValue(a, b, key);
    };
    const Value mine(R"({"time":12.5,"number":2,"comment":"a/b"})");
    EXPECT_TRUE(isEqual("startPoint", mine, mine));
    EXPECT_TRUE(isEqual("startPoint", mine,
                        Value(R"( {"comment" : " a\/b ", "number":2.0, "time":12.50} )")));
    EXPECT_FALSE(isEqual("startPoint", mine, Value(R"({"time":12.5,"number":2})")));
    EXPECT_FALSE(isEqual("startPoint", mine, Value(R"({"time":12.6,"number":2,"comment":"a/b"})")));
    EXPECT_FALSE(isEqual("startPoint", mine, Value()));
    EXPECT_FALSE(isEqual("startPoint", Value("damaged"), Value("damaged otherwise")));
    EXPECT_FALSE(isEqual("name", mine, Value(R"({"number":2,"time":12.5,"comment":"a/b"})")))
        << "no other key is read as JSON";
    const auto cues = textList({R"({"time":1,"number":1})", R"({"time":2,"number":2})"});
    EXPECT_TRUE(isEqual("cuePoints", cues,
                        textList({R"({"number":1,"time":1.0})", R"({"number":2,"time":2})"})));
    EXPECT_FALSE(isEqual("cuePoints", cues,
                         textList({R"({"time":2,"number":2})", R"({"time":1,"number":1})"})))
        << "the order of cues counts";
    EXPECT_TRUE(isEqual("titleIDs", textList({R"({"uuid":"a"})", R"({"uuid":"b"})"}),
                        textList({R"({"uuid":"b"})", R"({"uuid":"a","duration":0})"})))
        << "that of a set does not";
}

}  // namespace
}  // namespace qsml
