#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "testing/ArchiveBuilder.h"
#include "testing/SampleRecord.h"

namespace qsml {
namespace {

using B = ArchiveBuilder;

/// What a key's type can hold. Numbers are read inline and behind a reference.
enum class Holds { number, text, date, data, url, texts, object, anything, nothing };

struct Kind {
    const char* name;
    Holds holds;
    std::function<B::Ref(B&)> make;
    bool mayFailTheArchive = false;
};

Kind inlined(const char* name, std::function<B::Ref(B&)> make, Holds holds = Holds::nothing) {
    return {name, holds, std::move(make)};
}

Kind referred(const char* name, Holds holds, std::function<std::uint32_t(B&)> object) {
    return {name, holds, [object = std::move(object)](B& b) { return b.uid(object(b)); }};
}

Kind damaged(const char* name, std::function<std::uint32_t(B&)> object) {
    Kind kind = referred(name, Holds::nothing, std::move(object));
    kind.mayFailTheArchive = true;
    return kind;
}

std::vector<Kind> inlineKinds() {
    return {
        inlined(
            "integer", [](B& b) { return b.integer(5); }, Holds::number),
        inlined(
            "negative", [](B& b) { return b.integer(-5); }, Holds::number),
        inlined(
            "true", [](B& b) { return b.boolean(true); }, Holds::number),
        inlined(
            "real", [](B& b) { return b.real(5.5); }, Holds::number),
        inlined(
            "real32", [](B& b) { return b.real32(5.5f); }, Holds::number),
        inlined("text", [](B& b) { return b.text("inline"); }),
        inlined("utf16", [](B& b) { return b.utf16(u"\u00e9"); }),
        inlined("date", [](B& b) { return b.date(5); }),
        inlined("data", [](B& b) { return b.data("inline"); }),
        inlined("array", [](B& b) { return b.array({}); }),
        inlined("dictionary", [](B& b) { return b.dictionary({}); }),
        inlined("nullObject", [](B& b) { return b.raw(std::string(1, '\0')); }),
        inlined("nil", [](B& b) { return b.uid(0); }),
        inlined("wideNil", [](B& b) { return b.uid(0, 8); }),
    };
}

std::vector<Kind> valueKinds() {
    return {
        referred("toInteger", Holds::number, [](B& b) { return b.add(b.integer(5)); }),
        referred("toReal", Holds::number, [](B& b) { return b.add(b.real(5.5)); }),
        referred("toTrue", Holds::number, [](B& b) { return b.add(b.boolean(true)); }),
        referred("toText", Holds::text, [](B& b) { return b.addText("x"); }),
        referred("toUTF16", Holds::text, [](B& b) { return b.add(b.utf16(u"\u00e9")); }),
        referred("toNSString", Holds::text,
                 [](B& b) {
                     return b.instance("NSString", {{"NS.string", b.text("x")}});
                 }),
        referred("toRawDate", Holds::date, [](B& b) { return b.add(b.date(5)); }),
        referred("toNSDate", Holds::date,
                 [](B& b) {
                     return b.instance("NSDate", {{"NS.time", b.real(5)}});
                 }),
        referred("toRawData", Holds::data, [](B& b) { return b.add(b.data("x")); }),
        referred("toNSData", Holds::data,
                 [](B& b) {
                     return b.instance("NSMutableData", {{"NS.data", b.data("x")}});
                 }),
        referred("toNSURL", Holds::url,
                 [](B& b) {
                     const auto text = b.uid(b.addText("http://a/"));
                     return b.instance("NSURL", {{"NS.base", b.uid(0)}, {"NS.relative", text}});
                 }),
        referred("toNSUUID", Holds::nothing,
                 [](B& b) {
                     const auto bytes = b.data("0123456789abcdef");
                     return b.instance("NSUUID", {{"NS.uuidbytes", bytes}});
                 }),
        referred("toNSNull", Holds::nothing, [](B& b) { return b.instance("NSNull", {}); }),
    };
}

std::vector<Kind> collectionKinds() {
    auto collection = [](const char* name, const char* className) {
        return referred(name, Holds::texts, [className](B& b) {
            return b.collection(className, {b.addText("one"), b.addText("two")});
        });
    };
    return {
        collection("toNSArray", "NSArray"),
        collection("toNSSet", "NSMutableSet"),
        collection("toNSOrderedSet", "NSOrderedSet"),
        referred("toNumberedSet", Holds::texts,
                 [](B& b) {
                     const auto one = b.uid(b.addText("one")), two = b.uid(b.addText("two"));
                     return b.instance("NSSet", {{"NS.object.1", two}, {"NS.object.0", one}});
                 }),
        referred("toEmptyArray", Holds::texts, [](B& b) { return b.collection("NSArray", {}); }),
        referred("toNSDictionary", Holds::nothing,
                 [](B& b) {
                     const auto one = b.uids({b.addText("one")});
                     return b.instance("NSDictionary", {{"NS.keys", one}, {"NS.objects", one}});
                 }),
        referred("toRecord", Holds::object,
                 [](B& b) { return b.instance("QSMLSampleRecord", {}); }),
        damaged("toClassDictionary", [](B& b) { return b.classNamed("NSDate"); }),
        damaged("toUnknownClass", [](B& b) { return b.instance("QSMLNobody", {}); }),
        damaged("toEmptyDictionary", [](B& b) { return b.add(b.dictionary({})); }),
        damaged("toRawArray", [](B& b) { return b.add(b.array({})); }),
        damaged("toUID", [](B& b) { return b.add(b.uid(0)); }),
        damaged("toNSDateWithoutTime", [](B& b) { return b.instance("NSDate", {}); }),
        damaged("outside", [](B&) { return 123456u; }),
    };
}

std::vector<Kind> allKinds() {
    std::vector<Kind> all = inlineKinds();
    for (const auto& more : {valueKinds(), collectionKinds()})
        all.insert(all.end(), more.begin(), more.end());
    return all;
}

struct Key {
    const char* name;
    Holds holds;
    std::function<bool(const SampleRecord&)> isSet;
};

std::vector<Key> allKeys() {
    using R = const SampleRecord&;
    return {
        {"uuid", Holds::text, [](R r) { return r.uuid.has_value(); }},
        {"title", Holds::text, [](R r) { return r.title.has_value(); }},
        {"count", Holds::number, [](R r) { return r.count != 0; }},
        {"tempo", Holds::number, [](R r) { return r.tempo != 0; }},
        {"precise", Holds::number, [](R r) { return r.precise != 0; }},
        {"flag", Holds::number, [](R r) { return r.flag; }},
        {"added", Holds::date, [](R r) { return r.added.has_value(); }},
        {"bytes", Holds::data, [](R r) { return r.bytes.has_value(); }},
        {"place", Holds::url, [](R r) { return r.place.has_value(); }},
        {"artists", Holds::texts, [](R r) { return r.artists.has_value(); }},
        {"tags", Holds::texts, [](R r) { return r.tags.has_value(); }},
        {"value", Holds::anything, [](R r) { return !r.value.isNil(); }},
        {"child", Holds::object, [](R r) { return !r.child.expired(); }},
        {"friend", Holds::object, [](R r) { return !r.other.expired(); }},
    };
}

/// Where the key stands among the others of its record.
enum class Place { alone, inOrder, inReverse, amongStrangers, twice };

/// Every key of a record, given every kind of value, at every place.
class GivenAKeyOfSomeType : public ::testing::TestWithParam<Place> {
protected:
    void SetUp() override { SampleRecord::registerClass(); }
    void TearDown() override { SampleRecord::letGo(); }

