#include "foundation/paths.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "foundation/Bundle.h"

namespace qsml {
namespace {

/// Sets a variable of the environment for its life; null removes it.
class Variable {
public:
    Variable(const char* name, const char* value) : name_(name) {
        if (const char* before = std::getenv(name)) before_ = before;
        value ? setenv(name, value, 1) : unsetenv(name);
    }
    ~Variable() { before_ ? setenv(name_, before_->c_str(), 1) : unsetenv(name_); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    const char* name_;
    std::optional<std::string> before_;
};

TEST(GivenAPathWithATilde, WhenExpandedThenOnlyALeadingOneStandsForTheHomeFolder) {
    const Variable home("HOME", "/home/dj");
    EXPECT_EQ(expandingTildeInPath("~"), "/home/dj");
    EXPECT_EQ(expandingTildeInPath("~/Music/a"), "/home/dj/Music/a");
    EXPECT_EQ(expandingTildeInPath("~other/x"), "~other/x");
    EXPECT_EQ(expandingTildeInPath("/a/~/b"), "/a/~/b");
    EXPECT_EQ(expandingTildeInPath(""), "");
}

TEST(GivenNoHomeVariable, WhenATildeIsExpandedThenTheUsersEntryTells) {
    const Variable home("HOME", nullptr);
    EXPECT_TRUE(expandingTildeInPath("~/x").starts_with('/'));
}

TEST(GivenAFolder, WhenAPlainNameIsAppendedThenItIsTheEntry) {
    const URL folder = URL::fileURLWithPath("/packs");
    EXPECT_EQ(appendingPathComponent(folder, "a b")->path(), "/packs/a b");
    EXPECT_EQ(appendingPathComponent(URL::fileURLWithPath("/packs/"), "a")->path(), "/packs/a");
    EXPECT_EQ(appendingPathComponent(folder, "%2e%2e")->path(), "/packs/%2e%2e")
        << "an escape in a name is a name";
    EXPECT_EQ(appendingPathComponent(folder, "...")->path(), "/packs/...");
    EXPECT_EQ(appendingPathComponent(folder, "\xFF")->path(), "/packs/\xFF");
}

TEST(GivenAFolder, WhenTheNameLeadsElsewhereThenThereIsNoEntry) {
    using namespace std::string_view_literals;
    const URL folder = URL::fileURLWithPath("/packs");
    for (const std::string_view name : {""sv, "."sv, ".."sv, "/"sv, "/etc"sv, "../x"sv, "a/b"sv,
                                        "a/../../b"sv, "a\\b"sv, "a\0b"sv, "\0"sv})
        EXPECT_EQ(appendingPathComponent(folder, name), std::nullopt) << name;
}

TEST(GivenAHostsIdentifier, WhenAskedForTheApplicationSupportFolderThenItIsInTheUsersData) {
    const Variable home("HOME", "/home/dj");
    {
        const Variable data("XDG_DATA_HOME", "/data");
        EXPECT_EQ(applicationSupportDirectory().path(), "/data");
        Bundle::main().setInfoValue("CFBundleIdentifier", "org.example.dj");
        EXPECT_EQ(applicationSupportDirectory().path(), "/data/org.example.dj");
        Bundle::main().setInfoValue("CFBundleIdentifier", "../escape");
        EXPECT_EQ(applicationSupportDirectory().path(), "/data");
        Bundle::main().setInfoValue("CFBundleIdentifier", {});
    }
    const Variable relative("XDG_DATA_HOME", "data");
    EXPECT_EQ(applicationSupportDirectory().path(), "/home/dj/.local/share")
        << "relative values are ignored";
}

}  // namespace
}  // namespace qsml
