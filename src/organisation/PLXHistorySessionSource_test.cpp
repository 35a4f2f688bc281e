#include "organisation/PLXHistorySessionSource.h"

#include <gtest/gtest.h>

#include "foundation/Environment.h"
#include "foundation/Host.h"
#include "organisation/PLXHistorySession.h"
#include "organisation/PLXHistorySessionItem.h"
#include "organisation/detail/testing/FaultyLibrary.h"
#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"

namespace qsml {
namespace {

using Keys = OrderedSet<String>;

/// A clock that the test turns.
class SetClock {
public:
    SetClock() { Clock::setShared(clock_); }
    ~SetClock() { Clock::setShared(nullptr); }
    SetClock(const SetClock&) = delete;
    SetClock& operator=(const SetClock&) = delete;
    void set(double seconds) { clock_->seconds = seconds; }

private:
    struct Set final : Clock {
        double seconds = 0;
        Date now() const override { return {seconds}; }
        double monotonicSeconds() const override { return seconds; }
    };
    std::shared_ptr<Set> clock_ = std::make_shared<Set>();
};

using Sessions = std::map<String, std::shared_ptr<const PLXHistorySession>>;

Sessions sessionsOf(PLXDatabaseManager& manager) {
    Sessions sessions;
    EXPECT_TRUE(manager.bgDatabaseConnection()->read([&](auto& transaction) {
        for (const String& key : transaction.allKeysInCollection("historySessions"))
            sessions[key] = transaction.template object<PLXHistorySession>(key, "historySessions");
    }));
    return sessions;
}

/// Adds an entry as the application does it.
YapDatabaseConnection::ReadWriteBlock addingEntry(const String& sessionUUID) {
    return [sessionUUID](YapDatabaseReadWriteTransaction& transaction) {
        const auto session =
            transaction.object<PLXHistorySession>(sessionUUID, "historySessions")->copy();
        session->setItemUUIDs(Keys{"entry"});
        EXPECT_TRUE(transaction.setObject(session, sessionUUID, "historySessions"));
    };
}

class GivenAHistorySessionSource : public OpenLibrary {
protected:
    ~GivenAHistorySessionSource() override { Host::setLocalizedName(nullptr); }

