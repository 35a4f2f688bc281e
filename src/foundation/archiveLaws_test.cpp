#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include "foundation/KeyedArchiver.h"
#include "foundation/KeyedUnarchiver.h"

namespace qsml {
namespace {

std::string anyText() {
    static const std::vector<std::string> pieces = {"a",
                                                    "Z",
                                                    " ",
                                                    "$null",
                                                    "$",
                                                    "\n",
                                                    "\u00e9",
                                                    "\u03a9",
                                                    "\u3042",
                                                    "\U0001F3A7",
                                                    "twenty letters long."};
    std::string text;
    for (const auto& piece :
         *rc::gen::container<std::vector<std::string>>(rc::gen::elementOf(pieces)))
        text += piece;
    return text;
}

Data anyData() {
    const auto bytes = *rc::gen::arbitrary<std::vector<std::uint8_t>>();
    return Data(bytes);
}

UUID anyUUID() {
    UUID uuid;
    for (auto& byte : uuid.bytes) byte = *rc::gen::arbitrary<std::uint8_t>();
    return uuid;
}

// Numbers are finite: NaN equals nothing.
Value anyLeaf() {
    switch (*rc::gen::inRange(0, 11)) {
        case 0:
            return Null();
        case 1:
            return *rc::gen::arbitrary<bool>();
        case 2:
            return *rc::gen::arbitrary<std::int64_t>();
        case 3:
            return ~*rc::gen::arbitrary<std::uint64_t>();
        case 4:
            return static_cast<float>(*rc::gen::arbitrary<std::int32_t>()) / 7;
        case 5:
            return static_cast<double>(*rc::gen::arbitrary<std::int64_t>()) / 7;
        case 6:
            return Date{static_cast<double>(*rc::gen::arbitrary<std::int32_t>()) / 7};
        case 7:
            return anyData();
        case 8:
            return URL::withString("file:///m/" + std::to_string(*rc::gen::inRange(0, 99)));
        case 9:
            return anyUUID();
        default:
            return anyText();
    }
}

Value anyTree(int levels);

Value::Array anyTrees(int levels) {
    Value::Array trees;
    for (int count = *rc::gen::inRange(0, 5); count > 0; --count) trees.push_back(anyTree(levels));
    return trees;
}

Value anyTree(int levels) {
    if (levels == 0) return anyLeaf();
    switch (*rc::gen::inRange(0, 6)) {
        case 0:
            return anyTrees(levels - 1);
        case 1:
            return ValueSet(anyTrees(levels - 1));
        case 2:
            return OrderedSet<Value>(anyTrees(levels - 1));
        case 3: {
            Dictionary dictionary;
            for (const Value& key : anyTrees(levels - 1)) dictionary.set(key, anyTree(levels - 1));
            return dictionary;
        }
        default:
            return anyLeaf();
    }
}

RC_GTEST_PROP(Archives, GiveBackAnyTreeOfValues, ()) {
    const Value tree = anyTree(4);
    KeyedArchiver archiver;
    KeyedUnarchiver unarchiver;
    Error error;
    const Value decoded = unarchiver.unarchive(archiver.archive(tree), &error);
    RC_ASSERT(!error);
    RC_ASSERT(decoded.kind() == tree.kind() || (decoded.isNumber() && tree.isNumber()));
    RC_ASSERT(decoded == tree);
    RC_ASSERT(decoded.hash() == tree.hash());
}

RC_GTEST_PROP(Archives, AreTheSameWhenTheTreeIsArchivedAgain, ()) {
    const Value tree = anyTree(3);
    KeyedArchiver archiver;
    const auto first = archiver.archive(tree);
    const std::vector<std::uint8_t> bytes(first.begin(), first.end());
    const Value decoded = KeyedUnarchiver().unarchive(bytes);
    const auto second = archiver.archive(decoded);
    RC_ASSERT(std::equal(second.begin(), second.end(), bytes.begin(), bytes.end()));
}

}  // namespace
}  // namespace qsml
