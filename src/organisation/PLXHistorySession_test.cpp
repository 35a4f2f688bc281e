#include "organisation/PLXHistorySession.h"

#include <gtest/gtest.h>

#include "store/YapDatabaseRelationshipNode.h"
#include "testing/recordTable.h"

namespace qsml {
namespace {

using Keys = OrderedSet<String>;

std::shared_ptr<PLXHistorySession> filled() {
    auto session = PLXHistorySession::initWithUUID("session");
    session->setName("Friday");
    session->setDeviceName("Booth");
    session->setDeviceType(2);
    session->setStartDate(Date{10});
    session->setEndDate(Date{20.5});
    session->setItemUUIDs(Keys{"b", "a", "c"});
    return session;
}

TEST(GivenArchivesOfAHistorySession,
     WhenHeldAgainstTheTableThenNamesOrderDefaultsAndChecksAreThose) {
    expectTable<PLXHistorySession>({{"name", Takes::text},
                                    {"deviceName", Takes::text},
                                    {"deviceType", Takes::whole, 0},
                                    {"startDate", Takes::date},
                                    {"endDate", Takes::date},
                                    {"itemUUIDs", Takes::arrayOrOrderedSet}},
                                   *filled());
    EXPECT_EQ(PLXHistorySession::init()->monitoredProperties(),
              (KeySet{"name", "deviceName", "deviceType", "startDate", "endDate", "itemUUIDs"}));
}

TEST(GivenArchivesOfAHistorySession, WhenAnotherProgramWroteThemThenTheyAreRead) {
    const std::vector<Value> collections = {Value(Value::Array{Value("b"), Value("a")}),
                                            Value(Keys{"b", "a"})};
    for (const Value& items : collections) {
        const auto session =
            recordFrom<PLXHistorySession>(foreignArchive({{"$class", "PLXHistorySession"},
                                                          {"uuid", "u"},
                                                          {"name", "n"},
                                                          {"deviceName", "d"},
                                                          {"deviceType", 7},
                                                          {"startDate", Date{1}},
                                                          {"endDate", Date{2.5}},
                                                          {"itemUUIDs", items}}));
        ASSERT_TRUE(session);
        EXPECT_EQ(session->uuid(), "u");
        EXPECT_EQ(session->name(), "n");
        EXPECT_EQ(session->deviceName(), "d");
        EXPECT_EQ(session->deviceType(), 7);
        EXPECT_EQ(session->startDate(), Date{1});
        EXPECT_EQ(session->endDate(), Date{2.5});
        EXPECT_EQ(session->itemUUIDs(), (Keys{"b", "a"})) << "in play order";
    }
}

TEST(GivenAFilledHistorySession, WhenArchivedAndCopiedThenItIsEqualAndTheCopyIsItsOwn) {
    const auto session = filled();
    const auto before = archiveOf(*session);
    EXPECT_NE(archiveDescription(before).find(R"("deviceType":2)"), std::string::npos)
        << "an integer, inline";
    const auto read = recordFrom<PLXHistorySession>(before);
    ASSERT_TRUE(read);
    for (const String& name : session->monitoredProperties())
        EXPECT_EQ(read->valueForKey(name), session->valueForKey(name)) << *name;
    session->makeImmutable();
    const auto copy = session->copy();
    EXPECT_EQ(archiveOf(*copy), before);
    copy->setItemUUIDs(Keys{"c"});
    copy->setEndDate({});
    EXPECT_EQ(copy->changedProperties(), (KeySet{"endDate", "itemUUIDs"}));
    EXPECT_EQ(archiveOf(*session), before);
    EXPECT_THROW(session->setEndDate(Date{1}), PLXDatabaseObjectException);
    EXPECT_EQ(session->cloudUUID(), "historysession-session");
    EXPECT_EQ(dynamic_cast<YapDatabaseRelationshipNode*>(copy.get()), nullptr) << "no edges";
}

TEST(GivenAFilledHistorySession, WhenItsArchiveIsDamagedThenItReadsAsARecordOrNil) {
    readDamagedArchives(*filled());
}

}  // namespace
}  // namespace qsml
