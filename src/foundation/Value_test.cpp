#include "foundation/Value.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <array>
#include <cmath>
#include <limits>

#include "foundation/Object.h"

using namespace qsml;

namespace {

constexpr auto mostSigned = std::numeric_limits<std::int64_t>::max();
constexpr auto leastSigned = std::numeric_limits<std::int64_t>::min();
constexpr auto mostUnsigned = std::numeric_limits<std::uint64_t>::max();

/// Equal both ways, with equal hashes.
bool same(const Value& a, const Value& b) { return a == b && b == a && a.hash() == b.hash(); }

class Named final : public Object {
public:
    explicit Named(int name) : name_(name) {}
    const ArchiveClass& archiveClass() const override {
        static constexpr ArchiveClass named("Named", nullptr, nullptr);
        return named;
    }
    bool isEqual(const Object& other) const override {
        auto* named = dynamic_cast<const Named*>(&other);
        return named && named->name_ == name_;
    }
    std::size_t hash() const override { return static_cast<std::size_t>(name_); }
    void encodeWithCoder(KeyedArchiver&) const override {}
    bool initWithCoder(KeyedUnarchiver&) override { return true; }

private:
    int name_;
};

Value named(int name) { return std::shared_ptr<const Object>(std::make_shared<Named>(name)); }

Data someData(std::uint8_t last) { return Data(std::array<std::uint8_t, 2>{1, last}); }

/// Numbers near each other in every kind, so that equal ones of different kinds come up.
rc::Gen<Value> anyNumber() {
    const auto near =
        rc::gen::element<double>(0, -0.0, 1, -1, 0.1, 127.3, 9007199254740992.0,
                                 9223372036854775808.0, 18446744073709551616.0, 1e300);
    return rc::gen::oneOf(
        rc::gen::map(rc::gen::arbitrary<bool>(), [](bool b) { return Value(b); }),
        rc::gen::map(
            rc::gen::element<std::int64_t>(0, 1, -1, 9007199254740993, mostSigned, leastSigned),
            [](std::int64_t i) { return Value(i); }),
        rc::gen::map(rc::gen::element<std::uint64_t>(0u, 1u, 9223372036854775808u, mostUnsigned),
                     [](std::uint64_t u) { return Value(u); }),
        rc::gen::map(near, [](double d) { return Value(static_cast<float>(std::fmin(d, 1e38))); }),
        rc::gen::map(near, [](double d) { return Value(d); }));
}

rc::Gen<Value> anyValue() {
    const auto scalar =
        rc::gen::oneOf(anyNumber(), rc::gen::just(Value()), rc::gen::just(Value(Null())),
                       rc::gen::map(rc::gen::element<std::string>("", "1", "a"),
                                    [](const std::string& s) { return Value(String(s)); }),
                       rc::gen::map(rc::gen::element<double>(0, -0.0, 1),
                                    [](double d) { return Value(Date{d}); }));
    const auto list = rc::gen::resize(3, rc::gen::container<std::vector<Value>>(scalar));
    return rc::gen::oneOf(
        scalar, rc::gen::map(list, [](const Value::Array& all) { return Value(all); }),
        rc::gen::map(list, [](const Value::Array& all) { return Value(ValueSet(all)); }),
        rc::gen::map(list, [](const Value::Array& all) { return Value(OrderedSet<Value>(all)); }),
        rc::gen::map(list, [](const Value::Array& all) {
            Dictionary made;
            for (const auto& each : all) made.set(each, each);
            return Value(made);
        }));
}

}  // namespace

TEST(GivenTextsOfAllForms, WhenMadeValuesThenTheyAreEqual) {
    const std::string text = "text";
    EXPECT_EQ(Value(text), Value(String("text")));
    EXPECT_EQ(Value(text), Value("text"));
    EXPECT_EQ(Value(text), Value(std::string_view("text")));
    EXPECT_EQ(Value(text).kind(), Value::Kind::string);
}

TEST(GivenNumbersOfAllKinds, WhenTheirValuesAreEqualThenTheyAreEqualAndHashAlike) {
    const Value ones[] = {true, 1, std::uint64_t{1}, 1.0f, 1.0};
    for (const auto& a : ones)
        for (const auto& b : ones) EXPECT_TRUE(same(a, b)) << a.description() << b.description();
    EXPECT_TRUE(same(0.0, -0.0));
    EXPECT_TRUE(same(false, -0.0f));
    EXPECT_TRUE(same(0.5f, 0.5));
    EXPECT_TRUE(same(127.3f, static_cast<double>(127.3f)));
    EXPECT_TRUE(same(leastSigned, -9223372036854775808.0));
    EXPECT_TRUE(same(std::uint64_t{1} << 63, 9223372036854775808.0));
    EXPECT_TRUE(
        same(std::numeric_limits<double>::infinity(), std::numeric_limits<float>::infinity()));
}

