#include "foundation/PropertyList.h"

#include <gtest/gtest.h>

#include "foundation/KeyedArchiver.h"
#include "testing/TemporaryDirectory.h"

namespace qsml {
namespace {

class GivenAPropertyListFile : public ::testing::Test {
protected:
    Value read(std::string_view content) {
        writeFile(path_, content);
        return propertyListOfFile(path_, &error_);
    }
    void expectRefused(std::string_view content, std::string_view cause) {
        error_ = {};
        EXPECT_TRUE(read(content).isNil());
        EXPECT_EQ(error_.description, "cannot read " + path_ + ": " + std::string(cause));
    }

    TemporaryDirectory directory_;
    std::string path_ = directory_.file("list.plist");
    Error error_;
};

TEST_F(GivenAPropertyListFile, WhenItIsXMLThenEveryKindReadsAsWhatItIs) {
    const Value list = read(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><array>"
        "<dict><key>name</key><string>Mood &amp; more \xC3\xA9</string></dict>"
        "<integer>7</integer><integer>-7</integer><real>1.5</real><true/><false/>"
        "<data>AQI=</data><date>2001-01-01T00:00:05Z</date><array/><dict/>"
        "</array></plist>");
    const std::uint8_t bytes[] = {1, 2};
    EXPECT_EQ(list, Value(Value::Array{Value(Dictionary{{"name", "Mood & more \xC3\xA9"}}),
                                       Value(7), Value(-7), Value(1.5), Value(true), Value(false),
                                       Value(Data(bytes)), Value(Date{5}), Value(Value::Array{}),
                                       Value(Dictionary())}))
        << list.description();
    EXPECT_FALSE(error_);
}

TEST_F(GivenAPropertyListFile, WhenItIsBinaryThenItReadsToo) {
    KeyedArchiver archiver;
    const auto bytes = archiver.archive(Value("text"));
    const Value list = read({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    EXPECT_EQ(list.dictionary()["$archiver"], Value("NSKeyedArchiver"));
    EXPECT_EQ(list.dictionary()["$version"], Value(100000));
}

TEST_F(GivenAPropertyListFile, WhenItIsDamagedThenTheErrorNamesFileAndCause) {
    expectRefused("", "it is no property list");
    expectRefused("music", "it is no property list");
    expectRefused("<plist><array><string>x", "it is no property list");
    expectRefused("bplist00", "it is no property list");
    expectRefused(std::string((std::size_t{16} << 20) + 1, ' '), "it is larger than 16 MB");
}

TEST_F(GivenAPropertyListFile, WhenItIsMissingOrAFolderThenTheErrorSaysSo) {
    EXPECT_TRUE(propertyListOfFile(path_, &error_).isNil());
    EXPECT_EQ(error_.description, "cannot read " + path_ + ": No such file or directory");
    EXPECT_TRUE(propertyListOfFile(directory_.path(), &error_).isNil());
    EXPECT_EQ(error_.description, "cannot read " + directory_.path() + ": Is a directory");
}

}  // namespace
}  // namespace qsml
