#include "store/detail/LruCache.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <list>
#include <string>

namespace qsml::detail {
namespace {

TEST(LruCache, WhenFullThenTheLeastRecentlyUsedGoes) {
    LruCache cache;
    cache.setLimit(2);
    cache.put(1, "a", Value(1));
    cache.put(1, "b", Value(2));
    ASSERT_TRUE(cache.find(1, "a"));
    cache.put(1, "c", Value(3));
    EXPECT_TRUE(cache.contains(1, "a"));
    EXPECT_FALSE(cache.contains(1, "b"));
    EXPECT_TRUE(cache.contains(1, "c"));
}

TEST(LruCache, WhenLimitIsZeroThenItIsUnlimited) {
    LruCache cache;
    cache.setLimit(0);
    for (int i = 0; i < 5000; ++i) cache.put(1, std::to_string(i), Value(i));
    EXPECT_EQ(cache.size(), 5000u);
    cache.setLimit(10);
    EXPECT_EQ(cache.size(), 10u);
    EXPECT_TRUE(cache.contains(1, "4999"));
}

TEST(LruCache, WhenKeysAreEqualInTwoCollectionsThenTheyAreTwoEntries) {
    LruCache cache;
    cache.put(1, "a", Value(1));
    cache.put(2, "a", Value(2));
    EXPECT_EQ(*cache.find(1, "a"), Value(1));
    cache.remove(1, "a");
    EXPECT_FALSE(cache.find(1, "a"));
    EXPECT_EQ(*cache.find(2, "a"), Value(2));
}

RC_GTEST_PROP(LruCache, BehavesAsAListOfTheMostRecentlyUsed, ()) {
    LruCache cache;
    std::list<std::pair<std::string, int>> model;  // newest first
    const auto limit = *rc::gen::inRange<std::size_t>(1, 8);
    cache.setLimit(limit);
    const auto find = [&](const std::string& key) {
        return std::find_if(model.begin(), model.end(),
                            [&](const auto& entry) { return entry.first == key; });
    };
    const auto steps = *rc::gen::container<std::vector<std::pair<int, int>>>(
        200, rc::gen::pair(rc::gen::inRange(0, 3), rc::gen::inRange(0, 12)));
    for (const auto& [action, number] : steps) {
        const std::string key = std::to_string(number);
        const auto known = find(key);
        if (action == 0) {
            cache.put(7, key, Value(number));
            if (known != model.end()) model.erase(known);
            model.emplace_front(key, number);
            if (model.size() > limit) model.pop_back();
        } else if (action == 1) {
            const Value* found = cache.find(7, key);
            RC_ASSERT((found != nullptr) == (known != model.end()));
            if (known != model.end()) model.splice(model.begin(), model, known);
        } else {
            cache.remove(7, key);
            if (known != model.end()) model.erase(known);
        }
        RC_ASSERT(cache.size() == model.size());
    }
}

}  // namespace
}  // namespace qsml::detail
