#include <gmock/gmock.h>

#include <set>

#include "EditedLibrary.h"
#include "QsmlProgram.h"
#include "database/collectionNames.h"
#include "organisation/PLXMediaItemPlaylist.h"
#include "testing/UndecodableObject.h"

namespace qsml::app {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr std::string_view root = PLXRootMediaItemPlaylistUUID;

struct Placed {
    std::string uuid;
    String parent;
    std::vector<String> children = {};
};

void store(const Placed& placed, YapDatabaseReadWriteTransaction& transaction) {
    const auto playlist = PLXMediaItemPlaylist::initWithUUID(placed.uuid);
    playlist->setName(placed.uuid);
    playlist->setParentUUID(placed.parent);
    playlist->setChildUUIDs(OrderedSet<String>(placed.children));
    if (placed.uuid == root) playlist->setType(PLXMediaItemPlaylist::typeRoot);
    transaction.setObject(playlist, placed.uuid, PLXDatabaseCollectionMediaItemPlaylists);
}

class GivenADamagedTree : public QsmlProgram {
protected:
    void store(const std::vector<Placed>& tree) const {
        EditedLibrary(library()).write([&](auto& transaction) {
            for (const Placed& placed : tree) app::store(placed, transaction);
        });
    }
    std::vector<rapidjson::Document> tree() const {
        const ProgramRun run = qsml({"playlist", "tree", "--json"});
        EXPECT_EQ(run.exitStatus, 0) << run.errors;
        return objects(run.output);
    }
    /// Of the playlist of that name.
    std::vector<std::string> faults(const std::string& name) const {
        for (const auto& line : tree())
            if (text(line, "name") == name) return texts(line, "faults");
        return {"(not in the tree)"};
    }
    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const auto& line : tree()) all.push_back(text(line, "name"));
        return all;
    }
};

TEST_F(GivenADamagedTree, WhenItHasALoopThenEachIsShownOnceAndCanBeMovedOut) {
    store({{std::string(root), nullptr, {"Good"}},
           {"Good", root},
           {"A", "C", {"B"}},
           {"B", "A", {"C"}},
           {"C", "B", {"A"}},
           {"Below", "B"},
           {"Self", "Self", {"Self"}}});
    EXPECT_EQ(names().size(), 6u);
    EXPECT_THAT(faults("Good"), IsEmpty());
    for (const std::string name : {"A", "B", "C", "Self"})
        EXPECT_THAT(faults(name), ElementsAre("it stands in a loop or below one")) << name;
    EXPECT_EQ(qsml({"playlist", "show", "A"}).exitStatus, 0);
    EXPECT_THAT(qsml({"playlist", "move", "A", "--to", "C"}).errors, HasSubstr("is below"));
    EXPECT_EQ(qsml({"playlist", "move", "A", "--to", "/"}).exitStatus, 0);
    for (const std::string name : {"A", "B", "C"}) EXPECT_THAT(faults(name), IsEmpty()) << name;
    EXPECT_EQ(qsml({"playlist", "move", "Self", "--to", "/", "--at", "1"}).exitStatus, 0);
    EXPECT_THAT(names(), ElementsAre("Self", "Good", "A", "B", "C", "Below"));
    EXPECT_THAT(faults("Self"), IsEmpty());
}

