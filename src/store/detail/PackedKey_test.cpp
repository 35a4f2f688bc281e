#include "store/detail/PackedKey.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <string>

#include "foundation/text.h"

namespace qsml::detail {
namespace {

std::string roundTrip(std::string_view key) {
    const PackedKey packed(key);
    UnpackedKey unpacked;
    EXPECT_TRUE(unpacked.read(packed.bytes(), packed.isText()));
    return std::string(unpacked.view());
}

std::size_t storedSize(std::string_view key) { return PackedKey(key).bytes().size(); }

TEST(PackedKey, WhenKeyIsADigestThenItTakesSixteenBytes) {
    EXPECT_EQ(storedSize("0123456789abcdef0123456789abcdef"), 16u);
}

TEST(PackedKey, WhenKeyIsAnUpperCaseUuidThenItTakesSeventeenBytes) {
    EXPECT_EQ(storedSize("01234567-89AB-CDEF-0123-456789ABCDEF"), 17u);
}

TEST(PackedKey, WhenKeyIsNearlyOneOfTheseThenItStaysAText) {
    for (const char* key :
         {"0123456789abcdef0123456789abcdeF", "0123456789abcdef0123456789abcde",
          "0123456789abcdef0123456789abcdef0", "0123456789ABCDEF0123456789ABCDEF",
          "01234567-89ab-cdef-0123-456789abcdef", "01234567-89AB-CDEF-0123-456789ABCDEf",
          "0123456789-AB-CDEF-0123-456789ABCDEF", "01234567-89AB-CDEF-0123-456789ABCDE",
          "0123456789abcdefg123456789abcdef", ""}) {
        EXPECT_TRUE(PackedKey(key).isText()) << key;
        EXPECT_EQ(roundTrip(key), key);
    }
}

TEST(PackedKey, WhenStoredFormIsForeignThenItIsNoKey) {
    UnpackedKey key;
    const std::uint8_t bytes[18] = {2};
    EXPECT_FALSE(key.read({bytes, 15}, false));
    EXPECT_FALSE(key.read({bytes, 17}, false));
    EXPECT_FALSE(key.read({bytes, 18}, false));
    EXPECT_FALSE(key.read({bytes, 0}, false));
    const std::string text = "0123456789abcdef0123456789abcdef";
    EXPECT_FALSE(key.read({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}, true));
}

rc::Gen<char> digit() {
    return rc::gen::oneOf(rc::gen::inRange('0', '9'), rc::gen::inRange('a', 'g'),
                          rc::gen::inRange('A', 'G'), rc::gen::element('-', '\0'));
}

RC_GTEST_PROP(PackedKey, AnyTextComesBackAsItWas, ()) {
    const auto key = *rc::gen::oneOf(
        rc::gen::string<std::string>(), rc::gen::container<std::string>(32, digit()),
        rc::gen::map(rc::gen::arbitrary<std::string>(),
                     [](const std::string& text) { return md5Hash(text).str(); }));
    RC_ASSERT(roundTrip(key) == key);
}

RC_GTEST_PROP(PackedKey, AnyUuidComesBackWithOneCharacterChangedOrNot, ()) {
    auto digits = *rc::gen::container<std::string>(32, rc::gen::elementOf(std::string("0189AF")));
    for (const std::size_t position : {8u, 13u, 18u, 23u}) digits.insert(position, "-");
    RC_ASSERT(roundTrip(digits) == digits);
    RC_ASSERT(storedSize(digits) == 17u);
    digits[*rc::gen::inRange<std::size_t>(0, digits.size())] = *digit();
    RC_ASSERT(roundTrip(digits) == digits);
}

}  // namespace
}  // namespace qsml::detail
