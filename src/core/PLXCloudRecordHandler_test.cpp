#include "core/PLXCloudRecordHandler.h"

#include <gtest/gtest.h>

#include "testing/LogCapture.h"

namespace qsml {
namespace {

using Keys = OrderedSet<String>;

class PLXSent final : public PLXCloudDatabaseObject {
    QSML_RECORD(PLXSent, PLXCloudDatabaseObject)
    QSML_PROPERTY(std::int64_t, count, setCount)
    QSML_PROPERTY(String, text, setText)
    QSML_PROPERTY(std::optional<OrderedSet<String>>, links, setLinks)
    QSML_RECORD_END()
};
QSML_DEFINE_RECORD(PLXSent, .storesOriginalCloudValues = true, .trackUserChangedCloudKeys = true)

class PLXPlain final : public PLXCloudDatabaseObject {
    QSML_RECORD(PLXPlain, PLXCloudDatabaseObject)
    QSML_PROPERTY(std::int64_t, count, setCount)
    QSML_PROPERTY(String, text, setText)
    QSML_RECORD_END()
};
QSML_DEFINE_RECORD(PLXPlain)

class GivenARecordToSend : public testing::Test {
protected:
    void handle(const PLXCloudDatabaseObject& object) {
        PLXCloudRecordHandler(cloud_, info_, object, "container");
    }
    std::shared_ptr<CKRecord> existing() {
        return std::make_shared<CKRecord>("Sent", CKRecordID{"sent-A", {"medialibrary"}});
    }
    std::shared_ptr<PLXSent> sent_ = PLXSent::initWithUUID("A");
    std::shared_ptr<CKRecord> cloud_;
    YapDatabaseCloudKitRecordInfo info_;
};

TEST_F(GivenARecordToSend, WhenNoCloudRecordExistsThenOneIsMadeWithTheUsersKeys) {
    sent_->setCount(5);
    handle(*sent_);
    ASSERT_TRUE(cloud_);
    EXPECT_EQ(cloud_->recordType(), "Sent");
    EXPECT_EQ(cloud_->recordID(), (CKRecordID{"sent-A", {"medialibrary", "__defaultOwner__"}}));
    EXPECT_EQ((*cloud_)["uuid"], Value("A"));
    EXPECT_EQ((*cloud_)["count"], Value(5));
    EXPECT_EQ(cloud_->changedKeys(), (std::vector<String>{"count", "userChangedCloudKeys", "uuid"}))
        << "keys that the user never set are not sent";
    EXPECT_EQ((*cloud_)["userChangedCloudKeys"], Value(Value::Array{Value("count")}));
    EXPECT_EQ(info_.databaseIdentifier, "container");
    EXPECT_TRUE(info_.originalValues.empty()) << "nothing was there to be replaced";
}

TEST_F(GivenARecordToSend, WhenTheClassDoesNotTrackThenANewCloudRecordGetsEveryKey) {
    const auto plain = PLXPlain::initWithUUID("P");
    handle(*plain);
    EXPECT_EQ(cloud_->changedKeys(), (std::vector<String>{"count", "text", "uuid"}));
    EXPECT_EQ(cloud_->allKeys(), (std::vector<String>{"count", "uuid"}));
}

TEST_F(GivenARecordToSend, WhenItIsUnchangedAndExistsThenNothingHappens) {
    cloud_ = existing();
    handle(*sent_);
    EXPECT_TRUE(cloud_->changedKeys().empty());
    EXPECT_FALSE(info_.databaseIdentifier);
}

TEST_F(GivenARecordToSend, WhenItExistsThenOnlyChangedKeysAreSentWithTheirOriginals) {
    sent_->setText("before");
    sent_->clearChangedProperties();
    sent_->setText(nullptr);
    cloud_ = existing();
    cloud_->setValue("text", "before");
    cloud_->clearChangedKeys();
    handle(*sent_);
    EXPECT_EQ(cloud_->changedKeys(), (std::vector<String>{"text", "userChangedCloudKeys"}));
    EXPECT_TRUE((*cloud_)["text"].isNil()) << "nil removes the value";
    EXPECT_EQ(info_.originalValues, (Dictionary{{"text", "before"}}));
    EXPECT_EQ(info_.databaseIdentifier, "container");
}

TEST_F(GivenARecordToSend, WhenKeysAreToBeRestoredThenTheseAreSentAndNoOriginalsGiven) {
    sent_->setText("t");
    sent_->setCount(1);
    sent_->clearChangedProperties();
    cloud_ = existing();
    info_.keysToRestore = Keys{"text", "links"};
    handle(*sent_);
    EXPECT_EQ(cloud_->changedKeys(), (std::vector<String>{"text", "userChangedCloudKeys"}));
    EXPECT_TRUE(info_.originalValues.empty());
}

TEST_F(GivenARecordToSend, WhenKeysAreToBeRestoredIntoANewCloudRecordThenItGetsTheseAlone) {
    sent_->setText("t");
    sent_->setCount(1);
    info_.keysToRestore = Keys{"text"};
    handle(*sent_);
    ASSERT_TRUE(cloud_);
    EXPECT_EQ(cloud_->changedKeys(), (std::vector<String>{"text", "userChangedCloudKeys", "uuid"}));
    EXPECT_TRUE(info_.originalValues.empty());
    EXPECT_EQ(info_.databaseIdentifier, "container");
}

TEST_F(GivenARecordToSend, WhenTheKeysToRestoreAreAnEmptySetThenTheyCountAsNone) {
    cloud_ = existing();
    info_.keysToRestore = Keys();
    handle(*sent_);
    EXPECT_TRUE(cloud_->changedKeys().empty());
}

TEST_F(GivenARecordToSend, WhenAValueCannotBeStoredThenItIsLoggedAndTheRestIsSent) {
    LogCapture logs;
    sent_->setLinks(Keys{"a"});
    sent_->setCount(2);
    handle(*sent_);
    EXPECT_EQ((*cloud_)["count"], Value(2));
    EXPECT_TRUE((*cloud_)["links"].isNil());
    EXPECT_EQ(logs.linesWith("\"links\"").size(), 1U);
}

TEST_F(GivenARecordToSend, WhenItsUUIDCannotNameACloudRecordThenNoneIsMade) {
    LogCapture logs;
    handle(*PLXSent::initWithUUID("ü"));
    EXPECT_FALSE(cloud_);
    handle(*PLXSent::initWithUUID(nullptr));
    EXPECT_FALSE(cloud_);
    EXPECT_EQ(logs.lines().size(), 2U);
}

}  // namespace
}  // namespace qsml
