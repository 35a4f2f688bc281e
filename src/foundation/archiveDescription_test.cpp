#include "foundation/archiveDescription.h"

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <limits>

#include "testing/ArchiveBuilder.h"
#include "testing/SampleRecord.h"

namespace qsml {
namespace {

using B = ArchiveBuilder;

TEST(ArchiveDescription, OfARecordThenJSONWithoutKnowingTheClass) {
    B b;
    const auto root = b.instance("SomeUnknownClass", {{"n", b.integer(-1)},
                                                      {"r", b.real(0.5)},
                                                      {"b", b.boolean(true)},
                                                      {"d", b.data("\x01\x02")},
                                                      {"t", b.date(0.5)},
                                                      {"u", b.uid(0)}});
    EXPECT_EQ(
        archiveDescription(b.archive(root)),
        "{\"version\":100000,\"archiver\":\"NSKeyedArchiver\",\"top\":{\"root\":{\"$uid\":2}},"
        "\"objects\":[\"$null\",{\"$classname\":\"SomeUnknownClass\",\"$classes\":["
        "\"SomeUnknownClass\",\"NSObject\"]},{\"n\":-1,\"r\":0.5,\"b\":true,"
        "\"d\":{\"$data\":\"AQI=\"},\"t\":{\"$date\":\"2001-01-01T00:00:00.500Z\"},"
        "\"u\":{\"$uid\":0},\"$class\":{\"$uid\":1}}]}");
}

TEST(ArchiveDescription, OfAnyTextThenValidJSON) {
    B b;
    const auto bytes = b.archive(b.collection(
        "NSArray", {b.add(b.utf16(u"\xD800\"\\\n\U0001F3A7")), b.add(b.raw("\x52\xE9\x01"))}));
    rapidjson::Document document;
    document.Parse<rapidjson::kParseValidateEncodingFlag>(archiveDescription(bytes).c_str());
    ASSERT_FALSE(document.HasParseError());
    EXPECT_STREQ(document["objects"][1].GetString(), "\uFFFD\"\\\n\U0001F3A7");
}

TEST(ArchiveDescription, OfNumbersThatJSONLacksThenTexts) {
    B b;
    b.add(b.real(std::numeric_limits<double>::quiet_NaN()));
    b.add(b.real(-std::numeric_limits<double>::infinity()));
    b.add(b.date(1e300));
    const std::string text = archiveDescription(b.archive(0));
    EXPECT_NE(text.find("\"nan\",\"-inf\",{\"$date\":1e300}"), std::string::npos) << text;
}

TEST(ArchiveDescription, OfDataThenBase64OfEveryLength) {
    for (const auto& [bytes, text] : {std::pair("", ""),
                                      {"f", "Zg=="},
                                      {"fo", "Zm8="},
                                      {"foo", "Zm9v"},
                                      {"foob", "Zm9vYg=="}}) {
        B b;
        b.add(b.data(bytes));
        EXPECT_NE(archiveDescription(b.archive(0)).find(std::string("\"$data\":\"") + text + "\""),
                  std::string::npos);
    }
}

TEST(ArchiveDescription, OfContainersThatDoubleThenAnError) {
    B b;
    B::Ref below = b.array({});
    for (int i = 0; i < 40; ++i) below = b.array({below, below});
    b.add(below);
    Error error;
    EXPECT_TRUE(archiveDescription(b.archive(0), &error).empty());
    EXPECT_NE(error.description.find("too large"), std::string::npos) << error.description;
}

TEST(ArchiveDescription, OfContainersThatReachThemselvesThenAnError) {
    B b;
    const B::Ref self = b.raw("");
    b.set(self, b.arrayBytes({self}));
    b.add(self);
    Error error;
    EXPECT_TRUE(archiveDescription(b.archive(0), &error).empty());
    EXPECT_NE(error.description.find("512"), std::string::npos) << error.description;
}

TEST(ArchiveDescription, OfWhatIsNoArchiveThenAnError) {
    Error error;
    EXPECT_TRUE(archiveDescription({}, &error).empty());
    EXPECT_EQ(error.domain, KeyedUnarchiver::errorDomain);
}

}  // namespace
}  // namespace qsml