TEST(GivenNumbersOfDifferentValue, WhenComparedThenTheyDifferExactly) {
    EXPECT_NE(Value(0.1f), Value(0.1));
    EXPECT_NE(Value(127.3f), Value(127.3));
    EXPECT_NE(Value(mostUnsigned), Value(-1));
    EXPECT_NE(Value(mostUnsigned), Value(18446744073709551616.0));
    EXPECT_NE(Value(mostSigned), Value(9223372036854775808.0));
    EXPECT_NE(Value(std::int64_t{9007199254740993}), Value(9007199254740992.0));
    EXPECT_NE(Value(1), Value(-1));
    const Value nan(std::nan("")), nanFloat(std::nanf(""));
    EXPECT_FALSE(nan == nan);
    EXPECT_FALSE(nan == nanFloat);
    EXPECT_NE(nan, Value(0));
}

TEST(GivenDifferentKinds, WhenComparedThenTheyNeverEqual) {
    const OrderedSet<Value> ordered{Value(1)};
    const Value kinds[] = {Value(),
                           Null(),
                           1,
                           "1",
                           Date{1},
                           someData(1),
                           *URL::withString("a"),
                           UUID(),
                           Value::Array{1},
                           ValueSet{1},
                           ordered,
                           Dictionary{{1, 1}},
                           named(1)};
    for (std::size_t i = 0; i < std::size(kinds); ++i)
        for (std::size_t j = 0; j < std::size(kinds); ++j)
            EXPECT_EQ(kinds[i] == kinds[j], i == j) << i << " " << j;
}

TEST(GivenTwoOfOneKind, WhenComparedThenTheContentDecides) {
    EXPECT_TRUE(same("a", String("a")));
    EXPECT_NE(Value("\u00E9"), Value("e\u0301"));
    EXPECT_TRUE(same(Date{0.0}, Date{-0.0}));
    EXPECT_NE(Value(Date{1}), Value(Date{2}));
    EXPECT_TRUE(same(someData(1), someData(1)));
    EXPECT_NE(Value(someData(1)), Value(someData(2)));
    EXPECT_TRUE(same(named(1), named(1)));
    EXPECT_NE(Value(named(1)), Value(named(2)));
    const URL base = *URL::withString("http://a/b/");
    EXPECT_TRUE(same(*URL::withString("c", &base), *URL::withString("c", &base)));
    EXPECT_NE(Value(*URL::withString("c", &base)), Value(*URL::withString("http://a/b/c")));
}

TEST(GivenCollections, WhenComparedThenOrderCountsForAllButSets) {
    EXPECT_TRUE(same(Value::Array{1, "a"}, Value::Array{1.0, "a"}));
    EXPECT_NE(Value(Value::Array{1, 2}), Value(Value::Array{2, 1}));
    EXPECT_NE(Value(Value::Array{1}), Value(Value::Array{1, 1}));
    EXPECT_TRUE(same(ValueSet{1, 2}, ValueSet{2, 1, 2}));
    EXPECT_NE(Value(ValueSet{1, 2}), Value(ValueSet{1, 3}));
    EXPECT_NE(Value(OrderedSet<String>{"a", "b"}), Value(OrderedSet<String>{"b", "a"}));
    EXPECT_EQ(Value(OrderedSet<String>{"a", "b", "a"}).elements().size(), 2u);
}

TEST(GivenNumbers, WhenReadAsIntegersThenTheyTruncateAndSaturate) {
    EXPECT_EQ(Value(-1.9).integerValue(), -1);
    EXPECT_EQ(Value(1e300).integerValue(), mostSigned);
    EXPECT_EQ(Value(-1e300).integerValue(), leastSigned);
    EXPECT_EQ(Value(9223372036854775808.0).integerValue(), mostSigned);
    EXPECT_EQ(Value(leastSigned).integerValue(), leastSigned);
    EXPECT_EQ(Value(mostUnsigned).integerValue(), mostSigned);
    EXPECT_EQ(Value(std::nan("")).integerValue(), 0);
    EXPECT_EQ(Value(-std::numeric_limits<float>::infinity()).integerValue(), leastSigned);
    EXPECT_EQ(Value(true).integerValue(), 1);
    EXPECT_EQ(Value("7").integerValue(), 0);
}

TEST(GivenNumbers, WhenReadUnsignedThenMinusOneIsTheLargest) {
    EXPECT_EQ(Value(-1).unsignedValue(), mostUnsigned);
    EXPECT_EQ(Value(-1.0).unsignedValue(), mostUnsigned);
    EXPECT_EQ(Value(mostUnsigned).unsignedValue(), mostUnsigned);
    EXPECT_EQ(Value(1e300).unsignedValue(), mostUnsigned);
    EXPECT_EQ(Value(9223372036854777856.5).unsignedValue(), 9223372036854777856u);
    EXPECT_EQ(Value(2.9).unsignedValue(), 2u);
    EXPECT_EQ(Value(std::nan("")).unsignedValue(), 0u);
}

