#include "core/RecordClass.h"

#include <gtest/gtest.h>

#include <thread>

#include "core/PLXCloudDatabaseObject.h"
#include "testing/LogCapture.h"
#include "testing/recordArchives.h"

namespace qsml {

/// A structure that no setter wrapper takes.
struct Point {
    double x = 0;
    double y = 0;
};
template <>
struct Boxing<Point> {
    static constexpr std::string_view encoding = "{Point=dd}";
    static Value box(const Point& point, ArchiveForm) { return Value(point.x); }
    static bool unbox(const Value&, Point&) { return false; }
    static void encode(KeyedArchiver&, std::string_view, const Point&, ArchiveForm) {}
    static void decode(KeyedUnarchiver&, std::string_view, Point&, ArchiveForm) {}
};

namespace {

// The state of wrapping is the process's: every test has classes of its own.

class Fresh : public PLXDatabaseObject {
    QSML_RECORD(Fresh, PLXDatabaseObject)
    QSML_PROPERTY(String, title, setTitle)
    QSML_RECORD_END()
};
QSML_DEFINE_RECORD(Fresh)

TEST(GivenAClassWithoutInstances, WhenTheFirstIsMadeThenNothingIsChanged) {
    const auto first = Fresh::init();
    EXPECT_FALSE(first->hasChangedProperties());
    EXPECT_EQ(first->changedProperties(), std::nullopt);
    const auto second = Fresh::init();
    EXPECT_EQ(second->changedProperties(), (KeySet{"uuid"}));
    EXPECT_EQ(first->copy()->changedProperties(), (KeySet{"uuid"}));
    EXPECT_EQ(second->copy()->changedProperties(), (KeySet{"uuid"}));
}

class Decoded : public PLXDatabaseObject {
    QSML_RECORD(Decoded, PLXDatabaseObject)
    QSML_PROPERTY(String, title, setTitle)
    QSML_RECORD_END()
};
QSML_DEFINE_RECORD(Decoded)

TEST(GivenAClassWithoutInstances, WhenTheFirstIsReadFromAnArchiveThenNothingIsChanged) {
    KeyedArchiver archiver;
    archiver.setClassName("Decoded", Fresh::classObject());
    const auto bytes = archiver.archive(*Fresh::initWithUUID("u"));
    const auto first = recordFrom<Decoded>({bytes.begin(), bytes.end()});
    ASSERT_TRUE(first);
    EXPECT_EQ(first->uuid(), "u");
    EXPECT_EQ(first->changedProperties(), std::nullopt);
    const auto second = recordFrom<Decoded>(archiveOf(*first));
    ASSERT_TRUE(second);
    EXPECT_EQ(second->changedProperties(), (KeySet{"uuid"}));
}

class Base1 : public PLXDatabaseObject {
    QSML_RECORD(Base1, PLXDatabaseObject)
    QSML_PROPERTY(String, title, setTitle)
    QSML_RECORD_END()
};
QSML_DEFINE_RECORD(Base1)
class Derived1 : public Base1 {
    QSML_RECORD(Derived1, Base1)
    QSML_PROPERTY(String, extra, setExtra)
    QSML_RECORD_END()
};
QSML_DEFINE_RECORD(Derived1)

TEST(GivenASubclassWasMadeFirst, WhenItsSuperclassIsMadeThenItIsNotGuarded) {
    const auto derived = Derived1::init();
    derived->setTitle("a");
    derived->setExtra("b");
    EXPECT_EQ(derived->changedProperties(), (KeySet{"extra", "title"}));

    const auto base = Base1::init();
    base->setTitle("a");
    EXPECT_EQ(base->changedProperties(), std::nullopt);
    EXPECT_EQ(Base1::init()->changedProperties(), std::nullopt);
    base->makeImmutable();
    EXPECT_NO_THROW(base->setTitle("b"));
    EXPECT_EQ(base->title(), "b");

    derived->makeImmutable();
    EXPECT_THROW(derived->setTitle("c"), PLXDatabaseObjectException);
}

class Base2 : public PLXDatabaseObject {
    QSML_RECORD(Base2, PLXDatabaseObject)
    QSML_PROPERTY(String, title, setTitle)
    QSML_RECORD_END()
};
QSML_DEFINE_RECORD(Base2)
class Middle2 : public Base2 {
    QSML_RECORD(Middle2, Base2)
    QSML_PROPERTY(String, middle, setMiddle)
    QSML_RECORD_END()
};
QSML_DEFINE_RECORD(Middle2)
class Leaf2 : public Middle2 {
    QSML_RECORD(Leaf2, Middle2)
    QSML_RECORD_END()
};
QSML_DEFINE_RECORD(Leaf2)

TEST(GivenASuperclassWasWrappedItself,
     WhenASubclassIsNotThenInheritedSettersAreGuardedAndOwnAreNot) {
    (void)Base2::init();  // wraps Base2's own setters
    (void)Leaf2::init();  // wraps on Leaf2 and marks Middle2, which gets no wrapper of its own
    const auto middle = Middle2::init();
    EXPECT_EQ(middle->changedProperties(), (KeySet{"uuid"}))
        << "the inherited uuid setter is wrapped";
    middle->clearChangedProperties();
    middle->setMiddle("a");
    EXPECT_EQ(middle->changedProperties(), std::nullopt);
    middle->setTitle("b");
    EXPECT_EQ(middle->changedProperties(), (KeySet{"title"}));
    middle->makeImmutable();
    EXPECT_NO_THROW(middle->setMiddle("c"));
    EXPECT_THROW(middle->setTitle("d"), PLXDatabaseObjectException);
}

class Partial : public PLXDatabaseObject {
    QSML_RECORD(Partial, PLXDatabaseObject)
    QSML_PROPERTY(String, kept, setKept)
    QSML_PROPERTY(String, excluded, setExcluded)
    QSML_PROPERTY(String, odd, replaceOdd)
    QSML_RECORD_END()
};
QSML_DEFINE_RECORD(Partial, .keysNotMonitored = {"excluded"})

TEST(GivenAnExcludedPropertyAndASetterOfAnotherName, WhenSetThenNeitherIsGuarded) {
    const auto record = Partial::init();
    EXPECT_EQ(record->monitoredProperties(), (KeySet{"kept", "odd", "uuid"}));
    record->setExcluded("a");
    record->replaceOdd("b");
    EXPECT_EQ(record->changedProperties(), std::nullopt);
    record->setKept("c");
    EXPECT_EQ(record->changedProperties(), (KeySet{"kept"}));
    record->makeImmutable();
    EXPECT_NO_THROW(record->setExcluded("d"));
    EXPECT_NO_THROW(record->replaceOdd("e"));
    EXPECT_THROW(record->setKept("f"), PLXDatabaseObjectException);
}

class Shape : public PLXDatabaseObject {
    QSML_RECORD(Shape, PLXDatabaseObject)
    QSML_PROPERTY(Point, origin, setOrigin)
    QSML_PROPERTY(double, scale, setScale)
    QSML_RECORD_END()
};
QSML_DEFINE_RECORD(Shape)

TEST(GivenAPropertyOfAStructureType,
     WhenTheFirstInstanceIsMadeThenItIsLoggedOnceAndWorksUnguarded) {
    LogCapture logs;
    const auto shape = Shape::init();
    (void)Shape::init();
    EXPECT_EQ(logs.lines(),
              std::vector<std::string>{
                  "+[PLXDatabaseObject swizzleMonitoredPropertySetters:] [Line 302] Unsupported "
                  "argument type {Point=dd} for [Shape setOrigin:]"});
    shape->makeImmutable();
    shape->setOrigin({1, 2});
    EXPECT_EQ(shape->origin().x, 1);
    EXPECT_EQ(shape->changedProperties(), std::nullopt);
    EXPECT_THROW(shape->setScale(2), PLXDatabaseObjectException);
}

TEST(GivenAPropertyName, WhenItsSetterIsNamedThenOnlyTheFirstCharacterChanges) {
    EXPECT_EQ(setterNameForProperty("title"), "setTitle");
    EXPECT_EQ(setterNameForProperty("bpm"), "setBpm");
    EXPECT_EQ(setterNameForProperty("URL"), "setURL");
}

class Listed : public PLXDatabaseObject {
    QSML_RECORD(Listed, PLXDatabaseObject)
    QSML_PROPERTY(String, title, setTitle)
    QSML_PROPERTY(String, description, setDescription)
    QSML_PROPERTY(String, debugDescription, setDebugDescription)
    QSML_PROPERTY(String, superclass, setSuperclass)
    QSML_COMPUTED(std::int64_t, length)
    QSML_RECORD_END()
};
QSML_DEFINE_RECORD(Listed)
std::int64_t Listed::length() const { return static_cast<std::int64_t>(title().size()); }
class ListedMore : public Listed {
    QSML_RECORD(ListedMore, Listed)
    QSML_PROPERTY(bool, more, setMore)
    QSML_RECORD_END()
};
QSML_DEFINE_RECORD(ListedMore)

TEST(GivenDeclaredProperties, WhenMonitoredThenTheFourNamesAreLeftOutAndUUIDIsAdded) {
    const RecordClass& object = ListedMore::classObject();
    EXPECT_EQ(object.monitoredProperties(), (KeySet{"length", "more", "title", "uuid"}));
    EXPECT_EQ(object.keyPathsForValuesAffectingImmutable(), object.monitoredProperties());
    EXPECT_EQ(object.monitoredProperties(Listed::classObject()), (KeySet{"more"}));
    EXPECT_EQ(object.monitoredProperties(object), KeySet());
    EXPECT_TRUE(object.supportsSecureCoding());
    EXPECT_EQ(PLXDatabaseObject::classObject().monitoredProperties(), (KeySet{"uuid"}));
}

// A record of a class that a test makes while it runs.
class Dynamic final : public PLXDatabaseObject {
public:
    explicit Dynamic(const RecordClass& recordClass) : class_(recordClass) { begin("u"); }
    const RecordClass& recordClass() const override { return class_; }
    void setTitle(String title) { assign("title", title_, std::move(title)); }

private:
    const RecordClass& class_;
    String title_;
};

TEST(GivenSettersOfEveryEncoding, WhenTheFirstInstanceIsMadeThenFifteenAreGuardedAndTheRestLogged) {
    const std::vector<std::string_view> guarded{"@", "B", "c", "C", "s", "S", "i", "I",
                                                "l", "L", "q", "Q", "f", "d", "*"};
    const std::vector<std::string_view> refused{"{P=d}", "^v",   "#",     ":",
                                                "D",     "[2i]", "(U=i)", "b3"};
    std::vector<std::string_view> encodings(guarded);
    encodings.insert(encodings.end(), refused.begin(), refused.end());
    std::vector<std::string> names;
    std::vector<std::string> setters;
    for (std::size_t i = 0; i < encodings.size(); ++i) {
        names.push_back("p" + std::to_string(i));
        setters.push_back("setP" + std::to_string(i));
    }
    std::vector<Property> own;
    for (std::size_t i = 0; i < encodings.size(); ++i)
        own.push_back({names[i], setters[i], encodings[i]});
    const RecordClass encoded("Encoded", &PLXDatabaseObject::classObject(), nullptr, own, {});

    LogCapture logs;
    const Dynamic record(encoded);
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < encodings.size(); ++i) {
        const bool isGuarded = i < guarded.size();
        EXPECT_EQ(encoded.tracks(names[i]), isGuarded) << encodings[i];
        if (!isGuarded)
            lines.push_back(
                "+[PLXDatabaseObject swizzleMonitoredPropertySetters:] [Line 302] Unsupported "
                "argument type " +
                std::string(encodings[i]) + " for [Encoded " + setters[i] + ":]");
    }
    EXPECT_EQ(logs.lines(), lines);
}

TEST(GivenSixteenThreads, WhenTheyMakeTheFirstInstancesTogetherThenEachClassIsWrappedOnce) {
    constexpr std::size_t classCount = 20;
    for (int round = 0; round < 100; ++round) {
        std::vector<std::unique_ptr<RecordClass>> classes;
        for (std::size_t i = 0; i < classCount; ++i) {
            const RecordClass* above =
                i % 4 ? classes[i - 1].get() : &PLXDatabaseObject::classObject();
            Property title{"title", "setTitle", "@"};
            title.value = [](const Object&) { return Value(); };
            std::vector<Property> own;
            if (i % 4 == 0) own.push_back(title);
            classes.push_back(std::make_unique<RecordClass>("Dynamic", above, nullptr, own,
                                                            RecordClass::Policy{}));
        }
        std::vector<std::thread> threads;
        for (std::size_t t = 0; t < 16; ++t)
            threads.emplace_back([&classes, t] {
                for (std::size_t i = 0; i < classCount; ++i) {
                    // The leaves of each chain, so that all of their setters must be guarded.
                    const auto& leaf = *classes[((i + t) % 5) * 4 + 3];
                    Dynamic record(leaf);
                    record.setTitle("a");
                    EXPECT_TRUE(record.changedProperties()->contains("title"));
                    record.makeImmutable();
                    EXPECT_THROW(record.setTitle("b"), PLXDatabaseObjectException);
                    // A superclass comes late or early: whatever it is, it stays so.
                    const std::uint8_t state = Dynamic(*classes[i]).recordClass().tracking();
                    EXPECT_EQ(Dynamic(*classes[i]).recordClass().tracking(), state);
                }
            });
        for (auto& thread : threads) thread.join();
    }
}

}  // namespace
}  // namespace qsml
