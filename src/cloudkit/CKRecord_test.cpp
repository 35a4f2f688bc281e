#include "cloudkit/CKRecord.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "foundation/Dictionary.h"

namespace qsml {
namespace {

class GivenACloudRecord : public testing::Test {
protected:
    CKRecord record_{"Queue", CKRecordID{"queue-A", {"medialibrary"}}};
};

TEST_F(GivenACloudRecord, WhenTypeOrNameAreEmptyThenNoneIsMade) {
    EXPECT_THROW(CKRecord("", record_.recordID()), std::invalid_argument);
    EXPECT_THROW(CKRecord("Queue", CKRecordID{"", {"z"}}), std::invalid_argument);
    EXPECT_NO_THROW(CKRecord("Users", CKRecordID{"_8af", {"z"}})) << "the server's own names";
}

TEST_F(GivenACloudRecord, WhenAValueIsSetThenItsKeyIsListedAndChanged) {
    record_.setValue("b", 1);
    record_.setValue("a", "text");
    EXPECT_EQ(record_.allKeys(), (std::vector<String>{"a", "b"}));
    EXPECT_EQ(record_["b"], Value(1));
    EXPECT_TRUE(record_["c"].isNil());
    EXPECT_EQ(record_.changedKeys(), (std::vector<String>{"a", "b"}));
    record_.clearChangedKeys();
    record_.setValue("b", 1);
    EXPECT_EQ(record_.changedKeys(), std::vector<String>{"b"}) << "an equal value marks it too";
}

TEST_F(GivenACloudRecord, WhenNilIsSetThenTheValueGoesAndTheKeyCountsAsChanged) {
    record_.setValue("a", 1);
    record_.clearChangedKeys();
    record_.setValue("a", Value());
    EXPECT_TRUE(record_.allKeys().empty());
    EXPECT_TRUE(record_.hasChanged("a"));
}

TEST_F(GivenACloudRecord, WhenCopiedThenValuesTagAndChangedKeysComeAlong) {
    record_.setValue("a", 1);
    record_.setSystemFields({.recordChangeTag = "t1"});
    CKRecord copy = record_;
    copy.setValue("b", 2);
    EXPECT_EQ(copy.recordChangeTag(), "t1");
    EXPECT_EQ(copy.changedKeys().size(), 2U);
    EXPECT_EQ(record_.changedKeys().size(), 1U);
}

TEST_F(GivenACloudRecord, WhenTheCloudCannotHoldAValueThenSettingItThrowsAndChangesNothing) {
    for (const Value& value :
         {Value(Null()), Value(Dictionary{{"a", 1}}), Value(ValueSet{1}),
          Value(OrderedSet<Value>{1}), Value(Value::Array{Value(Null())}),
          Value(Value::Array{Value(Value::Array{})}), Value(Value::Array{Value(Dictionary{})}),
          Value(URL::fileURLWithPath("/a"))}) {
        EXPECT_FALSE(CKRecord::canStore(value)) << value.description();
        EXPECT_THROW(record_.setValue("a", value), std::invalid_argument);
    }
    EXPECT_TRUE(record_.allKeys().empty());
    EXPECT_TRUE(record_.changedKeys().empty());
    EXPECT_NO_THROW(record_.setValue("a", Value::Array{}));
}

TEST_F(GivenACloudRecord, WhenADateIsSetThenItIsKeptInWholeMilliseconds) {
    record_.setValue("d", Date{0.0014});
    EXPECT_NEAR(record_["d"].date()->secondsSinceReferenceDate, 0.001, 1e-6);
    EXPECT_EQ(CKRecord::asStored(record_["d"]), record_["d"]) << "rounding twice changes nothing";
    EXPECT_EQ(CKRecord::asStored(Value(Date{0.0013})), record_["d"]);
    record_.setValue("l", Value::Array{Value(Date{0.0014})});
    EXPECT_EQ(record_["l"].elements().front(), record_["d"]);
}

TEST_F(GivenACloudRecord, WhenAnUnsignedNumberIsTooLargeThenItSaturates) {
    record_.setValue("n", std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(record_["n"], Value(std::numeric_limits<std::int64_t>::max()));
    record_.setValue("n", std::uint64_t{5});
    EXPECT_EQ(record_["n"], Value(5));
}

TEST_F(GivenACloudRecord, WhenItsSystemFieldsAreReadBackThenIdentityIsThereAndValuesAreNot) {
    record_.setValue("a", 1);
    record_.setSystemFields({.recordChangeTag = "t",
                             .creationDate = Date{1.5},
                             .creatorUserRecordName = "_me",
                             .lastModifiedUserRecordName = ""});
    const auto bytes = record_.encodeSystemFields();
    const auto read = CKRecord::recordWithSystemFields(bytes);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->recordType(), "Queue");
    EXPECT_EQ(read->recordID(), record_.recordID());
    EXPECT_EQ(read->systemFields(), record_.systemFields());
    EXPECT_TRUE(read->allKeys().empty());
    EXPECT_TRUE(read->changedKeys().empty());
}

TEST_F(GivenACloudRecord, WhenItsSystemFieldsAreDamagedThenNothingOrARecordIsRead) {
    record_.setSystemFields({.recordChangeTag = "t", .modificationDate = Date{2}});
    const auto bytes = record_.encodeSystemFields();
    for (std::size_t size = 0; size < bytes.size(); ++size)
        EXPECT_FALSE(CKRecord::recordWithSystemFields({bytes.data(), size})) << size;
    for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {
        auto damaged = bytes;
        damaged[bit / 8] = static_cast<std::uint8_t>(damaged[bit / 8] ^ (1U << (bit % 8)));
        const auto read = CKRecord::recordWithSystemFields(damaged);
        EXPECT_TRUE(!read || !read->recordType().empty());
    }
    auto newer = bytes;
    newer[0] = 2;
    EXPECT_FALSE(CKRecord::recordWithSystemFields(newer));
    auto longer = bytes;
    longer.push_back(0);
    EXPECT_FALSE(CKRecord::recordWithSystemFields(longer));
}

}  // namespace
}  // namespace qsml
