#include "filters/registerFilterClasses.h"

#include <gtest/gtest.h>

#include "database/PLXDatabaseManager.h"
#include "foundation/Object.h"

namespace qsml {
namespace {

const char* const classes[] = {"PLXMediaItemFilter", "PLXMediaItemFilterSet"};

TEST(GivenAManagerOfALibrary, WhenMadeThenArchivesFindRulesAndFilterSetsByName) {
    const PLXDatabaseManager manager;
    for (const char* name : classes) EXPECT_NE(ArchiveClass::named(name), nullptr) << name;
}

TEST(GivenTheClassesOfRules, WhenRegisteredTwiceThenTheyAreThoseOfTheFirstTime) {
    registerFilterClasses();
    const auto* set = ArchiveClass::named("PLXMediaItemFilterSet");
    registerFilterClasses();
    EXPECT_EQ(ArchiveClass::named("PLXMediaItemFilterSet"), set);
}

}  // namespace
}  // namespace qsml
