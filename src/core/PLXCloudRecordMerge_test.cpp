#include "core/PLXCloudRecordMerge.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <stdexcept>

#include "testing/LogCapture.h"
#include "testing/recordArchives.h"

namespace qsml {
namespace {

using Keys = OrderedSet<String>;

class PLXMerged final : public PLXCloudDatabaseObject {
    QSML_RECORD(PLXMerged, PLXCloudDatabaseObject)
    QSML_PROPERTY(std::int64_t, count, setCount)
    QSML_PROPERTY(std::int64_t, other, setOther)
    QSML_PROPERTY(String, text, setText)
    QSML_PROPERTY(std::optional<Date>, date, setDate)
    QSML_PROPERTY(std::uint64_t, total, setTotal)
    QSML_PROPERTY(String, local, setLocal)
    QSML_RECORD_END()
};
QSML_DEFINE_RECORD(PLXMerged, .storesOriginalCloudValues = true, .trackUserChangedCloudKeys = true,
                   .keysKeptLocal = {"local"})

class PLXUntracked final : public PLXCloudDatabaseObject {
    QSML_RECORD(PLXUntracked, PLXCloudDatabaseObject)
    QSML_PROPERTY(std::int64_t, count, setCount)
    QSML_PROPERTY(String, text, setText)
    QSML_RECORD_END()

    bool setLocalValueFromCloudValue(const Value& value, std::string_view cloudKey) override {
        if (value == Value("unreadable")) throw std::runtime_error("not this one");
        return PLXCloudDatabaseObject::setLocalValueFromCloudValue(value, cloudKey);
    }
};
QSML_DEFINE_RECORD(PLXUntracked)

const RecordClass* classForType(const String& type) {
    if (type == "Merged") return &PLXMerged::classObject();
    return type == "Untracked" ? &PLXUntracked::classObject() : nullptr;
}

CKRecord cloudRecord(const char* type = "Merged") {
    return {type, CKRecordID{"merged-A", {"medialibrary"}}};
}

void setUserKeys(CKRecord& record, const std::vector<const char*>& keys) {
    record.setValue("userChangedCloudKeys", Value::Array(keys.begin(), keys.end()));
}

class GivenAFetchedRecord : public testing::Test {
protected:
    GivenAFetchedRecord() {
        setUserKeys(remote_, {"count", "other", "text"});
        remote_.setValue("count", 0);
        remote_.setValue("other", 0);
        stored_->setUserChangedCloudKeys(Keys{"count", "other", "text"});
    }

    // A queued local change of the key, with the value that it replaced.
    void pend(const char* key, const Value& mine, const Value& original) {
        if (!pending_) pending_ = std::make_shared<CKRecord>(cloudRecord());
        pending_->setValue(key, mine);
        info_.pendingLocalRecord = pending_;
        info_.originalValues.set(key, original);
        info_.updatedPendingLocalRecord = updated_;
    }
    std::shared_ptr<PLXMerged> merge() {
        stored_->makeImmutable();
        return std::dynamic_pointer_cast<PLXMerged>(
            PLXCloudRecordMerge(stored_, remote_, info_, classForType));
    }

