#include "core/PLXCloudDatabaseObject.h"

#include <gtest/gtest.h>

#include "testing/recordArchives.h"

namespace qsml {
namespace {

using Keys = OrderedSet<String>;

// What the cloud layer tells apart: a number of each kind, a text and a collection.
class PLXKind : public PLXCloudDatabaseObject {
    QSML_RECORD(PLXKind, PLXCloudDatabaseObject)
    QSML_PROPERTY(float, narrow, setNarrow)
    QSML_PROPERTY(double, wide, setWide)
    QSML_PROPERTY(std::int64_t, count, setCount)
    QSML_PROPERTY(bool, flag, setFlag)
    QSML_PROPERTY(String, text, setText)
    QSML_PROPERTY(std::optional<Keys>, keys, setKeys)
    QSML_PROPERTY(String, local, setLocal)
    QSML_RECORD_END()
};
QSML_DEFINE_RECORD(PLXKind, .keysKeptLocal = {"local"})

class PLXTracking final : public PLXKind {
    QSML_RECORD(PLXTracking, PLXKind)
    QSML_PROPERTY(String, extra, setExtra)
    QSML_RECORD_END()
};
QSML_DEFINE_RECORD(PLXTracking, .storesOriginalCloudValues = true,
                   .trackUserChangedCloudKeys = true)

// Apart from the two above: a first instance of the subclass leaves PLXKind's setters unwrapped.
class PLXLoose final : public PLXCloudDatabaseObject {
    QSML_RECORD(PLXLoose, PLXCloudDatabaseObject)
    QSML_PROPERTY(std::int64_t, count, setCount)
    QSML_PROPERTY(String, text, setText)
    QSML_RECORD_END()
};
QSML_DEFINE_RECORD(PLXLoose)

class Unprefixed final : public PLXCloudDatabaseObject {
    QSML_RECORD(Unprefixed, PLXCloudDatabaseObject)
    QSML_RECORD_END()
};
QSML_DEFINE_RECORD(Unprefixed)

TEST(GivenClassNames, WhenTheirCloudTypeIsAskedThenOnlyTheFourPrefixesAreCutOff) {
    EXPECT_EQ(PLXKind::classObject().cloudType(), "Kind");
    EXPECT_EQ(Unprefixed::classObject().cloudType(), "CloudDatabaseObject");
    const auto typeOf = [](std::string_view name) {
        return RecordClass(name, &PLXCloudDatabaseObject::classObject(), nullptr, {}, {})
            .cloudType();
    };
    EXPECT_EQ(typeOf("PLKThing"), "Thing");
    EXPECT_EQ(typeOf("PLVThing"), "Thing");
    EXPECT_EQ(typeOf("PLYThing"), "Thing");
    EXPECT_EQ(typeOf("PLXPLXThing"), "PLXThing");
    EXPECT_EQ(typeOf("plxThing"), "CloudDatabaseObject");
    EXPECT_EQ(typeOf("PLZThing"), "CloudDatabaseObject");
}

TEST(GivenACloudRecordClass, WhenMonitoredThenNeitherUUIDNorBookkeepingCounts) {
    EXPECT_EQ(PLXTracking::classObject().monitoredProperties(),
              (KeySet{"count", "extra", "flag", "keys", "local", "narrow", "text", "wide"}));
    const auto first = PLXTracking::init();
    const auto second = PLXTracking::init();
    EXPECT_EQ(second->changedProperties(), std::nullopt);
    EXPECT_EQ(second->copy()->changedProperties(), std::nullopt);
    second->makeImmutable();
    EXPECT_NO_THROW(second->setUuid("free"));
    EXPECT_THROW(second->setNarrow(1), PLXDatabaseObjectException);
    EXPECT_NO_THROW(second->setUserChangedCloudKeys(Keys{"a"}));
}

TEST(GivenACloudRecordClass, WhenItDeclaresBookkeepingAnewThenThatIsStillNotMonitored) {
    const RecordClass declarer("PLXDeclarer", &PLXCloudDatabaseObject::classObject(), nullptr,
                               {{"cloudUUID"}, {"title"}, {"userChangedCloudKeys"}}, {});
    EXPECT_EQ(declarer.monitoredProperties(), (KeySet{"title"}));
    EXPECT_EQ(declarer.allCloudProperties(), (KeySet{"title"}));
    EXPECT_EQ(PLXCloudDatabaseObject::classObject().monitoredProperties(), KeySet());
}

TEST(GivenKeysKeptLocal, WhenMappedThenTheyHaveNoCloudKeyInSubclassesEither) {
    const auto record = PLXTracking::init();
    EXPECT_EQ(record->allCloudProperties(),
              (KeySet{"count", "extra", "flag", "keys", "narrow", "text", "wide"}));
    EXPECT_EQ(record->cloudKeyForLocalKey("text"), "text");
    EXPECT_EQ(record->localKeyForCloudKey("text"), "text");
    EXPECT_FALSE(record->cloudKeyForLocalKey("local"));
    EXPECT_FALSE(record->localKeyForCloudKey("local"));
    EXPECT_EQ(record->mappingsCloudKeyToLocalKey(), record->mappingsLocalKeyToCloudKey().inverse());
    record->setLocal("here");
    EXPECT_EQ(record->localValueForLocalKey("local"), Value("here"));
    EXPECT_TRUE(record->localValueForCloudKey("local").isNil());
    EXPECT_TRUE(record->cloudValueForCloudKey("local").isNil());
    EXPECT_TRUE(record->cloudValueForLocalKey("local").isNil());
    EXPECT_TRUE(record->setLocalValueFromCloudValue("gone", "local")) << "ignored, not refused";
    EXPECT_EQ(record->local(), "here");
    EXPECT_FALSE(record->hasDefaultValueForCloudKey("local"));
    EXPECT_EQ(record->changedCloudProperties(), KeySet()) << "changed, but no cloud key is";
    EXPECT_FALSE(record->hasChangedCloudProperties());
    EXPECT_EQ(record->userChangedCloudKeys(), Keys());
}

TEST(GivenARecordOfTheCloud, WhenItsNameIsAskedThenTypeIsLowerCaseAndTheUUIDAsStored) {
    const auto record = PLXKind::initWithUUID("A-b");
    EXPECT_EQ(std::as_const(*record).cloudUUID(), "kind-A-b");
    EXPECT_EQ(record->cloudUUID(), "kind-A-b");
    record->setUuid("other");
    EXPECT_EQ(record->cloudUUID(), "kind-A-b") << "kept from the first read on";
    EXPECT_EQ(record->copy()->cloudUUID(), "kind-other");
}

TEST(GivenARecordOfEveryType, WhenItsValuesAreDefaultThenAllCountAsDefault) {
    const auto record = PLXKind::init();
    for (const String& key : record->allCloudProperties())
        EXPECT_TRUE(record->hasDefaultValueForCloudKey(key)) << *key;
    record->setNarrow(0.5F);
    record->setCount(1);
    record->setFlag(true);
    record->setText("");
    record->setKeys(Keys());
    for (const String& key : record->allCloudProperties())
        EXPECT_EQ(record->hasDefaultValueForCloudKey(key), key == "wide") << *key;
}

TEST(GivenARecordOfEveryType, WhenA64BitRealIsBelowOneThenItCountsAsDefault) {
    const auto record = PLXKind::init();
    record->setWide(0.5);
    EXPECT_TRUE(record->hasDefaultValueForCloudKey("wide"));
    record->setWide(-0.7);
    EXPECT_TRUE(record->hasDefaultValueForCloudKey("wide"));
    record->setWide(1.0);
    EXPECT_FALSE(record->hasDefaultValueForCloudKey("wide"));
}

TEST(GivenARecordThatTracksNothing, WhenChangedThenNoBookkeepingIsKept) {
    const auto record = PLXLoose::init();
    record->setText("a");
    EXPECT_EQ(record->originalCloudValues(), std::nullopt);
    EXPECT_EQ(record->changedCloudProperties(), (KeySet{"text"}));
    EXPECT_TRUE(record->hasChangedCloudProperties());
    EXPECT_EQ(record->userChangedCloudKeys(), Keys{"text"}) << "computed on the first read";
    record->setCount(1);
    EXPECT_EQ(record->userChangedCloudKeys(), Keys{"text"}) << "and kept, but not tracked";
    EXPECT_EQ(archivedKeys(*record), (std::vector<std::string>{"uuid", "count", "text"}));
}

class GivenATrackingRecord : public testing::Test {
protected:
    std::shared_ptr<PLXTracking> record_ = PLXTracking::initWithUUID("T");
};

TEST_F(GivenATrackingRecord, WhenAKeyIsChangedThenTheValueBeforeTheFirstChangeIsKept) {
    EXPECT_EQ(record_->originalCloudValues(), std::nullopt);
    record_->setCount(1);
    record_->setCount(2);
    record_->setLocal("no cloud key");
    EXPECT_EQ(record_->originalCloudValues(), (Dictionary{{"count", 0}}));
    record_->clearChangedProperties();
    EXPECT_EQ(record_->originalCloudValues(), Dictionary()) << "empty, not nothing";
    record_->setCount(3);
    EXPECT_EQ(record_->originalCloudValues(), (Dictionary{{"count", 2}}));
}

TEST_F(GivenATrackingRecord, WhenTheValueBeforeTheFirstChangeWasNilThenALaterOneIsNotTakenForIt) {
    record_->setText("a");
    record_->setText("b");
    EXPECT_EQ(record_->originalCloudValues(), Dictionary());
    const auto copy = record_->copy();
    copy->setText("c");
    EXPECT_EQ(copy->originalCloudValues(), Dictionary());
    record_->clearChangedProperties();
    record_->setText("d");
    EXPECT_EQ(record_->originalCloudValues(), (Dictionary{{"text", "b"}}));
}

TEST_F(GivenATrackingRecord, WhenAKeyIsSetThenItStaysInTheSetAlsoBackAtItsDefault) {
    EXPECT_EQ(record_->userChangedCloudKeys(), Keys());
    record_->setCount(1);
    record_->setCount(0);
    record_->setFlag(false);
    EXPECT_EQ(record_->userChangedCloudKeys(), (Keys{"count", "flag"}));
    record_->clearChangedProperties();
    EXPECT_EQ(record_->userChangedCloudKeys(), (Keys{"count", "flag"}));
}

TEST_F(GivenATrackingRecord,
       WhenReadFromAnArchiveWithoutTheSetThenItHoldsTheValuesThatAreNotDefault) {
    record_->setText("a");
    record_->setUserChangedCloudKeys(std::nullopt);
    const auto read = recordFrom<PLXTracking>(archiveOf(*record_));
    ASSERT_TRUE(read);
    read->makeImmutable();
    EXPECT_EQ(read->userChangedCloudKeys(), Keys{"text"});
    EXPECT_EQ(archiveOf(*read), archiveOf(*record_)) << "reading a frozen record stores nothing";
    const auto copy = read->copy();
    copy->setText(nullptr);
    EXPECT_EQ(copy->userChangedCloudKeys(), Keys{"text"}) << "computed before the change";
}

TEST_F(GivenATrackingRecord, WhenFrozenThenAChangeThrowsBeforeAnyBookkeeping) {
    record_->makeImmutable();
    EXPECT_THROW(record_->setCount(1), PLXDatabaseObjectException);
    EXPECT_EQ(record_->originalCloudValues(), std::nullopt);
    EXPECT_EQ(record_->userChangedCloudKeys(), Keys());
    EXPECT_EQ(record_->changedProperties(), std::nullopt);
}

TEST_F(GivenATrackingRecord, WhenArchivedThenTheSetFollowsTheUUIDAndIsReadBack) {
    EXPECT_EQ(archivedKeys(*record_),
              (std::vector<std::string>{"uuid", "userChangedCloudKeys", "narrow", "wide", "count",
                                        "flag", "text", "keys", "local", "extra"}));
    record_->setCount(1);
    record_->setExtra("e");
    const auto read = recordFrom<PLXTracking>(archiveOf(*record_));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->userChangedCloudKeys(), (Keys{"count", "extra"}));
    EXPECT_EQ(read->originalCloudValues(), std::nullopt);
    EXPECT_EQ(read->changedProperties(), std::nullopt);
    const std::string text = archiveDescription(archiveOf(*record_));
    EXPECT_NE(text.find(R"(["NSSet","NSObject"])"), std::string::npos);
    EXPECT_NE(text.find(R"(["PLXTracking","PLXKind","PLXCloudDatabaseObject","PLXDatabaseObject",)"
                        R"("NSObject"])"),
              std::string::npos);
}

TEST_F(GivenATrackingRecord, WhenCopiedThenTheBookkeepingIsItsOwn) {
    record_->setCount(1);
    const auto copy = record_->copy();
    EXPECT_EQ(copy->originalCloudValues(), (Dictionary{{"count", 0}}));
    EXPECT_EQ(copy->userChangedCloudKeys(), Keys{"count"});
    copy->setFlag(true);
    EXPECT_EQ(record_->userChangedCloudKeys(), Keys{"count"});
    EXPECT_EQ(record_->originalCloudValues(), (Dictionary{{"count", 0}}));
}

TEST_F(GivenATrackingRecord, WhenItsArchiveIsDamagedThenItReadsAsARecordOrNil) {
    record_->setKeys(Keys{"a", "b"});
    record_->setText("a text");
    readDamagedArchives(*record_);
}

}  // namespace
}  // namespace qsml
