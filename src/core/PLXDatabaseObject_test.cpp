#include "core/PLXDatabaseObject.h"

#include <gtest/gtest.h>

#include "foundation/UUID.h"
#include "testing/recordArchives.h"

namespace qsml {
namespace {

class Part final : public PLXDatabaseObject {
    QSML_RECORD(Part, PLXDatabaseObject)
    QSML_PROPERTY(String, name, setName)
    QSML_RECORD_END()
};
QSML_DEFINE_RECORD(Part)

// One property of every type that a line may have.
class Everything : public PLXDatabaseObject {
    QSML_RECORD(Everything, PLXDatabaseObject)
    QSML_PROPERTY(String, text, setText)
    QSML_PROPERTY(bool, flag, setFlag)
    QSML_PROPERTY(std::int64_t, count, setCount)
    QSML_PROPERTY(std::uint64_t, total, setTotal, .form = ArchiveForm::numberObject)
    QSML_PROPERTY(float, narrow, setNarrow)
    QSML_PROPERTY(double, wide, setWide)
    QSML_PROPERTY(std::optional<Date>, date, setDate)
    QSML_PROPERTY(std::optional<Data>, data, setData)
    QSML_PROPERTY(std::optional<URL>, url, setUrl)
    QSML_PROPERTY(std::optional<OrderedSet<String>>, keys, setKeys)
    QSML_PROPERTY(std::optional<OrderedSet<String>>, tags, setTags, .form = ArchiveForm::set)
    QSML_PROPERTY(std::optional<Value::Array>, numbers, setNumbers)
    QSML_PROPERTY(Value, anything, setAnything)
    QSML_PROPERTY(Copied<Part>, part, setPart)
    QSML_PROPERTY(CopiedArray<Part>, parts, setParts)
    QSML_PROPERTY(CopiedArray<Part>, partSet, setPartSet, .form = ArchiveForm::set)
    QSML_PROPERTY(std::int64_t, index, setIndex, .initial = -1, .archiveKey = "idx",
                  .archived = Archived::unlessInitial)
    QSML_PROPERTY(String, passing, setPassing, .archived = Archived::never)
    QSML_COMPUTED(std::int64_t, twice)
    QSML_RECORD_END()
};
QSML_DEFINE_RECORD(Everything)
// Damaged archives give any count: wraps around.
std::int64_t Everything::twice() const {
    return static_cast<std::int64_t>(2 * static_cast<std::uint64_t>(count()));
}

class EverythingMore final : public Everything {
    QSML_RECORD(EverythingMore, Everything)
    QSML_PROPERTY(String, more, setMore)
    QSML_RECORD_END()
};
QSML_DEFINE_RECORD(EverythingMore)

std::shared_ptr<Part> partNamed(const char* name) {
    auto part = Part::init();
    part->setName(name);
    return part;
}

std::shared_ptr<EverythingMore> filled() {
    auto record = EverythingMore::initWithUUID("E-1");
    record->setText("é");
    record->setFlag(true);
    record->setCount(-5);
    record->setTotal(18446744073709551615U);
    record->setNarrow(0.1F);
    record->setWide(0.1);
    record->setDate(Date{1.5});
    record->setData(Data(std::vector<std::uint8_t>{1, 2}));
    record->setUrl(URL::withString("https://example.com/a"));
    record->setKeys(OrderedSet<String>{"b", "a"});
    record->setTags(OrderedSet<String>{"x"});
    record->setNumbers(Value::Array{Value(1), Value(2)});
    record->setAnything(Value(2.5));
    record->setPart(partNamed("one"));
    record->setParts(std::vector{partNamed("two"), partNamed("three")});
    record->setPartSet(std::vector{partNamed("four")});
    record->setIndex(7);
    record->setPassing("not kept");
    record->setMore("more");
    return record;
}

class GivenAMutableRecord : public testing::Test {
protected:
    GivenAMutableRecord() {
        (void)EverythingMore::init();
        record_ = EverythingMore::initWithUUID("A");
        record_->clearChangedProperties();
    }
    std::shared_ptr<EverythingMore> record_;
};

TEST_F(GivenAMutableRecord, WhenMadeAnewThenItsUUIDIsAnUpperCaseRandomOne) {
    const String uuid = EverythingMore::init()->uuid();
    ASSERT_EQ(uuid.size(), 36U);
    ASSERT_TRUE(UUID::fromString(uuid));
    EXPECT_EQ(UUID::fromString(uuid)->UUIDString(), uuid);
    EXPECT_NE(EverythingMore::init()->uuid(), uuid);
}

TEST_F(GivenAMutableRecord, WhenAPropertyIsSetThenItsNameIsRecordedAlsoForAnEqualValue) {
    record_->setCount(record_->count());
    EXPECT_TRUE(record_->hasChangedProperties());
    EXPECT_EQ(record_->changedProperties(), (KeySet{"count"}));
    record_->setCount(2);
    record_->setMore("m");
    EXPECT_EQ(record_->changedProperties(), (KeySet{"count", "more"}));
    record_->clearChangedProperties();
    EXPECT_FALSE(record_->hasChangedProperties());
    EXPECT_EQ(record_->changedProperties(), std::nullopt);
}

TEST_F(GivenAMutableRecord, WhenEverySetterIsCalledThenEachRecordsItself) {
    const auto all = filled();
    KeySet expected = all->monitoredProperties();
    expected.erase("twice");
    EXPECT_EQ(all->changedProperties(), expected);
}

TEST_F(GivenAMutableRecord, WhenANameIsRecordedThatIsNotMonitoredThenAskingForgetsIt) {
    record_->didChangeValueForMonitoredPropertyKey("nobody");
    EXPECT_TRUE(record_->hasChangedProperties());
    EXPECT_EQ(record_->changedProperties(), KeySet()) << "an empty set, not nothing";
    EXPECT_FALSE(record_->hasChangedProperties());
}

TEST_F(GivenAMutableRecord, WhenFrozenThenEverySetterThrowsAndChangesNothing) {
    record_->setMore("kept");
    record_->clearChangedProperties();
    record_->makeImmutable();
    record_->makeImmutable();
    EXPECT_TRUE(record_->isImmutable());
    try {
        record_->setMore("lost");
        FAIL() << "nothing was thrown";
    } catch (const PLXDatabaseObjectException& exception) {
        EXPECT_EQ(exception.name(), "PLXDatabaseObjectException");
        EXPECT_EQ(exception.reason(),
                  "Attempting to mutate immutable object. Class = EverythingMore, property = more");
        EXPECT_EQ(
            exception.userInfo(),
            (Dictionary{{"NSLocalizedRecoverySuggestion",
                         "To make modifications you should create a copy via [object copy]. You "
                         "may then make changes to the copy before saving it back to the "
                         "database."}}));
    }
    EXPECT_EQ(record_->more(), "kept");
    EXPECT_EQ(record_->changedProperties(), std::nullopt);
    EXPECT_THROW(record_->setUuid("B"), PLXDatabaseObjectException);
    EXPECT_EQ(record_->uuid(), "A");
    EXPECT_THROW(record_->setValueForKey("count", Value(1)), PLXDatabaseObjectException);
    for (const String& name : record_->monitoredProperties()) {
        const Property* property = record_->recordClass().propertyNamed(name);
        if (!property->setValue) continue;
        EXPECT_THROW(property->setValue(*record_, record_->valueForKey(name)),
                     PLXDatabaseObjectException)
            << *name;
    }
}

TEST_F(GivenAMutableRecord, WhenTheExceptionNamesNoKeyThenItsReasonEndsWithTheClass) {
    EXPECT_EQ(record_->immutableExceptionForKey(nullptr).reason(),
              "Attempting to mutate immutable object. Class = EverythingMore");
}

TEST_F(GivenAMutableRecord, WhenAFrozenOneIsCopiedThenTheCopyIsMutableAndEqual) {
    const auto original = filled();
    original->makeImmutable();
    const auto copy = original->copy();
    EXPECT_FALSE(copy->isImmutable());
    EXPECT_TRUE(copy->isEqual(*original));
    EXPECT_EQ(copy->hash(), original->hash());
    EXPECT_EQ(copy->changedProperties(), (KeySet{"uuid"})) << "fields are copied past the setters";
    EXPECT_EQ(archiveOf(*copy), archiveOf(*original));
    EXPECT_EQ(copy->passing(), "not kept");
    copy->setText("changed");
    EXPECT_EQ(original->text(), "é");
    EXPECT_NE(copy->part(), original->part()) << "objects are copied deeply";
    EXPECT_NE(copy->parts()->front(), original->parts()->front());
}

TEST_F(GivenAMutableRecord, WhenAnObjectIsSetThenTheRecordHoldsItsOwnCopy) {
    const auto part = partNamed("before");
    record_->setPart(part);
    record_->setParts(std::vector{part});
    part->setName("after");
    EXPECT_EQ(record_->part()->name(), "before");
    EXPECT_EQ(record_->parts()->front()->name(), "before");
    record_->setPart(nullptr);
    record_->setParts(std::nullopt);
    EXPECT_EQ(record_->part(), nullptr);
    EXPECT_EQ(record_->parts(), std::nullopt);
}

TEST(GivenARecordAndOneOfASubclass, WhenComparedThenEqualOneWayOnly) {
    const auto base = Everything::initWithUUID("same");
    const auto derived = EverythingMore::initWithUUID("same");
    EXPECT_TRUE(base->isEqualToDatabaseObject(derived.get()));
    EXPECT_FALSE(derived->isEqualToDatabaseObject(base.get()));
    EXPECT_TRUE(base->isEqual(*derived));
    EXPECT_FALSE(derived->isEqual(*base));
}

TEST(GivenTwoRecords, WhenComparedThenClassAndExactUUIDCount) {
    const auto record = Everything::initWithUUID("same");
    EXPECT_TRUE(record->isEqualToDatabaseObject(record.get()));
    EXPECT_FALSE(record->isEqualToDatabaseObject(nullptr));
    EXPECT_TRUE(record->isEqual(*Everything::initWithUUID("same")));
    EXPECT_FALSE(record->isEqual(*Everything::initWithUUID("SAME")));
    EXPECT_FALSE(record->isEqual(*Part::initWithUUID("same"))) << "unrelated classes";
    EXPECT_EQ(record->hash(), Part::initWithUUID("same")->hash());
    EXPECT_FALSE(Everything::initWithUUID(nullptr)->isEqual(*Everything::initWithUUID(nullptr)));
}

TEST(GivenAFilledRecord, WhenArchivedThenKeysStandInTheOrderOfTheLinesSuperclassFirst) {
    EXPECT_EQ(archivedKeys(*filled()),
              (std::vector<std::string>{"uuid", "text", "flag", "count", "total", "narrow", "wide",
                                        "date", "data", "url", "keys", "tags", "numbers",
                                        "anything", "part", "parts", "partSet", "idx", "more"}));
    EXPECT_EQ(archivedKeys(*EverythingMore::init()).at(17), "more")
        << "an initial index is left out";
}

TEST(GivenAFilledRecord, WhenReadBackThenEveryArchivedPropertyIsEqual) {
    const auto record = filled();
    const auto read = recordFrom<EverythingMore>(archiveOf(*record));
    ASSERT_TRUE(read);
    EXPECT_TRUE(record->isEqual(*read));
    for (const String& name : record->monitoredProperties()) {
        if (name == "passing") continue;
        EXPECT_TRUE(record->valueForKey(name) == read->valueForKey(name)) << *name;
    }
    EXPECT_EQ(read->partSet()->front()->name(), "four");
    EXPECT_FALSE(read->passing());
    EXPECT_EQ(archiveOf(*read), archiveOf(*record));
    EXPECT_FALSE(read->isImmutable());
    EXPECT_EQ(read->changedProperties(), (KeySet{"uuid"}));
}

TEST(GivenAnArchiveOfAnotherClass, WhenReadByItsKeysThenMissingOnesAreNilZeroOrInitial) {
    KeyedArchiver archiver;
    archiver.setClassName("EverythingMore", Part::classObject());
    const auto bytes = archiver.archive(*Part::initWithUUID(nullptr));
    const auto read = recordFrom<EverythingMore>({bytes.begin(), bytes.end()});
    ASSERT_TRUE(read);
    EXPECT_FALSE(read->uuid()) << "a missing UUID is no error";
    EXPECT_FALSE(read->text());
    EXPECT_FALSE(read->flag());
    EXPECT_EQ(read->count(), 0);
    EXPECT_EQ(read->total(), 0U);
    EXPECT_EQ(read->narrow(), 0.0F);
    EXPECT_EQ(read->date(), std::nullopt);
    EXPECT_EQ(read->keys(), std::nullopt);
    EXPECT_EQ(read->part(), nullptr);
    EXPECT_EQ(read->parts(), std::nullopt);
    EXPECT_EQ(read->index(), -1);
}

TEST(GivenAFilledRecord, WhenReadByKeyThenValuesKeepTheirKinds) {
    const auto record = filled();
    EXPECT_EQ(record->valueForKey("narrow").kind(), Value::Kind::real32);
    EXPECT_EQ(record->valueForKey("wide").kind(), Value::Kind::real64);
    EXPECT_EQ(record->valueForKey("flag").kind(), Value::Kind::boolean);
    EXPECT_EQ(record->valueForKey("keys").kind(), Value::Kind::orderedSet);
    EXPECT_EQ(record->valueForKey("tags").kind(), Value::Kind::set);
    EXPECT_EQ(record->valueForKey("parts").kind(), Value::Kind::array);
    EXPECT_EQ(record->valueForKey("partSet").kind(), Value::Kind::set);
    EXPECT_EQ(record->valueForKey("twice"), Value(-10));
    EXPECT_EQ(record->valueForKey("uuid"), Value("E-1"));
    EXPECT_EQ(record->valueForKey("immutable"), Value(false));
    EXPECT_TRUE(record->valueForKey("nobody").isNil());
}

TEST_F(GivenAMutableRecord, WhenSetByKeyThenTheRecordTakesFittingValuesAndRefusesOthers) {
    EXPECT_TRUE(record_->setValueForKey("count", Value(2.9)));
    EXPECT_EQ(record_->count(), 2);
    EXPECT_TRUE(record_->setValueForKey("keys", Value(Value::Array{Value("a")})));
    EXPECT_EQ(record_->keys(), OrderedSet<String>{"a"});
    EXPECT_TRUE(record_->setValueForKey("keys", Value()));
    EXPECT_EQ(record_->keys(), std::nullopt);
    record_->clearChangedProperties();
    EXPECT_FALSE(record_->setValueForKey("count", Value()));
    EXPECT_FALSE(record_->setValueForKey("count", Value("2")));
    EXPECT_FALSE(record_->setValueForKey("text", Value(2)));
    EXPECT_FALSE(record_->setValueForKey("keys", Value(Value::Array{Value(1)})));
    EXPECT_FALSE(record_->setValueForKey("date", Value("today")));
    EXPECT_FALSE(record_->setValueForKey("part", Value(std::shared_ptr<const Object>(record_))));
    EXPECT_FALSE(record_->setValueForKey("twice", Value(2)));
    EXPECT_FALSE(record_->setValueForKey("nobody", Value(2)));
    EXPECT_EQ(record_->changedProperties(), std::nullopt);
    EXPECT_EQ(record_->count(), 2);
}

TEST(GivenAFilledRecord, WhenItsArchiveIsDamagedThenItReadsAsARecordOrNil) {
    readDamagedArchives(*filled());
}

}  // namespace
}  // namespace qsml
