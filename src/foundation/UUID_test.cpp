#include "foundation/UUID.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <set>

using qsml::UUID;

TEST(GivenRandomUUIDs, WhenMadeThenVersionAndVariantAreSetAndAllDiffer) {
    std::set<UUID> seen;
    for (int i = 0; i < 1000; ++i) {
        const UUID made = UUID::random();
        EXPECT_EQ(made.bytes[6] >> 4, 4);
        EXPECT_EQ(made.bytes[8] >> 6, 2);
        seen.insert(made);
    }
    EXPECT_EQ(seen.size(), 1000u);
}

TEST(GivenAText, WhenReadThenEitherCaseServesAndUpperCaseIsWritten) {
    const auto lower = UUID::fromString("0123abcd-ef45-6789-abcd-ef0123456789");
    const auto upper = UUID::fromString("0123ABCD-EF45-6789-ABCD-EF0123456789");
    ASSERT_TRUE(lower && upper);
    EXPECT_EQ(*lower, *upper);
    EXPECT_EQ(lower->bytes[0], 0x01);
    EXPECT_EQ(lower->bytes[15], 0x89);
    EXPECT_EQ(lower->UUIDString(), "0123ABCD-EF45-6789-ABCD-EF0123456789");
}

TEST(GivenBadText, WhenReadThenNothing) {
    for (auto text :
         {"", "0123abcd-ef45-6789-abcd-ef012345678", "0123abcd-ef45-6789-abcd-ef01234567890",
          "0123abcdxef45-6789-abcd-ef0123456789", "0123abcg-ef45-6789-abcd-ef0123456789",
          "{123abcd-ef45-6789-abcd-ef012345678}", "0123abcdef4567-89-abcd-ef0123456789-"})
        EXPECT_FALSE(UUID::fromString(text)) << text;
}

RC_GTEST_PROP(UUID, ReadsWhatItWrites, ()) {
    UUID uuid;
    for (auto& byte : uuid.bytes) byte = *rc::gen::arbitrary<std::uint8_t>();
    RC_ASSERT(UUID::fromString(uuid.UUIDString().view()) == uuid);
}
