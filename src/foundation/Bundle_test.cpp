#include "foundation/Bundle.h"

#include <gtest/gtest.h>

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