    template <class Block>
    void write(Block&& block) {
        ASSERT_TRUE(manager_.database()->newConnection()->readWrite(block));
    }
    SetClock clock_;
    PLXHistorySessionSource source_{manager_};
};

TEST_F(GivenAHistorySessionSource, WhenMadeThenNoSessionIsOpen) {
    EXPECT_EQ(source_.currentHistorySessionUUID(), nullptr);
    EXPECT_EQ(source_.currentHistorySession(), nullptr);
    EXPECT_EQ(source_.deviceType(), 0);
}

TEST_F(GivenAHistorySessionSource, WhenASessionIsCreatedThenItIsStoredAndOpen) {
    Host::setLocalizedName("Booth");
    EXPECT_EQ(source_.deviceName(), "Booth");
    clock_.set(100.5);
    ASSERT_TRUE(source_.createHistorySession());

    const auto session = source_.currentHistorySession();
    ASSERT_TRUE(session);
    EXPECT_EQ(session->uuid(), source_.currentHistorySessionUUID());
    EXPECT_EQ(session->uuid().size(), 36U);
    EXPECT_EQ(session->startDate(), Date{100.5});
    EXPECT_EQ(session->endDate(), std::nullopt);
    EXPECT_EQ(session->deviceName(), "Booth");
    EXPECT_EQ(session->deviceType(), 0);
    EXPECT_EQ(session->name(), nullptr);
    EXPECT_EQ(session->itemUUIDs(), std::nullopt);
    EXPECT_EQ(sessionsOf(manager_).size(), 1U);
}

TEST_F(GivenAHistorySessionSource, WhenTheSessionIsEndedThenItGetsItsEndDateAndNoneIsOpen) {
    clock_.set(100);
    ASSERT_TRUE(source_.createHistorySession());
    const String uuid = source_.currentHistorySessionUUID();
    clock_.set(200);
    EXPECT_TRUE(source_.endCurrentSession());
    EXPECT_EQ(source_.currentHistorySessionUUID(), nullptr);
    EXPECT_EQ(source_.currentHistorySession(), nullptr);
    const auto sessions = sessionsOf(manager_);
    ASSERT_EQ(sessions.size(), 1U);
    ASSERT_TRUE(sessions.at(uuid));
    EXPECT_EQ(sessions.at(uuid)->startDate(), Date{100});
    EXPECT_EQ(sessions.at(uuid)->endDate(), Date{200});
}

TEST_F(GivenAHistorySessionSource, WhenASecondSessionIsCreatedThenTheFirstIsEndedInTheSameCommit) {
    clock_.set(100);
    ASSERT_TRUE(source_.createHistorySession());
    const String first = source_.currentHistorySessionUUID();
    const auto snapshot = manager_.database()->snapshot();
    clock_.set(200);
    ASSERT_TRUE(source_.createHistorySession());
    EXPECT_EQ(manager_.database()->snapshot(), snapshot + 1);

    const String second = source_.currentHistorySessionUUID();
    EXPECT_NE(second, first);
    const auto sessions = sessionsOf(manager_);
    ASSERT_EQ(sessions.size(), 2U);
    EXPECT_EQ(sessions.at(first)->endDate(), Date{200});
    EXPECT_EQ(sessions.at(second)->startDate(), Date{200});
    EXPECT_EQ(sessions.at(second)->endDate(), std::nullopt);
}

TEST_F(GivenAHistorySessionSource, WhenNoSessionIsOpenThenEndingChangesNothing) {
    const auto snapshot = manager_.database()->snapshot();
    EXPECT_TRUE(source_.endCurrentSession());
    EXPECT_EQ(source_.currentHistorySessionUUID(), nullptr);
    EXPECT_EQ(manager_.database()->snapshot(), snapshot);
}

TEST_F(GivenAHistorySessionSource, WhenTheOpenSessionIsGoneThenEndingKeepsTheUUID) {
    ASSERT_TRUE(source_.createHistorySession());
    const String uuid = source_.currentHistorySessionUUID();
    write([](auto& transaction) { transaction.removeAllObjectsInCollection("historySessions"); });
    EXPECT_EQ(source_.currentHistorySession(), nullptr);
    EXPECT_TRUE(source_.endCurrentSession());
    EXPECT_EQ(source_.currentHistorySessionUUID(), uuid);
    EXPECT_TRUE(sessionsOf(manager_).empty());

    ASSERT_TRUE(source_.createHistorySession());
    EXPECT_NE(source_.currentHistorySessionUUID(), uuid);
    EXPECT_EQ(sessionsOf(manager_).size(), 1U) << "the gone one does not come back";
}

TEST_F(GivenAHistorySessionSource, WhenARecordOfAnotherClassHasTheKeyThenTheSessionCountsAsGone) {
    write([](YapDatabaseReadWriteTransaction& transaction) {
        transaction.setObject(PLXHistorySessionItem::initWithUUID("u"), "u", "historySessions");
    });
    source_.setCurrentHistorySessionUUID("u");
    EXPECT_EQ(source_.currentHistorySession(), nullptr);
    const auto snapshot = manager_.database()->snapshot();
    EXPECT_TRUE(source_.endCurrentSession());
    EXPECT_EQ(source_.currentHistorySessionUUID(), "u");
    EXPECT_EQ(manager_.database()->snapshot(), snapshot);
}

TEST_F(GivenAHistorySessionSource, WhenTheUUIDIsSetThenThatSessionIsTheOpenOne) {
    ASSERT_TRUE(source_.createHistorySession());
    const String uuid = source_.currentHistorySessionUUID();
    PLXHistorySessionSource other(manager_);
    EXPECT_EQ(other.currentHistorySession(), nullptr) << "kept in memory only";
    other.setCurrentHistorySessionUUID(uuid);
    ASSERT_TRUE(other.currentHistorySession());
    EXPECT_EQ(other.currentHistorySession()->uuid(), uuid);
    clock_.set(300);
    EXPECT_TRUE(other.endCurrentSession());
    EXPECT_EQ(sessionsOf(manager_).at(uuid)->endDate(), Date{300});
}

TEST_F(GivenAHistorySessionSource, WhenAnEntryIsAddedMeanwhileThenEndingKeepsIt) {
    for (const bool byTheNext : {false, true}) {
        ASSERT_TRUE(source_.createHistorySession());
        const String uuid = source_.currentHistorySessionUUID();
        commitUnseen(manager_, addingEntry(uuid));
        ASSERT_EQ(source_.currentHistorySession()->itemUUIDs(), std::nullopt) << "unseen";
        EXPECT_TRUE(byTheNext ? source_.createHistorySession() : source_.endCurrentSession());
        const auto ended = sessionsOf(manager_).at(uuid);
        EXPECT_EQ(ended->itemUUIDs(), (Keys{"entry"}));
        EXPECT_TRUE(ended->endDate());
    }
}

/// A library with an open session, in which a call of the system fails.
class GivenAHistoryLibraryWhoseFileFails : public ::testing::Test {
protected:
    GivenAHistoryLibraryWhoseFileFails() {
        library_.arrange = [this](PLXDatabaseManager& manager) {
            if (isEntryUnseen_) commitUnseen(manager, addingEntry(open_));
        };
    }
    void openSession(PLXDatabaseManager& manager) {
        PLXHistorySessionSource source(manager);
        ASSERT_TRUE(source.createHistorySession());
        open_ = source.currentHistorySessionUUID();
        if (!isEntryUnseen_) manager.bgDatabaseConnection()->readWrite(addingEntry(open_));
    }
    void run(bool (PLXHistorySessionSource::*operation)(), const FaultyLibrary::Step& verify) {
        const auto prepare = [this](auto& manager) { openSession(manager); };
        const auto operate = [&](PLXDatabaseManager& manager) {
            PLXHistorySessionSource source(manager);
            source.setCurrentHistorySessionUUID(open_);
            isDone_ = (source.*operation)();
            current_ = source.currentHistorySessionUUID();
        };
        EXPECT_GT(library_.forEachFailingWrite(prepare, operate, verify), 2U);
        EXPECT_TRUE(isDone_) << "the last run meets no failure";
        for (const bool isUnseen : {false, true}) {
            isEntryUnseen_ = isUnseen;
            EXPECT_GT(library_.forEachFailingRead(prepare, operate, verify), 1U);
        }
    }

