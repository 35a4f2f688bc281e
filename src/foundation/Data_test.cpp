#include "foundation/Data.h"

#include <gtest/gtest.h>

#include <array>

using qsml::Data;

TEST(GivenBytes, WhenKeptAsDataThenTheyAreCopiedAndSharedByCopies) {
    std::array<std::uint8_t, 3> bytes{1, 2, 3};
    const Data data(bytes);
    const Data copy = data;
    bytes[0] = 9;
    ASSERT_EQ(data.size(), 3u);
    EXPECT_EQ(data.bytes()[0], 1);
    EXPECT_EQ(copy.bytes().data(), data.bytes().data());
}

TEST(GivenTwoData, WhenComparedThenTheirBytesDecide) {
    const std::array<std::uint8_t, 2> a{1, 2}, b{1, 3};
    EXPECT_EQ(Data(a), Data(a));
    EXPECT_NE(Data(a), Data(b));
    EXPECT_NE(Data(a), Data(std::span(a).first(1)));
    EXPECT_EQ(Data(), Data(std::span(a).first(0)));
}
