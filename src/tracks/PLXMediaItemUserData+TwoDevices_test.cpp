#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include "core/PLXCloudRecordHandler.h"
#include "core/PLXCloudRecordMerge.h"
#include "testing/LogCapture.h"
#include "testing/recordArchives.h"
#include "testing/userData.h"
#include "tracks/detail/testing/userDataKeys.h"

namespace qsml {
namespace {

using Record = PLXMediaItemUserData;

TEST(GivenAPendingEdit, WhenTheServerHoldsTheOldValueInAnotherWritersTextThenTheEditStands) {
    const auto stored = Record::initWithUUID("track");
    stored->setStartPoint(PLXCuePoint::initWithNumber(2, 99, nullptr));
    const CKRecordID recordID{"mediaitemuserdata-track", {"medialibrary"}};
    CKRecord remote("MediaItemUserData", recordID);
    remote.setValue("uuid", Value("track"));
    remote.setValue("startPoint", Value(R"({"number":2,"time":12.50})"));
    remote.setValue("rating", Value(3));
    remote.setValue("userChangedCloudKeys",
                    Value(Value::Array{Value("startPoint"), Value("rating")}));
    YapDatabaseCloudKitMergeInfo info;
    const auto pending = std::make_shared<CKRecord>("MediaItemUserData", recordID);
    pending->setValue("startPoint", stored->cloudValueForCloudKey("startPoint"));
    info.pendingLocalRecord = pending;
    info.updatedPendingLocalRecord = std::make_shared<CKRecord>("MediaItemUserData", recordID);
    info.originalValues.set("startPoint", Value(R"({"time":12.5,"number":2})"));
    const auto merged = std::dynamic_pointer_cast<Record>(PLXCloudRecordMerge(
        stored, remote, info, [](const String&) { return &Record::classObject(); }));
    ASSERT_TRUE(merged);
    EXPECT_EQ(merged->startPoint()->time(), 99.0F);
    EXPECT_EQ(merged->rating(), 3);
    EXPECT_EQ((*info.updatedPendingLocalRecord)["startPoint"],
              stored->cloudValueForCloudKey("startPoint"))
        << "and is sent again";
}

RC_GTEST_PROP(UserDataCloud, GivesAFreshRecordTheSameValues, ()) {
    const auto mine = anyUserData();
    const auto theirs = Record::initWithUUID("track");
    for (const String& key : mine->allCloudProperties()) {
        const Value sent = CKRecord::asStored(mine->cloudValueForCloudKey(key));
        RC_ASSERT(CKRecord::canStore(sent));
        RC_ASSERT(theirs->setLocalValueFromCloudValue(sent, key));
        const Value value = mine->valueForKey(key);
        const bool isEmpty = value.isCollection() && value.elements().empty();
        RC_ASSERT(theirs->valueForKey(key) == (isEmpty ? Value() : value));
    }
    for (const char* key : localKeys)
        RC_ASSERT(theirs->valueForKey(key) == Record::init()->valueForKey(key));
}

class GivenUserDataOnTwoDevices : public testing::Test {
protected:
    static std::shared_ptr<CKRecord> sent(const Record& record) {
        std::shared_ptr<CKRecord> cloudRecord;
        YapDatabaseCloudKitRecordInfo info;
        PLXCloudRecordHandler(cloudRecord, info, record, "container");
        return cloudRecord;
    }
    static std::shared_ptr<PLXCloudDatabaseObject> received(const Record& stored,
                                                            const CKRecord& remote) {
        YapDatabaseCloudKitMergeInfo info;
        return PLXCloudRecordMerge(stored.copy(), remote, info,
                                   [](const auto&) { return &Record::classObject(); });
    }
};

TEST_F(GivenUserDataOnTwoDevices, WhenOneIsSentThenTheOtherHoldsTheSame) {
    const auto mine = filledUserData();
    const auto remote = sent(*mine);
    ASSERT_TRUE(remote);
    for (const char* key : localKeys) EXPECT_TRUE((*remote)[key].isNil()) << key;
    for (const String& key : remote->allKeys()) EXPECT_NE(key, "hasDeckMetadata");
    const auto theirs = received(*Record::initWithUUID(mine->uuid()), *remote);
    ASSERT_TRUE(theirs);
    for (const String& key : mine->allCloudProperties())
        EXPECT_EQ(theirs->valueForKey(key), mine->valueForKey(key)) << *key;
    const auto again = received(*mine, *remote);
    EXPECT_EQ(again->changedProperties(), std::nullopt) << "nothing to apply";
}

TEST_F(GivenUserDataOnTwoDevices, WhenAFieldIsRefusedThenItIsLoggedAndTheOthersAreTaken) {
    const auto mine = filledUserData();
    const auto remote = sent(*mine);
    remote->setValue("startPoint", Value(5));
    remote->setValue("rating", Value(1));
    const LogCapture log;
    const auto merged = received(*mine, *remote);
    EXPECT_EQ(merged->valueForKey("startPoint"), mine->valueForKey("startPoint"));
    EXPECT_EQ(merged->valueForKey("rating"), Value(1));
    EXPECT_EQ(log.linesWith("Failed to set value 5 for key startPoint").size(), 1U);
}

}  // namespace
}  // namespace qsml