TEST_F(GivenADamagedTree, WhenALoopIsDeletedThenAllOfItGoesAndIsCounted) {
    store({{std::string(root), nullptr}, {"A", "C", {"B"}}, {"B", "A", {"C"}}, {"C", "B", {"A"}}});
    EXPECT_THAT(qsml({"playlist", "delete", "B"}).output, HasSubstr("deleted 3 playlists"));
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(GivenADamagedTree, WhenParentsAndChildrenAreLostThenThatIsTold) {
    store({{std::string(root), nullptr, {"A", "Lost"}},
           {"A", root, {"Gone", "Elsewhere"}},
           {"Elsewhere", "Unlisting"},
           {"Unlisting", root},
           {"Orphan", "Nobody", {"Child"}},
           {"Child", "Orphan"},
           {"Placeless", nullptr}});
    EXPECT_THAT(names(),
                ElementsAre("A", "Unlisting", "Elsewhere", "Orphan", "Child", "Placeless"));
    EXPECT_THAT(faults("A"),
                ElementsAre("it lists 1 that are missing", "it lists 1 that stand elsewhere"));
    EXPECT_THAT(faults("Unlisting"), ElementsAre("its parent does not list it"));
    EXPECT_THAT(faults("Orphan"), ElementsAre("its parent Nobody is missing"));
    EXPECT_THAT(faults("Child"), IsEmpty());
    EXPECT_THAT(faults("Placeless"), ElementsAre("it has no place in the tree"));
    EXPECT_THAT(qsml({"playlist", "tree"}).output, HasSubstr("its parent Nobody is missing"));

    EXPECT_EQ(qsml({"playlist", "move", "Elsewhere", "--to", "/"}).exitStatus, 0);
    EXPECT_THAT(faults("Elsewhere"), IsEmpty());
    EXPECT_THAT(faults("A"), ElementsAre("it lists 1 that are missing"))
        << "no list but the parent's names what was moved";
}

TEST_F(GivenADamagedTree, WhenARecordCannotBeReadThenTheOthersAreShown) {
    store({{std::string(root), nullptr, {"A", "Bad"}}, {"A", root}, {"InBad", "Bad"}});
    EditedLibrary(library()).write([](auto& transaction) {
        transaction.setObject(std::make_shared<UndecodableObject>(), "Bad",
                              PLXDatabaseCollectionMediaItemPlaylists);
    });
    const auto lines = tree();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(text(lines[0], "name"), "A");
    EXPECT_THAT(faults("InBad"), ElementsAre("its parent Bad is missing"));
    EXPECT_EQ(text(lines[2], "key"), "Bad");
    EXPECT_THAT(text(lines[2], "fault"), HasSubstr("cannot be read"));
    EXPECT_THAT(qsml({"playlist", "tree"}).output, HasSubstr("(damaged)"));
    EXPECT_THAT(qsml({"playlist", "show", "Bad"}).errors, HasSubstr("no playlist has"));
}

TEST_F(GivenADamagedTree, WhenTheRootCannotBeReadThenItIsNotReplaced) {
    store({{std::string(root), nullptr, {"A"}}, {"A", root}});
    EditedLibrary(library()).write([](auto& transaction) {
        transaction.setObject(std::make_shared<UndecodableObject>(), root,
                              PLXDatabaseCollectionMediaItemPlaylists);
    });
    EXPECT_EQ(text(tree().at(0), "name"), "A");
    const ProgramRun run = qsml({"playlist", "create", "B"});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_THAT(run.errors, HasSubstr("the top of the playlists can neither be read nor made"));
    EXPECT_EQ(qsml({"playlist", "rename", "A", "C"}).exitStatus, 0);
    EXPECT_EQ(text(tree().at(0), "name"), "C");
    EXPECT_THAT(qsml({"playlist", "delete", "C"}).output, HasSubstr("deleted 1 playlists"));
}

/// Neither depth nor number may make the work or the output grow faster than the tree.
TEST_F(GivenADamagedTree, WhenItIsTenThousandDeepAndWideThenItIsShownAndChanged) {
    constexpr int count = 5000;
    EditedLibrary(library()).write([](auto& transaction) {
        std::vector<String> wide = {"deep0"};
        for (int i = 0; i < count; ++i) {
            const auto number = std::to_string(i);
            const std::string parent = i == 0 ? std::string(root) : "deep" + std::to_string(i - 1);
            app::store({"deep" + number, parent, {"deep" + std::to_string(i + 1)}}, transaction);
            app::store({"wide" + number, root}, transaction);
            wide.emplace_back("wide" + number);
        }
        app::store({std::string(root), nullptr, wide}, transaction);
    });
    const ProgramRun run = qsml({"playlist", "tree"});
    EXPECT_EQ(run.exitStatus, 0) << run.errors;
    EXPECT_LT(run.output.size(), 200u * 2 * count);
    const auto lines = tree();
    ASSERT_EQ(lines.size(), 2u * count);
    EXPECT_EQ(number(lines[count - 1], "depth"), count - 1);
    EXPECT_EQ(text(lines.back(), "name"), "wide4999");
    EXPECT_THAT(qsml({"playlist", "move", "deep0", "--to", "deep4999"}).errors,
                HasSubstr("is below"));
    EXPECT_EQ(qsml({"playlist", "move", "deep4000", "--to", "wide7"}).exitStatus, 0);
    EXPECT_THAT(qsml({"playlist", "delete", "wide7"}).output, HasSubstr("deleted 1,001 playlists"));
}

}  // namespace
}  // namespace qsml::app
