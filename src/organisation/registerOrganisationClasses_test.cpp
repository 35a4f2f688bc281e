#include "organisation/registerOrganisationClasses.h"

#include <gtest/gtest.h>

#include "database/PLXDatabaseManager.h"
#include "foundation/Object.h"

namespace qsml {
namespace {

const char* const classes[] = {
    "PLXQueue",        "PLXQueueItem",         "PLXHistorySession",    "PLXHistorySessionItem",
    "PLXMediaItemTag", "PLXMediaItemTagGroup", "PLXMediaItemPlaylist", "PLXMediaItemPlaylistItem"};

TEST(GivenAManager, WhenMadeThenArchivesFindTheClassesOfThisFolderByName) {
    const PLXDatabaseManager manager;
    for (const char* name : classes) EXPECT_NE(ArchiveClass::named(name), nullptr) << name;
}

TEST(GivenTheClassesOfThisFolder, WhenRegisteredTwiceThenTheyAreThoseOfTheFirstTime) {
    registerOrganisationClasses();
    const auto* queue = ArchiveClass::named("PLXQueue");
    registerOrganisationClasses();
    EXPECT_EQ(ArchiveClass::named("PLXQueue"), queue);
    for (const char* name : classes) EXPECT_NE(ArchiveClass::named(name), nullptr) << name;
}

}  // namespace
}  // namespace qsml