TEST(GivenNumbers, WhenReadAsRealsAndBoolsThenTheyConvert) {
    EXPECT_EQ(Value(0.1f).realValue(), static_cast<double>(0.1f));
    EXPECT_EQ(Value(mostUnsigned).realValue(), 18446744073709551616.0);
    EXPECT_EQ(Value(1e300).floatValue(), std::numeric_limits<float>::max());
    EXPECT_EQ(Value(-1e300).floatValue(), -std::numeric_limits<float>::max());
    EXPECT_TRUE(std::isnan(Value(std::nan("")).floatValue()));
    EXPECT_EQ(Value(3).floatValue(), 3.0f);
    EXPECT_TRUE(Value(0.25).boolValue());
    EXPECT_TRUE(Value(-1).boolValue());
    EXPECT_FALSE(Value(-0.0).boolValue());
    EXPECT_FALSE(Value(std::nan("")).boolValue());
    EXPECT_FALSE(Value("true").boolValue());
}

TEST(GivenAValue, WhenReadAsAnotherKindThenNilOrEmpty) {
    const Value number(1);
    EXPECT_FALSE(number.string());
    EXPECT_FALSE(number.date() || number.data() || number.url() || number.uuid() ||
                 number.object());
    EXPECT_TRUE(number.elements().empty());
    EXPECT_TRUE(number.dictionary().empty());
    EXPECT_TRUE(Value(String()).isNil());
    EXPECT_TRUE(Value(std::optional<Date>()).isNil());
    EXPECT_TRUE(Value(std::shared_ptr<const Object>()).isNil());
    EXPECT_EQ(Value(std::optional(Date{1})).date(), Date{1});
    EXPECT_FALSE(Value(Null()).isNil());
}

TEST(GivenNumbers, WhenDescribedThenAsThePlatformDoes) {
    const std::pair<Value, const char*> table[] = {
        {12.5f, "12.5"},
        {3.0f, "3"},
        {127.3f, "127.3"},
        {0.1f, "0.1"},
        {1234567.5f, "1234568"},
        {16777216.0f, "1.677722e+07"},
        {0.1, "0.1"},
        {1.0 / 3, "0.3333333333333333"},
        {static_cast<double>(127.3f), "127.3000030517578"},
        {1e20, "1e+20"},
        {1e-7, "1e-07"},
        {-0.0, "-0"},
        {42, "42"},
        {mostUnsigned, "18446744073709551615"},
        {true, "1"},
        {false, "0"}};
    for (const auto& [value, text] : table) EXPECT_EQ(value.description(), text);
}

TEST(GivenOtherValues, WhenDescribedThenAsThePlatformDoes) {
    EXPECT_EQ(Value().description(), "(null)");
    EXPECT_EQ(Value(Null()).description(), "<null>");
    EXPECT_EQ(Value("a b").description(), "a b");
    EXPECT_EQ(Value(Date{0}).description(), "2001-01-01 00:00:00 +0000");
    EXPECT_EQ(Value(someData(255)).description(), "{length = 2, bytes = 0x01ff}");
    EXPECT_EQ(Value(UUID()).description(), "00000000-0000-0000-0000-000000000000");
    EXPECT_EQ(Value(*URL::withString("http://a")).description(), "http://a");
    EXPECT_EQ(Value(Value::Array{1, "a b", Value::Array{}}).description(),
              "(\n    1,\n    \"a b\",\n    (\n    )\n)");
    EXPECT_EQ(Value(ValueSet{1}).description(), "{(\n    1\n)}");
    EXPECT_EQ(Value(Dictionary{{"a", 1}}).description(), "{\n    a = 1;\n}");
}

RC_GTEST_PROP(Value, HashesAgreeWithEquality, ()) {
    const Value a = *anyValue(), b = *anyValue();
    RC_ASSERT((a == b) == (b == a));
    if (a == b) RC_ASSERT(a.hash() == b.hash());
}

RC_GTEST_PROP(Value, EqualsItself, ()) {
    const Value a = *anyValue();
    RC_ASSERT(same(a, Value(a)));
}

RC_GTEST_PROP(Value, EqualNumbersConvertAlike, ()) {
    const Value a = *anyNumber(), b = *anyNumber();
    if (!(a == b)) return;
    RC_ASSERT(a.integerValue() == b.integerValue());
    RC_ASSERT(a.unsignedValue() == b.unsignedValue());
    RC_ASSERT(a.realValue() == b.realValue());
    RC_ASSERT(a.boolValue() == b.boolValue());
}

RC_GTEST_PROP(Value, EqualityIsTransitiveForNumbers, ()) {
    const Value a = *anyNumber(), b = *anyNumber(), c = *anyNumber();
    if (a == b && b == c) RC_ASSERT(a == c);
}