    FaultyLibrary library_;
    String open_, current_;
    bool isDone_ = false;
    bool isEntryUnseen_ = false;
};

TEST_F(GivenAHistoryLibraryWhoseFileFails, WhenASessionIsCreatedThenItIsStoredOrNothingChanged) {
    run(&PLXHistorySessionSource::createHistorySession, [this](PLXDatabaseManager& reopened) {
        const auto sessions = sessionsOf(reopened);
        ASSERT_EQ(sessions.size(), isDone_ ? 2U : 1U);
        EXPECT_EQ(sessions.at(open_)->endDate().has_value(), isDone_);
        EXPECT_EQ(sessions.at(open_)->itemUUIDs(), (Keys{"entry"}));
        EXPECT_EQ(current_ != open_, isDone_);
        EXPECT_TRUE(sessions.contains(current_));
    });
}

TEST_F(GivenAHistoryLibraryWhoseFileFails, WhenTheSessionIsEndedThenThatIsStoredOrNothingChanged) {
    run(&PLXHistorySessionSource::endCurrentSession, [this](PLXDatabaseManager& reopened) {
        const auto sessions = sessionsOf(reopened);
        ASSERT_EQ(sessions.size(), 1U);
        EXPECT_EQ(sessions.at(open_)->endDate().has_value(), isDone_);
        EXPECT_EQ(sessions.at(open_)->itemUUIDs(), (Keys{"entry"}));
        EXPECT_EQ(current_, isDone_ ? String() : open_);
    });
}

TEST(GivenAManagerThatIsNotSetUp, WhenSessionsAreAskedThenThereIsNoneAndNothingIsStored) {
    PLXDatabaseManager manager;
    PLXHistorySessionSource source(manager);
    EXPECT_TRUE(source.endCurrentSession()) << "there is nothing to end";
    EXPECT_FALSE(source.createHistorySession());
    EXPECT_EQ(source.currentHistorySessionUUID(), nullptr);
    source.setCurrentHistorySessionUUID("u");
    EXPECT_EQ(source.currentHistorySession(), nullptr);
    EXPECT_FALSE(source.endCurrentSession());
    EXPECT_FALSE(source.createHistorySession());
    EXPECT_EQ(source.currentHistorySessionUUID(), "u");
}

TEST(GivenTheSharedManager, WhenTheSharedHistorySourceIsAskedThenItIsOneAndUsesItsLibrary) {
    auto& manager = sharedLibrary();
    auto& source = PLXHistorySessionSource::sharedInstance();
    EXPECT_EQ(&source, &PLXHistorySessionSource::sharedInstance());
    ASSERT_TRUE(source.createHistorySession());
    EXPECT_TRUE(sessionsOf(manager).contains(source.currentHistorySessionUUID()));
    EXPECT_TRUE(source.endCurrentSession());
}

}  // namespace
}  // namespace qsml
