#include "foundation/JSON.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

namespace qsml {
namespace {

Value read(std::string_view text) {
    Error error;
    Value value = valueOfJSONText(text, &error);
    EXPECT_EQ(value.isNil(), static_cast<bool>(error)) << text;
    return value;
}

TEST(GivenAValue, WhenWrittenAsJSONThenTheTextIsCompact) {
    const Value value(Dictionary{{"time", 12.5F},
                                 {"number", 2},
                                 {"list", Value(Value::Array{Value(true), Value(Null())})},
                                 {"comment", "a \"b\" \xC3\xA9\n"}});
    EXPECT_EQ(jsonText(value),
              "{\"time\":12.5,\"number\":2,\"list\":[true,null],"
              "\"comment\":\"a \\\"b\\\" \xC3\xA9\\n\"}");
    EXPECT_EQ(jsonText(Value(Dictionary())), "{}");
    EXPECT_EQ(jsonText(Value(Value::Array{})), "[]");
    EXPECT_EQ(jsonText(Value("")), "\"\"");
}

TEST(GivenANumber, WhenWrittenAsJSONThenItHasTheFewestDigitsOfItsWidth) {
    EXPECT_EQ(jsonText(Value(0.1F)), "0.1");
    EXPECT_EQ(jsonText(Value(0.1)), "0.1");
    EXPECT_EQ(jsonText(Value(static_cast<double>(0.1F))), "0.10000000149011612");
    EXPECT_EQ(jsonText(Value(3.0F)), "3");
    EXPECT_EQ(jsonText(Value(-0.0F)), "-0");
    EXPECT_EQ(floatOfJSONEntry(read(*jsonText(Value(7.038531e-26F)))), 7.038531e-26F)
        << "the one that rounding twice would miss";
    EXPECT_EQ(jsonText(Value(std::numeric_limits<std::uint64_t>::max())), "18446744073709551615");
    EXPECT_EQ(jsonText(Value(std::numeric_limits<std::int64_t>::min())), "-9223372036854775808");
}

TEST(GivenAValueThatJSONCannotHold, WhenWrittenThenThereIsNoText) {
    const Value inside[] = {Value(),
                            Value(std::nanf("")),
                            Value(std::numeric_limits<double>::infinity()),
                            Value(Date{1}),
                            Value(Data()),
                            Value(UUID()),
                            Value(ValueSet{Value(1)}),
                            Value(OrderedSet<String>{"a"}),
                            Value("\xFF")};
    for (const Value& value : inside) {
        EXPECT_EQ(jsonText(value), nullptr) << value.description();
        EXPECT_EQ(jsonText(Value(Value::Array{value})), nullptr) << value.description();
    }
    EXPECT_EQ(jsonText(Value(Dictionary{{1, 2}})), nullptr) << "keys are texts";
    EXPECT_EQ(jsonText(Value(Dictionary{{"\xFF", 2}})), nullptr);
}

TEST(GivenAJSONText, WhenReadThenNumbersKeepTheirKind) {
    EXPECT_EQ(read("7").kind(), Value::Kind::integer);
    EXPECT_EQ(read("7.0").kind(), Value::Kind::real64);
    EXPECT_EQ(read("7e0").kind(), Value::Kind::real64);
    EXPECT_EQ(read("true").kind(), Value::Kind::boolean);
    EXPECT_EQ(read("null").kind(), Value::Kind::null);
    EXPECT_EQ(read("-9223372036854775808"), Value(std::numeric_limits<std::int64_t>::min()));
    EXPECT_EQ(read("18446744073709551615"), Value(std::numeric_limits<std::uint64_t>::max()));
    EXPECT_EQ(read("18446744073709551616"), Value(18446744073709551616.0));
    EXPECT_TRUE(std::signbit(read("-0").realValue()));
}

TEST(GivenAJSONNumber, WhenItIsTooSmallForARealThenItIsZeroAndTooLargeOnesAreRefused) {
    EXPECT_EQ(read("1e-400"), Value(0.0));
    EXPECT_EQ(read("0." + std::string(400, '0') + "1"), Value(0.0));
    EXPECT_EQ(read("1.7976931348623157e308"), Value(std::numeric_limits<double>::max()));
    EXPECT_TRUE(valueOfJSONText("1e400").isNil());
    EXPECT_TRUE(valueOfJSONText("-1e400").isNil());
    EXPECT_TRUE(valueOfJSONText("12345678901234567890e300").isNil());
    EXPECT_TRUE(valueOfJSONText("1" + std::string(400, '0') + "e-10").isNil());
    EXPECT_EQ(read("0." + std::string(400, '0') + "1e+10"), Value(0.0));
    EXPECT_EQ(read("0." + std::string(400, '0') + "1e+401"), Value(1.0));
    EXPECT_TRUE(valueOfJSONText("1" + std::string(400, '0')).isNil());
}

TEST(GivenAJSONObject, WhenAKeyComesTwiceThenTheLastWins) {
    EXPECT_EQ(read("{\"a\":1,\"b\":2,\"a\":[3]}"),
              Value(Dictionary{{"b", 2}, {"a", Value(Value::Array{Value(3)})}}));
}

TEST(GivenAJSONText, WhenItsTextsAreEscapedThenTheyReadBack) {
    EXPECT_EQ(read("\"\\u00e9\\/\\ud83c\\udfa7\\u0000x\""),
              Value(std::string("\xC3\xA9/\xF0\x9F\x8E\xA7\0x", 9)));
    EXPECT_EQ(read(" [ 1 , 2 ] "), Value(Value::Array{Value(1), Value(2)}));
}

TEST(GivenATextThatIsNoJSON, WhenReadThenItIsNilWithAnError) {
    const std::string_view texts[] = {
        "",         " ",   "{",       "[1,]",        "{\"a\"}",      "{'a':1}",  "{\"a\":1,}",
        "nul",      "+1",  "01",      "1.",          ".5",           "NaN",      "Infinity",
        "1 2",      "\"a", "\"\\x\"", "\"\\ud800\"", "\"\xC0\xAF\"", "\"\xFF\"", "[1]//c",
        "\"\n\"\n", "tru", "{1:2}"};
    for (const std::string_view text : texts) {
        Error error;
        EXPECT_TRUE(valueOfJSONText(text, &error).isNil()) << text;
        EXPECT_FALSE(error.description.empty()) << text;
    }
    EXPECT_TRUE(valueOfJSONText("\"\\udfa7\"").isNil()) << "a low surrogate alone";
    EXPECT_TRUE(valueOfJSONText("{\"\\udfa7\":1}").isNil());
    EXPECT_TRUE(valueOfJSONText(std::string_view()).isNil());
    EXPECT_TRUE(valueOfJSONText(std::string_view("1\0", 2)).isNil());
}

TEST(GivenAJSONText, WhenItNestsDeeperThan512LevelsThenItIsRefused) {
    const auto nested = [](std::size_t levels) {
        return std::string(levels, '[') + std::string(levels, ']');
    };
    EXPECT_FALSE(read(nested(512)).isNil());
    Error error;
    EXPECT_TRUE(valueOfJSONText(nested(513), &error).isNil());
    EXPECT_NE(error.description.find("nests too deeply"), std::string::npos) << error.description;
    EXPECT_TRUE(valueOfJSONText(std::string(1'000'000, '[')).isNil());

    Value deep(Value::Array{});
    for (int level = 1; level < 512; ++level) deep = Value(Value::Array{deep});
    EXPECT_FALSE(valueOfJSONText(jsonText(deep)).isNil());
    EXPECT_EQ(jsonText(Value(Value::Array{deep})), nullptr);
}

TEST(GivenAnEntryOfAJSONObject, WhenReadAsANumberThenTextsCountByTheirPrefix) {
    EXPECT_EQ(floatOfJSONEntry(Value(" +12.5x")), 12.5F);
    EXPECT_EQ(floatOfJSONEntry(Value("-3e1")), -30.0F);
    EXPECT_EQ(floatOfJSONEntry(Value("inf")), 0.0F);
    EXPECT_EQ(floatOfJSONEntry(Value("--1")), 0.0F);
    EXPECT_EQ(floatOfJSONEntry(Value("1e400")), std::numeric_limits<float>::max());
    EXPECT_EQ(floatOfJSONEntry(Value("-1e400")), std::numeric_limits<float>::lowest());
    EXPECT_EQ(floatOfJSONEntry(Value("1e-400")), 0.0F);
    EXPECT_EQ(floatOfJSONEntry(Value("1e99999999999999999999")), std::numeric_limits<float>::max());
    EXPECT_EQ(floatOfJSONEntry(Value("1e-99999999999999999999")), 0.0F);
    EXPECT_EQ(floatOfJSONEntry(Value(7)), 7.0F);
    EXPECT_EQ(floatOfJSONEntry(Value(Null())), 0.0F);
    EXPECT_EQ(integerOfJSONEntry(Value(" 12.9")), 12);
    EXPECT_EQ(integerOfJSONEntry(Value("-7 beats")), -7);
    EXPECT_EQ(integerOfJSONEntry(Value("9223372036854775808")),
              std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(integerOfJSONEntry(Value("-9223372036854775809")),
              std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(integerOfJSONEntry(Value(2.9)), 2);
    EXPECT_EQ(integerOfJSONEntry(Value("")), 0);
    EXPECT_EQ(integerOfJSONEntry(Value(Value::Array{})), 0);
}

RC_GTEST_PROP(JSONText, RestoresEveryFiniteFloat, (std::uint32_t bits)) {
    const float number = std::bit_cast<float>(bits);
    RC_PRE(std::isfinite(number));
    const float back = valueOfJSONText(jsonText(Value(number))).floatValue();
    RC_ASSERT(std::bit_cast<std::uint32_t>(back) == bits);
}

RC_GTEST_PROP(JSONText, RestoresEveryFiniteDouble, (std::uint64_t bits)) {
    const double number = std::bit_cast<double>(bits);
    RC_PRE(std::isfinite(number));
    const double back = valueOfJSONText(jsonText(Value(number))).realValue();
    RC_ASSERT(std::bit_cast<std::uint64_t>(back) == bits);
}

RC_GTEST_PROP(JSONText, RestoresTextsAndWholeNumbers, (std::string text, std::int64_t number)) {
    const Value value(Value::Array{Value(number), Value(Dictionary{{"k", Value(text)}})});
    if (const String json = jsonText(value)) RC_ASSERT(valueOfJSONText(json) == value);
}

}  // namespace
}  // namespace qsml