    B::Pairs pairs(B& b, const Key& key, const Kind& kind) const {
        const std::pair<std::string, B::Ref> asked{key.name, kind.make(b)};
        switch (GetParam()) {
            case Place::alone:
                return {asked};
            case Place::amongStrangers:
                return {{"first", b.integer(1)}, asked, {"$last", b.integer(1)}};
            case Place::twice:
                return {asked, {key.name, b.integer(77)}};
            default:
                break;
        }
        B::Pairs all;
        for (const Key& other : keys_) {
            const bool isAsked = std::string_view(other.name) == key.name;
            all.emplace_back(other.name, isAsked ? asked.second : b.uid(0));
        }
        if (GetParam() == Place::inReverse) std::reverse(all.begin(), all.end());
        return all;
    }

    /// References and offsets of a small archive, and of a large one.
    void expectTheKindOrNothing(const Key& key, const Kind& kind, int width) {
        B b(width);
        Error error;
        const auto root = b.instance("QSMLSampleRecord", pairs(b, key, kind));
        const B::Ref top = b.dictionary({{"root", b.uid(root)}});
        const auto bytes = b.finish(b.whole(top, b.objects()), 2 * width);
        const Value made = unarchiver_.unarchive(bytes, &error);
        EXPECT_EQ(made.isNil(), static_cast<bool>(error));
        if (error) {
            EXPECT_TRUE(kind.mayFailTheArchive) << error.description;
            return;
        }
        ASSERT_TRUE(made.object());
        const auto& record = dynamic_cast<const SampleRecord&>(*made.object());
        for (const Key& other : keys_) {
            if (std::string_view(other.name) != key.name) {
                EXPECT_FALSE(other.isSet(record)) << other.name;
            } else if (key.holds != Holds::anything) {
                EXPECT_EQ(key.isSet(record), key.holds == kind.holds);
            }
        }
    }

    const std::vector<Key> keys_ = allKeys();
    KeyedUnarchiver unarchiver_;
};

TEST_P(GivenAKeyOfSomeType, WhenItHoldsAnyKindThenThatKindOrNothingIsRead) {
    for (const Key& key : keys_)
        for (const Kind& kind : allKinds()) {
            const ::testing::ScopedTrace here(__FILE__, __LINE__,
                                              std::string(key.name) + " " + kind.name);
            expectTheKindOrNothing(key, kind, 1);
            expectTheKindOrNothing(key, kind, 4);
        }
}

INSTANTIATE_TEST_SUITE_P(AtEveryPlace, GivenAKeyOfSomeType,
                         ::testing::Values(Place::alone, Place::inOrder, Place::inReverse,
                                           Place::amongStrangers, Place::twice));

}  // namespace
}  // namespace qsml
