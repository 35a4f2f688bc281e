#include "foundation/Predicate.h"

#include <gtest/gtest.h>

#include <map>
#include <stdexcept>

namespace qsml {
namespace {

/// An object with any keys.
class Thing final : public Object {
public:
    explicit Thing(std::map<std::string, Value, std::less<>> values) : values_(std::move(values)) {}
    const ArchiveClass& archiveClass() const override { return rootClass(); }
    void encodeWithCoder(KeyedArchiver&) const override {}
    bool initWithCoder(KeyedUnarchiver&) override { return false; }

    static Value read(const Object& object, std::string_view key) {
        const auto& values = static_cast<const Thing&>(object).values_;
        const auto found = values.find(key);
        return found == values.end() ? Value() : found->second;
    }

private:
    std::map<std::string, Value, std::less<>> values_;
};

Value thing(std::map<std::string, Value, std::less<>> values) {
    return Value(std::shared_ptr<const Object>(std::make_shared<Thing>(std::move(values))));
}

Value at(const Value& object, std::string_view keyPath) {
    return valueForKeyPath(*object.object(), keyPath, Thing::read);
}

TEST(GivenAPredicateOfAFunction, WhenEvaluatedThenTheFunctionIsAskedAboutTheObject) {
    const auto isLoud = predicateWithBlock(
        [](const Object& object) { return Thing::read(object, "level").integerValue() > 5; });
    ASSERT_TRUE(isLoud);
    EXPECT_TRUE(isLoud->evaluate(*thing({{"level", 6}}).object()));
    EXPECT_FALSE(isLoud->evaluate(*thing({{"level", 5}}).object()));
    EXPECT_EQ(isLoud->format(), nullptr);
}

TEST(GivenAPredicateOfAFunction, WhenTheFunctionThrowsThenTheCallerGetsIt) {
    const auto fails =
        predicateWithBlock([](const Object&) -> bool { throw std::runtime_error("x"); });
    EXPECT_THROW((void)fails->evaluate(*thing({}).object()), std::runtime_error);
}

TEST(GivenNoFunction, WhenAPredicateIsMadeThenThereIsNone) {
    EXPECT_EQ(predicateWithBlock({}), nullptr);
}

TEST(GivenANestedObject, WhenAKeyPathIsFollowedThenEachKeyIsReadOfWhatTheLastGave) {
    const auto track = thing({{"title", "Song"}, {"label", Value(Dictionary{{"name", "Blue"}})}});
    const auto entry = thing({{"track", track}, {"level", 5}});
    EXPECT_EQ(at(entry, "level"), Value(5));
    EXPECT_EQ(at(entry, "track"), track);
    EXPECT_EQ(at(entry, "track.title"), Value("Song"));
    EXPECT_EQ(at(entry, "track.label.name"), Value("Blue"));
}

TEST(GivenANestedObject, WhenAKeyIsUnknownOrMissingOrReadOfAScalarThenTheValueIsNil) {
    const auto entry = thing({{"track", thing({{"title", "Song"}})}, {"null", Null()}});
    for (const char* path : {"", ".", "x", "x.y", "track.x", "track.title.x", "track.", "track..",
                             ".track", "null.x", "track.@count", "x.@count", "track.title.@count"})
        EXPECT_TRUE(at(entry, path).isNil()) << path;
}

TEST(GivenCollectionsOfObjects, WhenAKeyIsReadThenACollectionOfTheSameKindComes) {
    const Value::Array tracks{thing({{"title", "a"}}), thing({}), thing({{"title", "a"}})};
    const auto holder = thing({{"array", tracks},
                               {"set", ValueSet(tracks)},
                               {"ordered", OrderedSet<Value>(tracks)},
                               {"nested", Value::Array{Value(tracks), Value("text")}}});
    EXPECT_EQ(at(holder, "array.title"), Value(Value::Array{"a", Null(), "a"}));
    EXPECT_EQ(at(holder, "set.title"), Value(ValueSet{"a"}));
    EXPECT_EQ(at(holder, "ordered.title"), Value(OrderedSet<Value>{"a", Null()}));
    EXPECT_EQ(at(holder, "nested.title"),
              Value(Value::Array{Value(Value::Array{"a", Null(), "a"}), Null()}));
}

TEST(GivenCollections, WhenTheirCountIsReadThenItIsTheNumberOfElements) {
    const auto holder = thing({{"array", Value::Array{1, 2, 2}},
                               {"set", ValueSet{1, 2, 2}},
                               {"ordered", OrderedSet<Value>{1, 2, 2}},
                               {"empty", Value::Array{}}});
    EXPECT_EQ(at(holder, "array.@count"), Value(3));
    EXPECT_EQ(at(holder, "set.@count"), Value(2));
    EXPECT_EQ(at(holder, "ordered.@count"), Value(2));
    EXPECT_EQ(at(holder, "empty.@count"), Value(0));
    EXPECT_EQ(at(holder, "empty.title"), Value(Value::Array{}));
}

}  // namespace
}  // namespace qsml
