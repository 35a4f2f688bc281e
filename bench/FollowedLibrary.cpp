#include "FollowedLibrary.h"

#include "store/YapDatabase.h"
#include "store/YapDatabaseConnection.h"

namespace qsml::bench {

OpenList::OpenList(PLXDatabaseManager& manager, std::string_view view, std::string_view group)
    : manager_(manager),
      mappings_(YapDatabaseViewMappings::initWithGroups({String(group)}, std::string(view))) {
    manager.uiDatabaseConnection()->read([&](YapDatabaseReadTransaction& transaction) {
        mappings_->updateWithTransaction(transaction);
    });
    observation_ = NotificationCenter::defaultCenter().addObserver(
        std::string(PLXUIDatabaseConnectionDidUpdateNotification), &manager,
        [this](const Notification& notification) {
            if (const auto* list = notification.info<YapDatabaseNotifications>(
                    PLXUIDatabaseConnectionNotificationsKey))
                follow(*list);
        });
}

void OpenList::follow(const YapDatabaseNotifications& notifications) {
    changes_.clear();
    std::vector<YapDatabaseViewSectionChange> sections;
    manager_.uiDatabaseConnection()->read([&](YapDatabaseReadTransaction& transaction) {
        viewOf(transaction, mappings_->view())
            .getSectionChanges(&sections, &changes_, notifications, *mappings_);
    });
}

FollowedLibrary::FollowedLibrary(const std::string& path, YapDatabaseSynchronous synchronous)
    : manager_(openLibrary(path, synchronous)),
      list_(std::make_unique<OpenList>(*manager_, PLXDatabaseExtensionMediaView, tracksGroup)) {
    const auto token = manager_->addChangeObserverForCollection(
        PLXDatabaseCollectionMediaItems, {},
        [this](std::string_view, std::string_view) { ++observed_; });
    require(token.has_value(), "the observer was refused");
    follow();
}

void FollowedLibrary::commit(const std::function<void(YapDatabaseReadWriteTransaction&)>& block) {
    Error error;
    require(background().readWrite(block, &error), "a commit failed: " + error.description);
}

void FollowedLibrary::follow() {
    const std::uint64_t newest = manager_->database()->snapshot();
    MainQueue::runPending();
    while (interface().snapshot() < newest) {
        require(MainQueue::waitForBlock(10), "a commit was not announced");
        MainQueue::runPending();
    }
}

YapDatabaseViewTransaction& viewOf(YapDatabaseReadTransaction& transaction, std::string_view name) {
    auto* const view = transaction.ext<YapDatabaseViewTransaction>(name);
    require(view != nullptr, "a view is absent");
    return *view;
}

}  // namespace qsml::bench
