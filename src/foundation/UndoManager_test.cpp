#include "foundation/UndoManager.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

using qsml::UndoManager;

namespace {

class GivenAnUndoManager : public ::testing::Test {
protected:
    void group(const std::string& name) {
        manager_.beginUndoGrouping();
        note(name);
        manager_.endUndoGrouping();
    }
    /// An action that notes its name and registers itself for the other side.
    void note(const std::string& name) {
        manager_.registerUndo([this, name] {
            done_ += name;
            note(name);
        });
    }

    UndoManager manager_;
    std::string done_;
};

}  // namespace

TEST_F(GivenAnUndoManager, WhenUndoneThenAGroupRunsInReverseOrder) {
    manager_.beginUndoGrouping();
    note("a");
    note("b");
    manager_.endUndoGrouping();
    manager_.undo();
    EXPECT_EQ(done_, "ba");
    EXPECT_FALSE(manager_.canUndo());
    manager_.undo();
    EXPECT_EQ(done_, "ba");
}

TEST_F(GivenAnUndoManager, WhenRedoneThenTheUndoneRunsInItsFirstOrderAndCanBeUndoneAgain) {
    manager_.beginUndoGrouping();
    note("a");
    note("b");
    manager_.endUndoGrouping();
    manager_.undo();
    ASSERT_TRUE(manager_.canRedo());
    manager_.redo();
    EXPECT_EQ(done_, "baab");
    EXPECT_FALSE(manager_.canRedo());
    manager_.undo();
    EXPECT_EQ(done_, "baabba");
}

TEST_F(GivenAnUndoManager, When60GroupsMeetALimitOf50ThenTheNewest50Stay) {
    manager_.setLevelsOfUndo(50);
    std::vector<int> undone;
    for (int i = 0; i < 60; ++i) {
        manager_.beginUndoGrouping();
        manager_.registerUndo([&undone, i] { undone.push_back(i); });
        manager_.endUndoGrouping();
    }
    while (manager_.canUndo()) manager_.undo();
    ASSERT_EQ(undone.size(), 50u);
    EXPECT_EQ(undone.front(), 59);
    EXPECT_EQ(undone.back(), 10);
}

TEST_F(GivenAnUndoManager, WhenTheLimitIsLoweredThenTheOldestGoAtOnceAndZeroIsNoLimit) {
    EXPECT_EQ(manager_.levelsOfUndo(), 0u);
    for (int i = 0; i < 100; ++i) group(i < 98 ? "x" : i == 98 ? "b" : "a");
    manager_.setLevelsOfUndo(2);
    manager_.setLevelsOfUndo(0);
    while (manager_.canUndo()) manager_.undo();
    EXPECT_EQ(done_, "ab");
}

TEST_F(GivenAnUndoManager, WhenANewGroupIsMadeThenTheRedoSideIsCleared) {
    group("a");
    manager_.undo();
    ASSERT_TRUE(manager_.canRedo());
    group("b");
    EXPECT_FALSE(manager_.canRedo());
}

TEST_F(GivenAnUndoManager, WhenGroupsNestThenTheyAreOneStep) {
    manager_.beginUndoGrouping();
    note("a");
    group("b");
    EXPECT_FALSE(manager_.canUndo());
    manager_.endUndoGrouping();
    manager_.undo();
    EXPECT_EQ(done_, "ba");
    EXPECT_FALSE(manager_.canUndo());
}

TEST_F(GivenAnUndoManager, WhenMisusedThenItThrowsAndStaysUsable) {
    EXPECT_THROW(manager_.endUndoGrouping(), std::logic_error);
    EXPECT_THROW(note("a"), std::logic_error);
    manager_.beginUndoGrouping();
    EXPECT_THROW(manager_.undo(), std::logic_error);
    note("a");
    manager_.endUndoGrouping();
    manager_.undo();
    EXPECT_EQ(done_, "a");
}

TEST_F(GivenAnUndoManager, WhenAnActionThrowsThenTheRestStaysUndoable) {
    manager_.beginUndoGrouping();
    note("a");
    manager_.registerUndo([] { throw std::runtime_error("broken"); });
    note("b");
    manager_.endUndoGrouping();
    EXPECT_THROW(manager_.undo(), std::runtime_error);
    EXPECT_EQ(done_, "b");
    EXPECT_TRUE(manager_.canRedo());
    manager_.undo();
    EXPECT_EQ(done_, "ba");
}
