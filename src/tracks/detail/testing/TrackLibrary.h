#pragma once
#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"
#include "testing/OpenLibrary.h"
#include "testing/OpenStore.h"
#include "testing/UndecodableObject.h"
#include "tracks/PLXMediaItemTitleID.h"

namespace qsml {

/// A title ID that others may hold. One title is one track.
inline std::shared_ptr<const PLXMediaItemTitleID> titleIDOf(const String& title,
                                                            const String& isrc = {}) {
    return PLXMediaItemTitleID::initWithTitle(title, "Band", 200, isrc);
}

/// A title ID that no record can have.
inline std::shared_ptr<const PLXMediaItemTitleID> titleIDWithoutInternalID() {
    return PLXMediaItemTitleID::initWithUUID(nullptr);
}

/// An open library for the sources of tracks. What they leave for later runs on threads of its own,
/// so that nothing of one test is at work during the next.
class TrackLibrary : public OpenLibrary {
protected:
    using Reader = YapDatabaseReadTransaction;
    using Writer = YapDatabaseReadWriteTransaction;

    void SetUp() override {
        auto withExecutor = options();
        withExecutor.executor = executor_;
        manager_.setDatabaseOptions(withExecutor);
        Error error;
        ASSERT_TRUE(manager_.setupDatabaseWithFileURL(URL::fileURLWithPath(path()), &error))
            << error.description;
        drain();
    }
    void TearDown() override { runDeferredWrites(); }

    void read(const std::function<void(Reader&)>& block) {
        EXPECT_TRUE(manager_.bgDatabaseConnection()->read(block));
    }
    void readWrite(const std::function<void(Writer&)>& block) {
        EXPECT_TRUE(manager_.bgDatabaseConnection()->readWrite(block));
    }
    template <class Record>
    void store(const std::shared_ptr<Record>& record, std::string_view collection) {
        readWrite([&](Writer& transaction) {
            EXPECT_TRUE(transaction.setObject(record, record->uuid(), collection));
        });
    }
    template <class Record>
    std::shared_ptr<const Record> stored(const String& key, std::string_view collection) {
        std::shared_ptr<const Record> found;
        read([&](Reader& transaction) { found = transaction.object<Record>(key, collection); });
        return found;
    }
    /// A row that is there and reads as nil.
    void storeUndecodable(const String& key, std::string_view collection) {
        readWrite([&](Writer& transaction) {
            EXPECT_TRUE(
                transaction.setObject(std::make_shared<UndecodableObject>(), key, collection));
        });
    }
    std::uint64_t rows() {
        std::uint64_t count = 0;
        read([&](Reader& transaction) { count = transaction.numberOfKeysInAllCollections(); });
        return count;
    }
    std::uint64_t commits() { return manager_.database()->snapshot(); }

    /// Runs the block and answers the media items that change observers were told of.
    std::vector<std::string> announcedMediaItems(const std::function<void()>& block) {
        drain();
        std::vector<std::string> announced;
        const auto note = [&](std::string_view, std::string_view key) {
            announced.emplace_back(key);
        };
        const auto token =
            manager_.addChangeObserverForCollection(PLXDatabaseCollectionMediaItems, {}, note);
        block();
        drain();
        manager_.removeChangeObserver(token);
        return announced;
    }

    /// Runs what waits, through the notification queue and what that starts.
    void runDeferredWrites() {
        executor_->waitUntilIdle();
        drain();
        executor_->waitUntilIdle();
    }

    const std::shared_ptr<TestExecutor> executor_ = std::make_shared<TestExecutor>();
    const std::shared_ptr<const PLXMediaItemTitleID> titleID_ = titleIDOf("Song");
};

/// One with a source of its records.
template <class Source>
class TrackSource : public TrackLibrary {
protected:
    Source source_{manager_};
};

}  // namespace qsml
