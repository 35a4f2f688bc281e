#include "foundation/Host.h"

#include <gtest/gtest.h>

namespace qsml {
namespace {

TEST(GivenNoNameFromTheProgram, WhenTheHostIsAskedThenTheSystemsNameIsThere) {
    const String name = Host::localizedName();
    ASSERT_TRUE(name);
    EXPECT_FALSE(name.empty());
}

TEST(GivenANameFromTheProgram, WhenTheHostIsAskedThenItIsThatUntilTakenBack) {
    const String system = Host::localizedName();
    Host::setLocalizedName("Booth laptop");
    EXPECT_EQ(Host::localizedName(), "Booth laptop");
    Host::setLocalizedName(nullptr);
    EXPECT_EQ(Host::localizedName(), system);
}

}  // namespace
}  // namespace qsml
