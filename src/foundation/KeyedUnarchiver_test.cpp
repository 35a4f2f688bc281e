#include "foundation/KeyedUnarchiver.h"

#include <gtest/gtest.h>
#include <plist/plist.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <limits>

#include "testing/ArchiveBuilder.h"
#include "testing/SampleRecord.h"

namespace qsml {
namespace {

using B = ArchiveBuilder;

/// A record that asks what a test says.
class Asking : public Object {
public:
    static inline std::function<bool(KeyedUnarchiver&)> ask;
    static const ArchiveClass& classObject() {
        static const ArchiveClass itsClass("QSMLAsking", &Object::rootClass(),
                                           [] { return std::shared_ptr<Object>(new Asking); });
        return itsClass;
    }
    const ArchiveClass& archiveClass() const override { return classObject(); }
    void encodeWithCoder(KeyedArchiver&) const override {}
    bool initWithCoder(KeyedUnarchiver& coder) override { return ask(coder); }
};

class GivenAnUnarchiver : public ::testing::Test {
protected:
    void SetUp() override {
        SampleRecord::registerClass();
        ArchiveClass::registerClass(Asking::classObject());
    }
    void TearDown() override {
        Asking::ask = nullptr;
        SampleRecord::letGo();
    }
    Value read(std::uint32_t root) {
        error_ = {};
        return unarchiver_.unarchive(b_.archive(root), &error_);
    }
    /// Runs the questions on an instance with these keys.
    void asking(const B::Pairs& pairs, const std::function<void(KeyedUnarchiver&)>& questions) {
        int asked = 0;
        Asking::ask = [&](KeyedUnarchiver& coder) {
            questions(coder);
            return ++asked > 0;
        };
        read(b_.instance("QSMLAsking", pairs));
        EXPECT_EQ(asked, 1);
    }
    B::Ref to(std::uint32_t uid) { return b_.uid(uid); }
    B b_;
    KeyedUnarchiver unarchiver_;
    Error error_;
};

TEST_F(GivenAnUnarchiver, WhenKeysAreAskedInAnyOrderThenAllAreFound) {
    asking({{"a", b_.integer(1)}, {"b", b_.integer(2)}, {"c", b_.integer(3)}}, [](auto& coder) {
        for (const auto& [key, value] : {std::pair("a", 1),
                                         {"b", 2},
                                         {"c", 3},
                                         {"b", 2},
                                         {"a", 1},
                                         {"c", 3},
                                         {"c", 3},
                                         {"absent", 0},
                                         {"a", 1}})
            EXPECT_EQ(coder.decodeInt64(key), value) << key;
        EXPECT_TRUE(coder.containsValue("b"));
        EXPECT_EQ(coder.decodeInt64("b"), 2);
        EXPECT_FALSE(coder.containsValue("d"));
    });
}

TEST_F(GivenAnUnarchiver, WhenALargeInstanceIsAskedInReverseThenAllKeysAreFound) {
    B::Pairs pairs;
    for (int i = 0; i < 100000; ++i) pairs.emplace_back("key" + std::to_string(i), b_.integer(i));
    asking(pairs, [](auto& coder) {
        for (int i = 99999; i >= 0; --i) ASSERT_EQ(coder.decodeInt64("key" + std::to_string(i)), i);
        for (int i = 0; i < 1000; ++i) EXPECT_FALSE(coder.containsValue("k" + std::to_string(i)));
    });
    EXPECT_FALSE(error_) << error_.description;
}

TEST_F(GivenAnUnarchiver, WhenKeysAreMissingThenScalarsAreZeroAndObjectsNil) {
    asking({}, [](auto& coder) {
        EXPECT_EQ(coder.decodeInt64("k"), 0);
        EXPECT_EQ(coder.decodeFloat("k"), 0);
        EXPECT_EQ(coder.decodeDouble("k"), 0);
        EXPECT_FALSE(coder.decodeBool("k"));
        EXPECT_FALSE(coder.decodeString("k"));
        EXPECT_FALSE(coder.decodeDate("k"));
        EXPECT_FALSE(coder.decodeData("k"));
        EXPECT_FALSE(coder.decodeURL("k"));
        EXPECT_FALSE(coder.decodeStrings("k"));
        EXPECT_FALSE(coder.decodeObject("k", Object::rootClass()));
        EXPECT_TRUE(coder.decodeValue("k").isNil());
    });
}

TEST_F(GivenAnUnarchiver, WhenAKeyHoldsNilThenItIsThereAndNil) {
    asking({{"k", b_.uid(0)}}, [](auto& coder) {
        EXPECT_TRUE(coder.containsValue("k"));
        EXPECT_FALSE(coder.decodeString("k"));
        EXPECT_TRUE(coder.decodeValue("k").isNil());
        EXPECT_EQ(coder.decodeInt64("k"), 0);
    });
}

TEST_F(GivenAnUnarchiver, WhenAScalarHasAnotherKindThenItIsConverted) {
    const double infinity = std::numeric_limits<double>::infinity();
    const std::int64_t least = std::numeric_limits<std::int64_t>::min();
    const std::int64_t most = std::numeric_limits<std::int64_t>::max();
    const std::string all(8, '\xFF'), none(8, '\0');
    const std::pair<B::Ref, std::int64_t> cases[] = {{b_.real(2.9), 2},
                                                     {b_.real(-2.9), -2},
                                                     {b_.real32(1.5f), 1},
                                                     {b_.boolean(true), 1},
                                                     {b_.boolean(false), 0},
                                                     {b_.real(1e300), most},
                                                     {b_.real(-1e300), least},
                                                     {b_.real(infinity), most},
                                                     {b_.real(std::nan("")), 0},
                                                     {b_.raw("\x10\xFF"), 255},
                                                     {b_.raw("\x11\xFF\xFF"), 65535},
                                                     {b_.raw("\x12\xFF\xFF\xFF\xFF"), 4294967295},
                                                     {b_.integer(-1), -1},
                                                     {b_.raw("\x14" + none + all), most},
                                                     {b_.raw("\x14" + all + all), -1},
                                                     {b_.text("7"), 0},
                                                     {b_.date(7), 0},
                                                     {to(b_.add(b_.integer(7))), 7},
                                                     {to(b_.add(b_.real(7.5))), 7},
                                                     {to(b_.addText("7")), 0}};
    for (const auto& [item, expected] : cases)
        asking({{"k", item}},
               [want = expected](auto& coder) { EXPECT_EQ(coder.decodeInt64("k"), want); });
    asking({{"i", b_.integer(3)},
            {"f", b_.real32(0.1f)},
            {"d", b_.real(0.1)},
            {"b", b_.boolean(true)}},
           [](auto& coder) {
               EXPECT_EQ(coder.decodeDouble("i"), 3.0);
               EXPECT_EQ(coder.decodeDouble("f"), double{0.1f});
               EXPECT_EQ(coder.decodeFloat("d"), 0.1f);
               EXPECT_EQ(coder.decodeFloat("b"), 1.0f);
               EXPECT_TRUE(coder.decodeBool("i"));
               EXPECT_TRUE(coder.decodeBool("d"));
           });
}

TEST_F(GivenAnUnarchiver, WhenAnObjectKeyHoldsAnInlineScalarThenNil) {
    asking({{"t", b_.text("x")}, {"i", b_.integer(1)}, {"d", b_.date(1)}}, [](auto& coder) {
        EXPECT_FALSE(coder.decodeString("t"));
        EXPECT_TRUE(coder.decodeValue("i").isNil());
        EXPECT_FALSE(coder.decodeDate("d"));
        EXPECT_FALSE(coder.hasFailed());
    });
}

TEST_F(GivenAnUnarchiver, WhenATypeDoesNotFitThenThatKeyIsNilAndTheRestReads) {
    const auto date = b_.instance("NSDate", {{"NS.time", b_.real(5)}});
    asking({{"a", to(date)}, {"b", to(b_.addText("x"))}, {"c", to(b_.add(b_.integer(1)))}},
           [](auto& coder) {
               EXPECT_FALSE(coder.decodeString("a"));
               EXPECT_FALSE(coder.decodeStrings("a"));
               EXPECT_FALSE(coder.decodeObject("a", Object::rootClass()));
               EXPECT_FALSE(coder.decodeDate("b"));
               EXPECT_FALSE(coder.decodeURL("b"));
               EXPECT_FALSE(coder.decodeString("c"));
               EXPECT_FALSE(coder.decodeData("c"));
               EXPECT_EQ(coder.decodeDate("a"), Date{5});
               EXPECT_FALSE(coder.hasFailed());
           });
}

TEST_F(GivenAnUnarchiver, WhenTextsComeInOtherFormsThenAllAreRead) {
    EXPECT_EQ(read(b_.add(b_.raw("\x52\xE9!"))), Value("\u00e9!"));
    EXPECT_EQ(read(b_.add(b_.utf16(u"\u00e9\U0001F3A7"))), Value("\u00e9\U0001F3A7"));
    EXPECT_EQ(read(b_.add(b_.utf16(u"a\xD800z"))), Value("a\uFFFDz"));
    EXPECT_EQ(read(b_.add(b_.utf16(u"\xDC00\xD800"))), Value("\uFFFD\uFFFD"));
    EXPECT_EQ(read(b_.instance("NSMutableString", {{"NS.string", b_.text("m")}})), Value("m"));
    EXPECT_EQ(read(b_.instance("NSString", {{"NS.bytes", b_.data("\xC3\xA9")}})), Value("\u00e9"));
    EXPECT_EQ(read(b_.addText("$null")), Value("$null"));
    asking({{"k", to(b_.instance("NSMutableString", {{"NS.string", b_.text("m")}}))}},
           [](auto& coder) { EXPECT_EQ(coder.decodeString("k"), "m"); });
}

TEST_F(GivenAnUnarchiver, WhenValuesComeInOtherFormsThenAllAreRead) {
    const std::string sixteen = "0123456789abcdef";
    EXPECT_EQ(read(b_.add(b_.date(2.5))), Value(Date{2.5}));
    EXPECT_EQ(read(b_.instance("NSDate", {{"NS.time", b_.integer(3)}})), Value(Date{3}));
    for (const char* name : {"NSData", "NSMutableData"})
        EXPECT_EQ(read(b_.instance(name, {{"NS.data", b_.data("ab")}})).data()->size(), 2u);
    for (const char* key : {"NS.uuidbytes", "uuid"})
        EXPECT_EQ(read(b_.instance("NSUUID", {{key, b_.data(sixteen)}})).uuid()->bytes[15], 'f');
    EXPECT_EQ(read(b_.instance("NSNull", {})).kind(), Value::Kind::null);
    const auto base = b_.instance("NSURL", {{"NS.relative", to(b_.addText("http://a/b/"))}});
    const Value url =
        read(b_.instance("NSURL", {{"NS.base", to(base)}, {"NS.relative", to(b_.addText("c"))}}));
    EXPECT_EQ(url.url()->relativeString(), "c");
    EXPECT_EQ(url.url()->absoluteString(), "http://a/b/c");
}

TEST_F(GivenAnUnarchiver, WhenCollectionsComeInOtherFormsThenAllAreRead) {
    const auto x = b_.addText("x"), y = b_.addText("y"), x2 = b_.addText("x");
    const std::pair<const char*, Value::Kind> kinds[] = {
        {"NSArray", Value::Kind::array},
        {"NSMutableArray", Value::Kind::array},
        {"NSSet", Value::Kind::set},
        {"NSMutableSet", Value::Kind::set},
        {"NSOrderedSet", Value::Kind::orderedSet},
        {"NSMutableOrderedSet", Value::Kind::orderedSet}};
    for (const auto& [name, kind] : kinds) {
        const Value one = read(b_.collection(name, {x, y, x2}));
        const Value other = read(b_.instance(name, {{"NS.object.1", to(y)},
                                                    {"NS.object.0", to(x)},
                                                    {"NS.object.2", to(x2)},
                                                    {"NS.object.4", to(y)}}));
        EXPECT_EQ(one.kind(), kind) << name;
        EXPECT_EQ(one, other) << name;
        EXPECT_EQ(one.elements().size(), kind == Value::Kind::array ? 3u : 2u) << name;
        EXPECT_EQ(one.elements().front(), Value("x")) << name;
        EXPECT_TRUE(read(b_.instance(name, {})).elements().empty()) << name;
    }
    for (const char* name : {"NSDictionary", "NSMutableDictionary"}) {
        const Value wanted = Dictionary{{"x", "y"}, {"y", "x"}};
        EXPECT_EQ(read(b_.instance(
                      name, {{"NS.keys", b_.uids({x, y})}, {"NS.objects", b_.uids({y, x})}})),
                  wanted);
        EXPECT_EQ(read(b_.instance(name, {{"NS.key.0", to(x)},
                                          {"NS.object.0", to(y)},
                                          {"NS.key.1", to(y)},
                                          {"NS.object.1", to(x)}})),
                  wanted);
    }
}

TEST_F(GivenAnUnarchiver, WhenNumberedElementsStandInAnyOrderThenAllAreRead) {
    const std::string names[] = {"NS.object.0", "NS.object.1", "NS.object.2"};
    const B::Ref texts[] = {to(b_.addText("x")), to(b_.addText("y")), to(b_.addText("z"))};
    std::array<std::size_t, 3> order = {0, 1, 2};
    do {
        // The class behind them, and in front.
        B::Pairs pairs, classFirst = {{"$class", to(b_.classNamed("NSArray"))}};
        for (const std::size_t i : order) {
            pairs.emplace_back(names[i], texts[i]);
            classFirst.emplace_back(names[i], texts[i]);
        }
        EXPECT_EQ(read(b_.instance("NSArray", pairs)), Value(Value::Array{"x", "y", "z"}));
        EXPECT_EQ(read(b_.add(b_.dictionary(classFirst))), Value(Value::Array{"x", "y", "z"}));
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST_F(GivenAnUnarchiver, WhenShortTextsComeAgainInLaterArchivesThenTheyShareTheirBytes) {
    const auto root = b_.addText("com.source.files");
    (void)read(root);
    (void)read(root);
    const Value third = read(root), fourth = read(root);
    EXPECT_EQ(third, Value("com.source.files"));
    EXPECT_EQ(third.string().identity(), fourth.string().identity());
    EXPECT_EQ(read(b_.addText("com.source.fileZ")), Value("com.source.fileZ"));
}

TEST_F(GivenAnUnarchiver, WhenTextsAreAskedOfAnyCollectionThenInOrderWithoutOthers) {
    const std::vector<std::uint32_t> mixed = {
        b_.addText("b"), b_.add(b_.integer(1)), b_.addText("a"),
        b_.instance("NSDate", {{"NS.time", b_.real(0)}}), b_.addText("b")};
    for (const char* name : {"NSArray", "NSSet", "NSOrderedSet", "NSMutableArray"})
        asking({{"k", to(b_.collection(name, mixed))}}, [](auto& coder) {
            EXPECT_EQ(coder.decodeStrings("k"), (OrderedSet<String>{"b", "a"}));
        });
    const auto dictionary = b_.instance("NSDictionary", {});
    asking(
        {{"k", to(dictionary)}, {"t", to(b_.addText("x"))}, {"e", to(b_.collection("NSSet", {}))}},
        [](auto& coder) {
            EXPECT_FALSE(coder.decodeStrings("k"));
            EXPECT_FALSE(coder.decodeStrings("t"));
            EXPECT_EQ(coder.decodeStrings("e"), OrderedSet<String>());
        });
}

TEST_F(GivenAnUnarchiver, WhenTwoKeysHoldOneReferenceThenOneInstance) {
    const auto child = b_.instance("QSMLSampleRecord", {});
    const auto text = b_.addText("shared text");
    asking({{"a", to(child)}, {"b", to(child)}, {"s", to(text)}, {"t", to(text)}}, [](auto& coder) {
        const auto one = coder.decodeObject("a", Object::rootClass());
        EXPECT_TRUE(one);
        EXPECT_EQ(one, coder.decodeObject("b", SampleRecord::classObject()));
        EXPECT_EQ(coder.decodeValue("a").object(), one);
        EXPECT_EQ(coder.decodeString("s").identity(), coder.decodeString("t").identity());
    });
}

TEST_F(GivenAnUnarchiver, WhenAnObjectRefersToItselfThenItIsItself) {
    const std::uint32_t self = b_.reserve();
    b_.place(self, b_.instanceRef("QSMLSampleRecord", {{"child", b_.uid(self)}}));
    const Value made = read(self);
    ASSERT_TRUE(made.object());
    EXPECT_EQ(static_cast<const SampleRecord&>(*made.object()).child.lock(), made.object());
}

TEST_F(GivenAnUnarchiver, WhenClassesAreSubstitutedThenOwnWinsOverGlobalOverRegistered) {
    static const ArchiveClass mine("QSMLMine", &SampleRecord::classObject(),
                                   &SampleRecord::allocate);
    const auto old = b_.instance("QSMLLegacyName", {{"count", b_.integer(4)}});
    EXPECT_TRUE(read(old).isNil());
    KeyedUnarchiver::setGlobalClass(SampleRecord::classObject(), "QSMLLegacyName");
    EXPECT_EQ(static_cast<const SampleRecord&>(*read(old).object()).count, 4);
    Asking::ask = [](auto&) { return true; };
    unarchiver_.setClass(Asking::classObject(), "QSMLLegacyName");
    EXPECT_TRUE(dynamic_cast<const Asking*>(read(old).object().get()));
    EXPECT_TRUE(dynamic_cast<const SampleRecord*>(
        KeyedUnarchiver().unarchive(b_.archive(old)).object().get()));
}

TEST_F(GivenAnUnarchiver, WhenTheClassFailsThenTheReasonIsTheError) {
    Asking::ask = [](auto& coder) {
        coder.fail("the first reason");
        coder.fail("another");
        EXPECT_TRUE(coder.hasFailed());
        EXPECT_EQ(coder.decodeInt64("k"), 0);
        return true;
    };
    EXPECT_TRUE(read(b_.instance("QSMLAsking", {{"k", b_.integer(1)}})).isNil());
    EXPECT_EQ(error_.description, "the first reason");
    EXPECT_EQ(error_.domain, "KeyedUnarchiverErrorDomain");
}

TEST_F(GivenAnUnarchiver, WhenTheClassRefusesThenNilWithoutAnError) {
    Asking::ask = [](auto&) { return false; };
    EXPECT_TRUE(read(b_.instance("QSMLAsking", {})).isNil());
    EXPECT_FALSE(error_);
}

TEST_F(GivenAnUnarchiver, WhenAKeyIsMangledOrNotASCIIThenItIsFound) {
    B b;
    const auto key = b.text("$$class"), odd = b.utf16(u"cl\u00e9"), item = b.integer(6);
    const auto classKey = b.text("$class"), c = b.uid(b.classNamed("QSMLAsking"));
    std::string bytes = "\xD3";
    for (const B::Ref ref : {key, odd, classKey, item, item, c}) bytes += B::bigEndian(ref, 4);
    int asked = 0;
    Asking::ask = [&](KeyedUnarchiver& coder) {
        EXPECT_EQ(coder.decodeInt64("$class"), 6);
        EXPECT_EQ(coder.decodeInt64("cl\u00e9"), 6);
        return ++asked > 0;
    };
    unarchiver_.unarchive(b.archive(b.add(b.raw(bytes))), &error_);
    EXPECT_EQ(asked, 1) << error_.description;
}

TEST_F(GivenAnUnarchiver, WhenAnotherWriterBuiltTheArchiveThenItIsRead) {
    plist_t objects = plist_new_array(), root = plist_new_dict(), described = plist_new_dict();
    plist_t names = plist_new_array(), top = plist_new_dict(), whole = plist_new_dict();
    plist_array_append_item(names, plist_new_string("QSMLSampleRecord"));
    plist_dict_set_item(described, "$classname", plist_new_string("QSMLSampleRecord"));
    plist_dict_set_item(described, "$classes", names);
    plist_dict_set_item(root, "$class", plist_new_uid(2));
    plist_dict_set_item(root, "title", plist_new_uid(3));
    plist_dict_set_item(root, "count", plist_new_uint(77));
    plist_dict_set_item(root, "tempo", plist_new_real(0.5));
    plist_dict_set_item(root, "flag", plist_new_bool(1));
    plist_dict_set_item(root, "bytes", plist_new_uid(4));
    for (plist_t object : {plist_new_string("$null"), root, described,
                           plist_new_string("from \u00e9lsewhere"), plist_new_data("xyz", 3)})
        plist_array_append_item(objects, object);
    plist_dict_set_item(top, "root", plist_new_uid(1));
    plist_dict_set_item(whole, "$version", plist_new_uint(100000));
    plist_dict_set_item(whole, "$objects", objects);
    plist_dict_set_item(whole, "$archiver", plist_new_string("NSKeyedArchiver"));
    plist_dict_set_item(whole, "$top", top);
    char* bytes = nullptr;
    std::uint32_t size = 0;
    plist_to_bin(whole, &bytes, &size);
    const Value made =
        unarchiver_.unarchive({reinterpret_cast<const std::uint8_t*>(bytes), size}, &error_);
    std::free(bytes);
    plist_free(whole);
    ASSERT_TRUE(made.object()) << error_.description;
    const auto& record = static_cast<const SampleRecord&>(*made.object());
    EXPECT_EQ(record.title, "from \u00e9lsewhere");
    EXPECT_EQ(record.count, 77);
    EXPECT_EQ(record.tempo, 0.5f);
    EXPECT_TRUE(record.flag);
    EXPECT_EQ(record.bytes->size(), 3u);
}

TEST_F(GivenAnUnarchiver, WhenWidthsAreUnusualThenTheArchiveIsRead) {
    for (int width = 1; width <= 8; ++width) {
        B b(width);
        const B::Ref top = b.dictionary({{"root", b.uid(b.addText("wide"), width)}});
        const auto bytes = b.finish(b.whole(top, b.objects()), width == 1 ? 2 : width);
        EXPECT_EQ(unarchiver_.unarchive(bytes, &error_), Value("wide")) << width;
    }
}

}  // namespace
}  // namespace qsml
