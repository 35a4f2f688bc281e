#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "testing/cueJSON.h"
#include "testing/recordArchives.h"
#include "testing/userData.h"
#include "tracks/detail/testing/userDataKeys.h"

namespace qsml {
namespace {

struct HostileText {
    std::string text;
    bool isCue = false, isLoop = false, isTitleID = false;
};

/// Texts that none of the kinds takes.
std::vector<HostileText> textsThatAreNoObject() {
    const std::string cue = R"({"time":1,"number":2})";
    return {
        {""},
        {" "},
        {std::string(1, '\0')},
        {"null"},
        {"true"},
        {"0"},
        {"1e999"},
        {"-"},
        {"NaN"},
        {"\"text\""},
        {"\"{}\""},
        {"[]"},
        {"[" + cue + "]"},
        {"{"},
        {"}"},
        {"{}}"},
        {"{} {}"},
        {"{},"},
        {"{'time':1,'number':2}"},
        {"{time:1,number:2}"},
        {R"({"time":1,"number":2,})"},
        {R"({"time":1 "number":2})"},
        {R"({"time":01,"number":2})"},
        {R"({"time":.5,"number":2})"},
        {R"({"time":1.,"number":2})"},
        {R"({"time":+1,"number":2})"},
        {R"({"time":0x1,"number":2})"},
        {R"({"time":Infinity,"number":2})"},
        {R"({"time":1e999,"number":2})"},
        {R"({"time":1,"number":2)"},
        {cue + "x"},
        {"\xEF\xBB\xBF" + cue + cue},
        {"/* */" + cue},
        {"{\"time\":1,\"number\":2,\"comment\":\"\xFF\"}"},
        {R"({"time":1,"number":2,"comment":"\ud800"})"},
        {R"({"time":1,"number":2,"comment":"\udfa7"})"},
        {R"({"time":1,"number":2,"\ude00":1})"},
        {R"({"time":1,"number":2,"comment":"\x41"})"},
        {"{\"time\":1,\"number\":2,\"comment\":\"line\nend\"}"},
        {std::string(100'000, '[')},
        {std::string(600, '[') + std::string(600, ']')},
        {R"({"time":1,"number":2,"comment":)" + std::string(513, '[') + std::string(513, ']') +
         "}"},
        {std::string(100'000, '{')},
        {R"({"a":)" + std::string(100'000, 'x')},
    };
}

/// What a text of the cloud may hold, and what each kind makes of it.
std::vector<HostileText> hostileTexts() {
    const std::string longText(100'000, 'x');
    std::vector<HostileText> texts = {
        {"{}", false, false, true},
        {" \r\n\t{ } ", false, false, true},
        {R"({"time":1,"number":2})", true, false, true},
        {R"({"time":null,"number":2})", false, false, true},
        {R"({"time":1,"number":{}})", false, false, true},
        {R"({"time":1,"time":[],"number":2})", false, false, true},
        {R"({"time":[],"time":1,"number":2})", true, false, true},
        {R"({"time":1e99,"number":-1e99,"startTime":"","endTime":"z"})", true, true, true},
        {R"({"time":"","number":""})", true, false, true},
        {R"({"time":true,"number":false})", true, false, true},
        {R"({"time":1,"number":2,"comment":{"time":1}})", true, false, true},
        {R"({"time":1,"number":2,"comment":"\u0000"})", true, false, true},
        {R"({"time":1,"number":2,"comment":")" + longText + "\"}", true, false, true},
        {R"({"time":1,"number":2,"comment":)" + std::string(500, '[') + std::string(500, ']') + "}",
         true, false, true},
        {R"({"startTime":2,"endTime":1,"number":2})", false, true, true},
        {R"({"uuid":5,"title":[],"artist":{},"duration":"x","internalID":null,"isrc":true})", false,
         false, true},
        {R"({"uuid":" ","duration":"-1e999"})", false, false, true},
        {R"({"":1,"$class":"PLXCuePoint"})", false, false, true},
    };
    const auto others = textsThatAreNoObject();
    texts.insert(texts.end(), others.begin(), others.end());
    return texts;
}

TEST(GivenHostileTextsFromTheCloud, WhenTakenAsAPointThenItIsThatOrNil) {
    for (const auto& hostile : hostileTexts())
        for (const char* key : pointKeys) {
            const auto data = filledUserData();
            ASSERT_TRUE(data->setLocalValueFromCloudValue(Value(hostile.text), key));
            EXPECT_EQ(!data->valueForKey(key).isNil(), hostile.isCue) << hostile.text.substr(0, 80);
            data->setValueForKey(key, filledUserData()->valueForKey(key));
            EXPECT_EQ(archiveOf(*data), archiveOf(*filledUserData())) << "the rest stays";
        }
}

TEST(GivenHostileTextsFromTheCloud, WhenTakenInAListThenTheyAreLeftOutWhereTheyAreNone) {
    const char* const good[] = {R"({"time":1,"number":2})",
                                R"({"startTime":1,"endTime":2,"number":3})", R"({"uuid":"good"})"};
    for (const auto& hostile : hostileTexts()) {
        const bool isOne[] = {hostile.isCue, hostile.isLoop, hostile.isTitleID};
        for (std::size_t i = 0; i < std::size(listKeys); ++i) {
            const auto data = filledUserData();
            const Value::Array texts{Value(hostile.text), Value(good[i])};
            ASSERT_TRUE(data->setLocalValueFromCloudValue(Value(texts), listKeys[i]));
            EXPECT_EQ(data->valueForKey(listKeys[i]).elements().size(), isOne[i] ? 2U : 1U)
                << listKeys[i] << " " << hostile.text.substr(0, 80);
        }
        EXPECT_TRUE(survivesCueJSON(hostile.text)) << hostile.text.substr(0, 80);
    }
}

/// What fuzzing found interesting stays covered where there is no fuzzer.
TEST(GivenTheFuzzingCorpusOfCueJSON, WhenReplayedThenWhatWasReadComesBack) {
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(QSML_FUZZ_CORPUS "/cue_json")) {
        std::ifstream file(entry.path(), std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        EXPECT_TRUE(survivesCueJSON(text.str())) << entry.path();
        ++files;
    }
    EXPECT_GT(files, 0U);
}

}  // namespace
}  // namespace qsml