    std::shared_ptr<PLXMerged> stored_ = PLXMerged::initWithUUID("A");
    CKRecord remote_ = cloudRecord();
    YapDatabaseCloudKitMergeInfo info_;
    std::shared_ptr<CKRecord> pending_;
    std::shared_ptr<CKRecord> updated_ = std::make_shared<CKRecord>(cloudRecord());
};

TEST_F(GivenAFetchedRecord, WhenOnlyTheRemoteSideChangedThenItsValueIsTaken) {
    stored_->setCount(1);
    remote_.setValue("count", 2);
    const auto merged = merge();
    EXPECT_EQ(merged->count(), 2);
    EXPECT_FALSE(merged->isImmutable());
    EXPECT_EQ(stored_->count(), 1) << "what others hold stays true";
}

TEST_F(GivenAFetchedRecord, WhenValuesAreEqualThenTheKeyIsNoLongerPending) {
    stored_->setCount(2);
    pend("count", 2, 1);
    remote_.setValue("count", 2);
    EXPECT_EQ(merge()->count(), 2);
    EXPECT_TRUE(updated_->changedKeys().empty());
}

TEST_F(GivenAFetchedRecord, WhenTheRemoteValueIsTheBaseThenTheLocalChangeStandsAndIsSentAgain) {
    stored_->setCount(2);
    pend("count", 2, 1);
    remote_.setValue("count", 1);
    EXPECT_EQ(merge()->count(), 2);
    EXPECT_EQ(updated_->changedKeys(), std::vector<String>{"count"});
    EXPECT_EQ((*updated_)["count"], Value(2));
}

TEST_F(GivenAFetchedRecord, WhenBothSidesChangedThenTheRemoteValueWins) {
    stored_->setCount(2);
    pend("count", 2, 1);
    remote_.setValue("count", 3);
    EXPECT_EQ(merge()->count(), 3);
    EXPECT_TRUE(updated_->changedKeys().empty());
}

TEST_F(GivenAFetchedRecord, WhenTheRemoteSideClearedAKeyThatIsNotPendingThenItIsCleared) {
    stored_->setText("old");
    stored_->clearChangedProperties();
    pend("count", 0, 0);
    EXPECT_FALSE(merge()->text());
}

TEST_F(GivenAFetchedRecord, WhenTheRemoteSideHasNoValueButTheLocalOneIsNewThenItStands) {
    stored_->setText("new");
    pend("text", "new", Value());
    EXPECT_EQ(merge()->text(), "new");
    EXPECT_EQ((*updated_)["text"], Value("new"));
}

TEST_F(GivenAFetchedRecord, WhenTheLocalSideClearedAKeyThenTheRemovalIsSentAgain) {
    pend("text", Value(), "old");
    remote_.setValue("text", "old");
    EXPECT_FALSE(merge()->text());
    EXPECT_EQ(updated_->changedKeys(), std::vector<String>{"text"});
    EXPECT_TRUE((*updated_)["text"].isNil());
}

TEST_F(GivenAFetchedRecord, WhenARemoteKeyIsNotAmongTheUsersThenItIsIgnored) {
    setUserKeys(remote_, {"text"});
    remote_.setValue("count", 9);
    remote_.setValue("local", "foreign");
    remote_.setValue("nobody", 1);
    const auto merged = merge();
    EXPECT_EQ(merged->count(), 0);
    EXPECT_FALSE(merged->local());
}

TEST_F(GivenAFetchedRecord, WhenAPendingKeyIsNoCandidateThenItStaysPending) {
    setUserKeys(remote_, {});
    stored_->setCount(4);
    pend("count", 4, 0);
    EXPECT_EQ(merge()->count(), 4);
    EXPECT_EQ((*updated_)["count"], Value(4));
}

TEST_F(GivenAFetchedRecord, WhenARecordRefusesAValueThenItIsLoggedAndTheRestIsMerged) {
    LogCapture logs;
    remote_.setValue("count", "seven");
    remote_.setValue("other", 7);
    remote_.setValue("text", "t");
    const auto merged = merge();
    EXPECT_EQ(merged->count(), 0);
    EXPECT_EQ(merged->other(), 7);
    EXPECT_EQ(merged->text(), "t");
    EXPECT_EQ(
        logs.lines(),
        std::vector<std::string>{
            "+[PLXCloudDatabaseObject mergeBlock]_block_invoke [Line 255] Failed to set value "
            "seven for key count of object merged-A: the property cannot hold the value"});
}

TEST_F(GivenAFetchedRecord, WhenTheRemoteSideHasNoNumberThenTheLocalOneStaysWithALogLine) {
    LogCapture logs;
    stored_->setCount(1);
    remote_.setValue("count", Value());
    EXPECT_EQ(merge()->count(), 1);
    ASSERT_EQ(logs.lines().size(), 1U);
    EXPECT_NE(logs.lines()[0].find("value (null) for key count of object merged-A: "),
              std::string::npos)
        << logs.lines()[0];
}

TEST_F(GivenAFetchedRecord, WhenTheUsersKeysDifferThenTheyAreUnitedAndSent) {
    stored_->setUserChangedCloudKeys(Keys{"count"});
    stored_->setCount(1);
    pend("count", 1, 0);
    setUserKeys(remote_, {"text"});
    EXPECT_EQ(merge()->userChangedCloudKeys(), (Keys{"count", "text"}));
    EXPECT_EQ((*updated_)["userChangedCloudKeys"],
              Value(Value::Array{Value("count"), Value("text")}));
    setUserKeys(remote_, {"count"});
    updated_->setValue("userChangedCloudKeys", Value());
    updated_->clearChangedKeys();
    (void)merge();
    EXPECT_FALSE(updated_->hasChanged("userChangedCloudKeys")) << "nothing grew";
}

TEST_F(GivenAFetchedRecord, WhenAQueuedSetHoldsKeysThatTheRemoteOneLacksThenItIsSentAgain) {
    const Value queued = Value::Array{Value("count"), Value("other"), Value("text")};
    stored_->setCount(4);
    pend("count", 4, 0);
    pending_->setValue("userChangedCloudKeys", queued);
    setUserKeys(remote_, {"other", "text"});
    EXPECT_EQ(merge()->userChangedCloudKeys(), (Keys{"count", "other", "text"})) << "nothing grew";
    EXPECT_EQ(updated_->changedKeys(), (std::vector<String>{"count", "userChangedCloudKeys"}));
    EXPECT_EQ((*updated_)["userChangedCloudKeys"], queued);

    *updated_ = cloudRecord();
    setUserKeys(remote_, {"text", "other", "count"});
    (void)merge();
    EXPECT_EQ(updated_->changedKeys(), std::vector<String>{"count"}) << "the remote side has it";
}

TEST_F(GivenAFetchedRecord, WhenNoLocalChangeIsPendingThenNothingIsSent) {
    stored_->setUserChangedCloudKeys(Keys());
    info_.updatedPendingLocalRecord = updated_;
    remote_.setValue("count", 3);
    EXPECT_EQ(merge()->userChangedCloudKeys().size(), 3U);
    EXPECT_TRUE(updated_->changedKeys().empty());
}

TEST_F(GivenAFetchedRecord, WhenTheUsersKeysAreDamagedThenOnlyTextsCount) {
    stored_->setUserChangedCloudKeys(Keys());
    remote_.setValue("userChangedCloudKeys", Value::Array{Value(1), Value("count")});
    remote_.setValue("count", 3);
    EXPECT_EQ(merge()->userChangedCloudKeys(), Keys{"count"});
    remote_.setValue("userChangedCloudKeys", "count");
    EXPECT_EQ(merge()->count(), 0);
}

TEST_F(GivenAFetchedRecord, WhenADateOrAHugeNumberWasRoundedByTheCloudThenItIsNoDifference) {
    stored_->setDate(Date{1.00049});
    stored_->setTotal(18446744073709551615U);
    setUserKeys(remote_, {"date", "total"});
    remote_.setValue("date", *stored_->date());
    remote_.setValue("total", stored_->total());
    const auto merged = merge();
    EXPECT_EQ(merged->date(), Date{1.00049});
    EXPECT_EQ(merged->total(), 18446744073709551615U);
}

TEST_F(GivenAFetchedRecord, WhenTheTypeIsUnknownOrNothingIsStoredThenNothingIsMerged) {
    EXPECT_EQ(PLXCloudRecordMerge(stored_, cloudRecord("Stranger"), info_, classForType), nullptr);
    EXPECT_EQ(PLXCloudRecordMerge(nullptr, remote_, info_, classForType), nullptr);
    EXPECT_EQ(PLXCloudRecordMerge(stored_, cloudRecord("Untracked"), info_, classForType), nullptr);
}

TEST(GivenAClassThatDoesNotTrack, WhenMergedThenEveryRemoteKeyIsACandidate) {
    const auto stored = PLXUntracked::initWithUUID("A");
    stored->setText("kept");
    CKRecord remote = cloudRecord("Untracked");
    remote.setValue("count", 3);
    remote.setValue("uuid", "other");
    YapDatabaseCloudKitMergeInfo info;
    const auto merged = std::dynamic_pointer_cast<PLXUntracked>(
        PLXCloudRecordMerge(stored, remote, info, classForType));
    EXPECT_EQ(merged->count(), 3);
    EXPECT_EQ(merged->text(), "kept") << "no such key in the remote record";
    EXPECT_EQ(merged->uuid(), "A");
}

TEST(GivenAClassThatDoesNotTrack, WhenSettingAValueThrowsThenItIsLoggedAndTheRestIsMerged) {
    LogCapture logs;
    const auto stored = PLXUntracked::initWithUUID("A");
    CKRecord remote = cloudRecord("Untracked");
    remote.setValue("text", "unreadable");
    remote.setValue("count", 3);
    YapDatabaseCloudKitMergeInfo info;
    const auto merged = std::dynamic_pointer_cast<PLXUntracked>(
        PLXCloudRecordMerge(stored, remote, info, classForType));
    EXPECT_EQ(merged->count(), 3);
    EXPECT_FALSE(merged->text());
    EXPECT_EQ(logs.lines(),
              std::vector<std::string>{
                  "+[PLXCloudDatabaseObject mergeBlock]_block_invoke [Line 255] Failed to set "
                  "value unreadable for key text of object untracked-A: not this one"});
}

struct Situation {
    std::shared_ptr<PLXMerged> stored = PLXMerged::initWithUUID("A");
    CKRecord remote = cloudRecord();
    std::shared_ptr<CKRecord> pending = std::make_shared<CKRecord>(cloudRecord());
    YapDatabaseCloudKitMergeInfo info;
};

// Small values, so that equal ones, bases and conflicts are all frequent.
Situation anySituation() {
    const auto number = [] { return *rc::gen::inRange<std::int64_t>(0, 3); };
    Situation s;
    std::vector<const char*> userKeys;
    for (const char* key : {"count", "other"}) {
        if (*rc::gen::arbitrary<bool>()) s.stored->setValueForKey(key, Value(number()));
        if (*rc::gen::arbitrary<bool>()) s.remote.setValue(key, Value(number()));
        if (*rc::gen::arbitrary<bool>()) userKeys.push_back(key);
        if (*rc::gen::arbitrary<bool>()) {
            s.pending->setValue(key, s.stored->valueForKey(key));
            s.info.originalValues.set(key, Value(number()));
        }
    }
    setUserKeys(s.remote, userKeys);
    s.stored->makeImmutable();
    s.info.pendingLocalRecord = s.pending;
    s.info.updatedPendingLocalRecord = std::make_shared<CKRecord>(cloudRecord());
    return s;
}

RC_GTEST_PROP(CloudRecordMerge, LeavesItsInputsAsTheyWere, ()) {
    Situation s = anySituation();
    const auto before = archiveOf(*s.stored);
    const auto keysBefore = s.pending->changedKeys();
    const Value countBefore = s.remote["count"];
    LogCapture logs;
    (void)PLXCloudRecordMerge(s.stored, s.remote, s.info, classForType);
    RC_ASSERT(archiveOf(*s.stored) == before);
    RC_ASSERT(s.pending->changedKeys() == keysBefore);
    RC_ASSERT(s.remote["count"] == countBefore);
}

RC_GTEST_PROP(CloudRecordMerge, OnlyEverGrowsTheUsersKeys, ()) {
    Situation s = anySituation();
    LogCapture logs;
    const auto merged = PLXCloudRecordMerge(s.stored, s.remote, s.info, classForType);
    for (const String& key : s.stored->userChangedCloudKeys())
        RC_ASSERT(merged->userChangedCloudKeys().contains(key));
    for (const Value& key : s.remote["userChangedCloudKeys"].elements())
        RC_ASSERT(merged->userChangedCloudKeys().contains(key.string()));
}

RC_GTEST_PROP(CloudRecordMerge, TakesPerKeyOneOfTheTwoSidesByTheRule, ()) {
    Situation s = anySituation();
    LogCapture logs;
    const auto merged = PLXCloudRecordMerge(s.stored, s.remote, s.info, classForType);
    const auto candidates = textsOfCollection(s.remote["userChangedCloudKeys"]);
    for (const char* key : {"count", "other"}) {
        const Value mine = s.stored->valueForKey(key);
        const Value theirs = s.remote[key];
        const bool pending = s.pending->hasChanged(key);
        const bool takesTheirs = candidates->contains(key) && theirs != mine && !theirs.isNil() &&
                                 (!pending || theirs != s.info.originalValues[key]);
        RC_ASSERT(merged->valueForKey(key) == (takesTheirs ? theirs : mine));
        const bool refused = candidates->contains(key) && theirs.isNil();
        const bool sent = pending && !takesTheirs && !refused && theirs != mine;
        RC_ASSERT(s.info.updatedPendingLocalRecord->hasChanged(key) == sent);
    }
}

RC_GTEST_PROP(CloudRecordMerge, ChangesNothingTheSecondTime, ()) {
    Situation s = anySituation();
    LogCapture logs;
    const auto once = PLXCloudRecordMerge(s.stored, s.remote, s.info, classForType);
    YapDatabaseCloudKitMergeInfo again = s.info;
    again.pendingLocalRecord = s.info.updatedPendingLocalRecord;
    again.updatedPendingLocalRecord = std::make_shared<CKRecord>(cloudRecord());
    const auto twice = PLXCloudRecordMerge(once, s.remote, again, classForType);
    RC_ASSERT(archiveOf(*twice) == archiveOf(*once));
}

}  // namespace
}  // namespace qsml
