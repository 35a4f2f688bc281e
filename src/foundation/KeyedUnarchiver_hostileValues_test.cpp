#include "testing/HostileArchive.h"

#include <limits>

namespace qsml::hostile {
namespace {

/// A chain of arrays, each holding the next.
Bytes nested(const char* className, std::uint32_t levels, bool innermostFirst) {
    B b;
    const std::uint32_t described = b.classNamed(className);
    std::vector<std::uint32_t> chain(levels);
    for (std::uint32_t& uid : chain) uid = b.reserve();
    const B::Ref classUID = b.uid(described);
    for (std::uint32_t i = 0; i < levels; ++i)
        b.place(chain[i],
                b.dictionary({{"NS.objects", i + 1 < levels ? b.uids({chain[i + 1]}) : b.array({})},
                              {"$class", classUID}}));
    if (!innermostFirst) return b.archive(chain[0]);
    // Decodes the innermost level first, so that no step is deep: the result would be.
    std::vector<std::uint32_t> all(chain.rbegin(), chain.rend());
    return b.archive(b.collection("NSArray", all));
}

Bytes doublingDAG(const char* className, std::uint32_t levels, const char* outer = nullptr) {
    B b;
    std::uint32_t below = b.addText("leaf");
    for (std::uint32_t i = 0; i < levels; ++i)
        below = b.instance(className, {{"NS.objects", b.array({b.uid(below), b.uid(below)})}});
    return b.archive(outer ? b.collection(outer, {below}) : below);
}

Bytes rawNesting(std::uint32_t levels) {
    B b;
    B::Ref inner = b.array({});
    for (std::uint32_t i = 1; i < levels; ++i) inner = b.array({inner});
    return b.archive(b.add(inner));
}

Bytes selfCycle(const char* className) {
    B b;
    const std::uint32_t self = b.reserve();
    b.place(self, b.instanceRef(className, {{"NS.objects", b.uids({self})}}));
    return b.archive(self);
}

Bytes mutualCycle(const char* className) {
    B b;
    const std::uint32_t one = b.reserve(), two = b.reserve();
    b.place(one, b.instanceRef(className, {{"NS.objects", b.uids({two})}}));
    b.place(two, b.instanceRef(className, {{"NS.objects", b.uids({one})}}));
    return b.archive(one);
}

/// A million references in little space, to one object.
Bytes manyReferences(const char* className, std::size_t count, std::size_t textSize) {
    B b;
    const B::Ref one = b.uid(b.addText(std::string(textSize, 'x')));
    return b.archive(
        b.instance(className, {{"NS.objects", b.array(std::vector<B::Ref>(count, one))}}));
}

std::vector<Case> cycleCases() {
    return {
        {"ArrayOfItself", Ends::inError, [] { return selfCycle("NSArray"); }, "contains itself"},
        {"SetOfItself", Ends::inError, [] { return selfCycle("NSSet"); }, "contains itself"},
        {"OrderedSetOfItself", Ends::inError, [] { return selfCycle("NSOrderedSet"); }},
        {"ArraysOfEachOther", Ends::inError, [] { return mutualCycle("NSArray"); }, "itself"},
        {"SetsOfEachOther", Ends::inError, [] { return mutualCycle("NSMutableSet"); }, "itself"},
        {"DictionaryOfItself", Ends::inError,
         [] {
             return rootOf([](B& b) {
                 const std::uint32_t self = b.reserve(), key = b.addText("k");
                 b.place(self, b.instanceRef("NSDictionary", {{"NS.keys", b.uids({key})},
                                                              {"NS.objects", b.uids({self})}}));
                 return self;
             });
         },
         "itself"},
        {"URLWhoseBaseIsItself", Ends::inError,
         [] {
             return rootOf([](B& b) {
                 const std::uint32_t self = b.reserve(), text = b.addText("x");
                 b.place(self, b.instanceRef("NSURL", {{"NS.base", b.uid(self)},
                                                       {"NS.relative", b.uid(text)}}));
                 return self;
             });
         },
         "itself"},
    };
}

std::vector<Case> nestingCases() {
    return {
        {"NestedArrays200", Ends::inValue, [] { return nested("NSArray", 200, false); }},
        {"NestedArrays512", Ends::inValue, [] { return nested("NSArray", 512, false); }},
        {"NestedArrays513", Ends::inError, [] { return nested("NSArray", 513, false); }, "512"},
        {"NestedArrays100000", Ends::inError, [] { return nested("NSArray", 100000, false); },
         "512"},
        {"NestedArrays100000FromWithin", Ends::inError,
         [] { return nested("NSArray", 100000, true); }, "512"},
        {"NestedSets100000", Ends::inError, [] { return nested("NSSet", 100000, false); }},
        {"NestedRawArrays100000", Ends::inError, [] { return rawNesting(100000); }, "class"},
        {"DoublingArrays40", Ends::inValue, [] { return doublingDAG("NSArray", 40); }},
        {"DoublingArrays500", Ends::inValue, [] { return doublingDAG("NSArray", 500); }},
        {"DoublingSets40", Ends::inValue, [] { return doublingDAG("NSSet", 40); }},
        {"DoublingArrays40InASet", Ends::inError,
         [] { return doublingDAG("NSArray", 40, "NSSet"); }, "too much work"},
        {"DoublingArrays40InAnOrderedSet", Ends::inError,
         [] { return doublingDAG("NSArray", 40, "NSOrderedSet"); }, "too much work"},
    };
}

std::vector<Case> repeatCases() {
    return {
        {"ArrayThatNamesOneTextOften", Ends::inError,
         [] {
             // One byte for each of many elements.
             B b(1);
             const B::Ref one = b.uid(b.addText("x"));
             return b.archive(b.instance(
                 "NSArray", {{"NS.objects", b.array(std::vector<B::Ref>(300000, one))}}));
         },
         "memory"},
        {"SetThatNamesALongTextOften", Ends::inValue,
         [] { return manyReferences("NSSet", 100000, 500000); }},
        {"OrderedSetThatNamesALongTextOften", Ends::inValue,
         [] { return manyReferences("NSOrderedSet", 100000, 500000); }},
        {"ManyReferencesToOneLongPlainText", Ends::inError,
         [] {
             B b(2);
             const B::Ref text = b.text(std::string(100000, 'x'));
             std::vector<std::uint32_t> elements;
             for (int i = 0; i < 10000; ++i) elements.push_back(b.add(text));
             return b.archive(b.collection("NSArray", elements));
         },
         "memory"},
    };
}

std::vector<Case> elementCases() {
    return {
        {"NilInAnArray", Ends::inError,
         [] { return rootOf([](B& b) { return b.collection("NSArray", {0}); }); }, "NS.objects"},
        {"NilInADictionary", Ends::inError,
         [] {
             return rootOf([](B& b) {
                 return b.instance("NSDictionary", {{"NS.keys", b.uids({b.addText("k")})},
                                                    {"NS.objects", b.uids({0})}});
             });
         },
         "NS.objects"},
        {"ElementOutside", Ends::inError,
         [] { return rootOf([](B& b) { return b.collection("NSSet", {77}); }); }, "NS.objects"},
        {"ElementInline", Ends::inError,
         [] {
             return rootOf([](B& b) {
                 return b.instance("NSArray", {{"NS.objects", b.array({b.text("x")})}});
             });
         },
         "NS.objects"},
        {"NumberedElementNil", Ends::inError,
         [] {
             return rootOf([](B& b) {
                 return b.instance("NSOrderedSet", {{"NS.object.0", b.uid(0)}});
             });
         },
         "NS.object.0"},
        {"ElementsThatAreAText", Ends::inError,
         [] {
             return rootOf([](B& b) {
                 return b.instance("NSArray", {{"NS.objects", b.text("")}});
             });
         },
         "NS.objects"},
    };
}

std::vector<Case> pairCases() {
    return {
        {"MoreKeysThanValues", Ends::inError,
         [] {
             return rootOf([](B& b) {
                 return b.instance("NSDictionary", {{"NS.keys", b.uids({b.addText("k")})},
                                                    {"NS.objects", b.array({})}});
             });
         },
         "unequal"},
        {"MoreValuesThanKeys", Ends::inError,
         [] {
             return rootOf([](B& b) {
                 return b.instance("NSDictionary", {{"NS.object.0", b.uid(b.addText("v"))}});
             });
         },
         "unequal"},
        {"DateWithoutTime", Ends::inError,
         [] { return rootOf([](B& b) { return b.instance("NSDate", {}); }); }, "date"},
        {"DateWhoseTimeIsAText", Ends::inError,
         [] {
             return rootOf([](B& b) { return b.instance("NSDate", {{"NS.time", b.text("1")}}); });
         },
         "date"},
    };
}

std::vector<Case> numberCases() {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    return {
        {"DateNaN", Ends::inValue,
         [nan] {
             return rootOf([nan](B& b) {
                 return b.instance("NSDate", {{"NS.time", b.real(nan)}});
             });
         }},
        {"RawDateNaN", Ends::inValue,
         [nan] { return rootOf([nan](B& b) { return b.add(b.date(nan)); }); }},
        {"IntegerFromNaN", Ends::inValue,
         [nan] { return property("count", [nan](B& b) { return b.real(nan); }); }},
        {"IntegerFrom1e300", Ends::inValue,
         [] { return property("count", [](B& b) { return b.real(1e300); }); }},
        {"IntegerOf16BytesTooLarge", Ends::inValue,
         [] {
             return property("count", [](B& b) { return b.raw("\x14" + std::string(16, 'x')); });
         }},
    };
}

std::vector<Case> contentCases() {
    return {
        {"UUIDTooShort", Ends::inError,
         [] {
             return rootOf([](B& b) {
                 return b.instance("NSUUID", {{"NS.uuidbytes", b.data("short")}});
             });
         },
         "UUID"},
        {"UUIDWithoutBytes", Ends::inError,
         [] { return rootOf([](B& b) { return b.instance("NSUUID", {}); }); }, "UUID"},
        {"DataWithoutBytes", Ends::inNil,
         [] { return rootOf([](B& b) { return b.instance("NSMutableData", {}); }); }},
        {"StringOfInvalidUTF8", Ends::inNil,
         [] {
             return rootOf([](B& b) {
                 return b.instance("NSString", {{"NS.bytes", b.data("\xC3(")}});
             });
         }},
        {"TextWithHighBytes", Ends::inValue, [] { return rootRaw("\x52\xE9\xFF"); }},
        {"TextOfHalfASurrogatePair", Ends::inValue,
         [] { return rootOf([](B& b) { return b.add(b.utf16(u"a\xD800")); }); }},
        {"URLWithoutText", Ends::inNil,
         [] { return rootOf([](B& b) {
                  return b.instance("NSURL", {{"NS.base", b.uid(0)}});
              }); }},
        {"URLThatIsNone", Ends::inNil,
         [] {
             return rootOf([](B& b) {
                 return b.instance("NSURL", {{"NS.relative", b.uid(b.addText("no url %%"))}});
             });
         }},
    };
}

class HostileValues : public HostileArchive {};

TEST_P(HostileValues, WhenReadThenEndsAsItShould) { expectItsEnd(); }

TEST_P(HostileValues, WhenReadThenTheNextArchiveIsNotAffected) { expectTheNextArchiveReads(); }

TEST_P(HostileValues, WhenDescribedThenBounded) { expectABoundedDescription(); }

INSTANTIATE_TEST_SUITE_P(Hostile, HostileValues,
                         ::testing::ValuesIn(joined({cycleCases(), nestingCases(), repeatCases(),
                                                     elementCases(), pairCases(), numberCases(),
                                                     contentCases()})),
                         nameOf);

}  // namespace
}  // namespace qsml::hostile
