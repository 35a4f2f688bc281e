#include "FileWalker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "testing/TemporaryDirectory.h"

namespace qsml::app {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class GivenAFolder : public ::testing::Test {
protected:
    void folder(const std::string& name) { ASSERT_EQ(::mkdir(at(name).c_str(), 0777), 0); }
    void file(const std::string& name) { writeFile(at(name), "x"); }
    void link(const std::string& target, const std::string& name) {
        ASSERT_EQ(::symlink(target.c_str(), at(name).c_str()), 0);
    }
    std::string at(const std::string& name) const { return directory_.file(name); }

    /// "file NAME", "refused NAME: ..." in the order of the walk, names below the folder.
    std::vector<std::string> walk(std::vector<std::string> paths = {}) {
        if (paths.empty()) paths.push_back(directory_.path());
        FileWalker walker(paths);
        std::vector<std::string> seen;
        const std::string below = directory_.path() + "/";
        while (const auto entry = walker.next()) {
            const bool isBelow = entry->path.starts_with(below);
            const std::string name = isBelow ? entry->path.substr(below.size()) : entry->path;
            const char* const kinds[] = {"file ", "refused ", "failed "};
            seen.push_back(kinds[static_cast<int>(entry->kind)] + name +
                           (entry->reason.empty() ? "" : ": " + entry->reason));
        }
        return seen;
    }

    TemporaryDirectory directory_;
};

TEST_F(GivenAFolder, WhenWalkedThenNamesComeInByteOrderAndDepthFirst) {
    folder("b");
    for (const char* name : {"c", "a", "b/2", "b/1", "B", "\xFF"}) file(name);
    EXPECT_THAT(walk(),
                ElementsAre("file B", "file a", "file b/1", "file b/2", "file c", "file \xFF"));
}

TEST_F(GivenAFolder, WhenAFileIsNamedThenItIsGivenWithoutAWalk) {
    file("a");
    file("b");
    EXPECT_THAT(walk({at("b"), at("a")}), ElementsAre("file b", "file a"));
}

TEST_F(GivenAFolder, WhenALinkLeadsBackThenTheLoopIsToldAndTheWalkEnds) {
    folder("inner");
    file("inner/z");
    link("..", "inner/loop");
    EXPECT_THAT(walk(), ElementsAre("refused inner/loop: leads back to a folder above it (a loop)",
                                    "file inner/z"));
}

TEST_F(GivenAFolder, WhenFoldersLinkToEachOtherThenEachIsWalkedOnce) {
    folder("a");
    folder("b");
    file("a/1");
    file("b/2");
    link("../b", "a/toB");
    link("../a", "b/toA");
    EXPECT_THAT(walk(), ElementsAre("file a/1", "file a/toB/2",
                                    "refused a/toB/toA: leads back to a folder above it (a loop)",
                                    "refused b: is a folder that was looked at already"));
}

TEST_F(GivenAFolder, WhenLinksLeadNowhereOrToPipesThenTheyAreRefused) {
    link("nowhere", "dangling");
    ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0600), 0);
    file("real");
    link("real", "second");
    EXPECT_THAT(walk(),
                ElementsAre("refused dangling: is a link to nothing",
                            "refused pipe: is not a regular file", "file real", "file second"));
}

TEST_F(GivenAFolder, WhenAPathIsMissingThenItFailsAndTheOthersGoOn) {
    file("a");
    const auto seen = walk({at("missing"), at("a")});
    EXPECT_THAT(seen, ElementsAre(HasSubstr("failed missing: No such file"), "file a"));
}

}  // namespace
}  // namespace qsml::app
