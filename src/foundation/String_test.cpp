#include "foundation/String.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <sstream>
#include <thread>
#include <vector>

using qsml::String;

TEST(GivenNilAndEmptyTexts, WhenComparedThenTheyDiffer) {
    const String nil, empty("");
    EXPECT_FALSE(nil.has_value());
    EXPECT_TRUE(empty.has_value());
    EXPECT_NE(nil, empty);
    EXPECT_EQ(nil, String(std::nullopt));
    EXPECT_FALSE(nil == "");
    EXPECT_TRUE(empty == "");
    EXPECT_LT(nil, empty);
}

TEST(GivenNil, WhenReadThenItIsEmptyAndTheOtherTextServes) {
    const String nil;
    EXPECT_EQ(nil.view(), "");
    EXPECT_STREQ(nil.c_str(), "");
    EXPECT_EQ(nil.value_or("other"), "other");
    EXPECT_EQ(nil.identity(), nullptr);
}

TEST(GivenAText, WhenCopiedThenTheBytesAreShared) {
    const String text("Night Drive");
    const String copy = text;
    EXPECT_EQ(copy.identity(), text.identity());
    EXPECT_EQ(sizeof(String), sizeof(void*));
}

TEST(GivenAText, WhenCopiedWhileConfinedThenTheBytesAreSharedAndCounted) {
    for (const char* words : {"a text", ""}) {
        String text(words), copy = text.copyWhileConfined();
        const String third = text.copyWhileConfined();
        EXPECT_EQ(copy.identity(), text.identity());
        EXPECT_EQ(third.identity(), text.identity());
        text = nullptr;
        copy = nullptr;
        EXPECT_EQ(third, words);
    }
    EXPECT_FALSE(String().copyWhileConfined());
}

TEST(GivenAText, WhenMovedThenTheSourceIsNil) {
    String text("a");
    const String moved = std::move(text);
    EXPECT_EQ(moved, "a");
    EXPECT_FALSE(text.has_value());  // NOLINT(bugprone-use-after-move)
}

TEST(GivenAText, WhenAssignedToItselfThenItKeepsItsText) {
    String text("a");
    const String& same = text;
    text = same;
    EXPECT_EQ(text, "a");
}

TEST(GivenATextWithANul, WhenReadThenAllBytesAreThere) {
    const String text(std::string_view("a\0b", 3));
    EXPECT_EQ(text.size(), 3u);
    EXPECT_EQ(text.view(), std::string_view("a\0b", 3));
    EXPECT_EQ(text.c_str()[3], '\0');
}

TEST(GivenASizeAbove4GiB, WhenBuiltThenLengthErrorIsThrown) {
    EXPECT_THROW(String::build(std::size_t{1} << 32, [](char*) { FAIL(); }), std::length_error);
}

TEST(GivenAStream, WhenWrittenThenNilReadsAsNull) {
    std::ostringstream out;
    out << String("a") << String();
    EXPECT_EQ(out.str(), "a(null)");
}

TEST(GivenOneText, WhenManyThreadsCopyAndDropItThenItStays) {
    const String text("shared by many threads"), empty("");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int n = 0; n < 10'000; ++n) {
                String copy = text, other = empty;
                std::swap(copy, other);
            }
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(text, "shared by many threads");
}

RC_GTEST_PROP(String, ComparesAndHashesAsItsBytesDo, (std::string a, std::string b)) {
    const String first(a), second(b);
    RC_ASSERT(first.view() == a);
    RC_ASSERT((first == second) == (a == b));
    RC_ASSERT((first < second) == (a < b));
    RC_ASSERT(std::hash<String>()(first) == std::hash<String>()(String(a)));
    RC_ASSERT(String::build(a.size(), [&](char* out) { a.copy(out, a.size()); }) == first);
}
