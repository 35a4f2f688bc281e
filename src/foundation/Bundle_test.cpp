#include "foundation/Bundle.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "testing/TemporaryDirectory.h"

using qsml::Bundle;
using qsml::Value;

TEST(GivenTheMainBundle, WhenAKeyIsSetReplacedAndRemovedThenItReadsSo) {
    auto& bundle = Bundle::main();
    EXPECT_TRUE(bundle.infoValue("CFBundleShortVersionString").isNil());
    bundle.setInfoValue("CFBundleShortVersionString", "1.0");
    bundle.setInfoValue("Other", 1);
    EXPECT_EQ(bundle.infoValue("CFBundleShortVersionString"), Value("1.0"));
    bundle.setInfoValue("CFBundleShortVersionString", "2.0");
    EXPECT_EQ(bundle.infoValue("CFBundleShortVersionString"), Value("2.0"));
    bundle.setInfoValue("CFBundleShortVersionString", {});
    EXPECT_TRUE(bundle.infoValue("CFBundleShortVersionString").isNil());
    EXPECT_EQ(bundle.infoValue("Other"), Value(1));
    bundle.setInfoValue("Other", {});
    EXPECT_TRUE(bundle.infoValue("Other").isNil());
}

namespace qsml {
namespace {

std::string placeOf(const std::optional<URL>& url) { return url ? url->path() : "nowhere"; }

class GivenABundleWhoseResourcesTheHostNamed : public ::testing::Test {
protected:
    GivenABundleWhoseResourcesTheHostNamed() {
        bundle_.setResourceURL(URL::fileURLWithPath(directory_.path()));
    }
    ~GivenABundleWhoseResourcesTheHostNamed() override { bundle_.setResourceURL(std::nullopt); }

    TemporaryDirectory directory_;
    Bundle& bundle_ = Bundle::main();
};

TEST_F(GivenABundleWhoseResourcesTheHostNamed, WhenAskedForAResourceThenOnlyAFileIsFound) {
    EXPECT_EQ(bundle_.URLForResource("index", "json"), std::nullopt);
    writeFile(directory_.file("index.json"), "{}");
    EXPECT_EQ(placeOf(bundle_.URLForResource("index", "json")), directory_.file("index.json"));
    EXPECT_EQ(bundle_.URLForResource("index", "plist"), std::nullopt);
}

TEST_F(GivenABundleWhoseResourcesTheHostNamed, WhenAFolderIsNamedThenTheFileIsFoundInIt) {
    std::filesystem::create_directory(directory_.file("pack"));
    writeFile(directory_.file("pack/index.json"), "{}");
    EXPECT_EQ(placeOf(bundle_.URLForResource("index", "json", "pack")),
              directory_.file("pack/index.json"));
    EXPECT_EQ(bundle_.URLForResource("index", "json", "other"), std::nullopt);
}

TEST_F(GivenABundleWhoseResourcesTheHostNamed, WhenANameLeadsOutOfTheFolderThenNothingIsFound) {
    std::filesystem::create_directory(directory_.file("pack"));
    writeFile(directory_.file("index.json"), "{}");
    EXPECT_EQ(bundle_.URLForResource("index", "json", ".."), std::nullopt);
    EXPECT_EQ(bundle_.URLForResource("index", "json", "pack/.."), std::nullopt);
    EXPECT_EQ(bundle_.URLForResource("pack/../index", "json"), std::nullopt);
}

TEST(GivenTheMainBundle, WhenTheHostNamesNoFolderThenItIsTheProgramsOwn) {
    const auto folder = Bundle::main().resourceURL();
    ASSERT_TRUE(folder);
    EXPECT_TRUE(std::filesystem::exists(folder->path() + "/foundation_test")) << folder->path();
}

TEST(GivenTheLibrarysBundle, WhenTheHostNamesNoFolderThenTheBuildTreesResourcesAreFound) {
    const auto groups = Bundle::library().URLForResource("DefaultMediaItemTagGroups", "plist");
    ASSERT_TRUE(groups);
    EXPECT_NE(groups->path().find("/share/QSMediaLibraryData/"), std::string::npos);
}

TEST(GivenTheTwoBundles, WhenOneIsGivenInformationThenTheOtherHasNone) {
    Bundle::library().setInfoValue("Key", "library");
    EXPECT_TRUE(Bundle::main().infoValue("Key").isNil());
    Bundle::library().setInfoValue("Key", {});
}

}  // namespace
}  // namespace qsml
