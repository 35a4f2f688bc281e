#include "organisation/PLXMediaItemTagGroupSource.h"

#include <mutex>

#include "database/PLXDatabaseManager.h"
#include "foundation/Log.h"
#include "organisation/PLXMediaItemTagGroup.h"
#include "organisation/detail/defaultMediaItemTagGroups.h"
#include "store/YapDatabaseConnection.h"
#include "store/YapDatabaseTransaction.h"

namespace qsml {

struct PLXMediaItemTagGroupSource::Loaded {
    std::mutex mutex;
    std::shared_ptr<const Groups> groups QSML_GUARDED_BY(mutex) = std::make_shared<Groups>();
};

/// What the observation holds of the source: a way to it that ends with it, also while a notice is
/// on its way on another thread. Recursive, for a log sink of the host that turns the notification
/// queue inside a reload.
struct PLXMediaItemTagGroupSource::Observer {
    std::recursive_mutex running;
    PLXMediaItemTagGroupSource* source QSML_GUARDED_BY(running);
    NotificationCenter::Token observation;

    explicit Observer(PLXMediaItemTagGroupSource* itsSource) : source(itsSource) {}
    void tell(const Notification& notification) {
        const std::lock_guard hold(running);
        if (source) source->databaseDidUpdate(notification);
    }
    void end() {
        observation.cancel();
        const std::lock_guard wait(running);
        source = nullptr;
    }
};

PLXMediaItemTagGroupSource& PLXMediaItemTagGroupSource::sharedInstance() {
    // Never destroyed: threads of the host may use it until the process ends.
    static auto* const source = new PLXMediaItemTagGroupSource(PLXDatabaseManager::sharedManager());
    return *source;
}

// Observes first: a change between the load and the observation would go unnoticed.
PLXMediaItemTagGroupSource::PLXMediaItemTagGroupSource(PLXDatabaseManager& manager)
    : manager_(manager),
      loaded_(std::make_unique<Loaded>()),
      observer_(std::make_shared<Observer>(this)) {
    observer_->observation = NotificationCenter::defaultCenter().addObserver(
        std::string(PLXUIDatabaseConnectionDidUpdateNotification), &manager,
        [weak = std::weak_ptr(observer_)](const Notification& notification) {
            if (const auto observer = weak.lock()) observer->tell(notification);
        });
    setupGroups();
}

PLXMediaItemTagGroupSource::~PLXMediaItemTagGroupSource() { observer_->end(); }

std::shared_ptr<const PLXMediaItemTagGroupSource::Groups> PLXMediaItemTagGroupSource::groups()
    const {
    const std::lock_guard lock(loaded_->mutex);
    return loaded_->groups;
}

std::shared_ptr<const PLXMediaItemTagGroup> PLXMediaItemTagGroupSource::groupForTag(
    const String& tag) const {
    if (!tag) return nullptr;
    const auto held = groups();
    for (const auto& [uuid, group] : *held)
        if (group->tags() && group->tags()->contains(tag)) return group;
    return nullptr;
}

namespace {

/// A group without a UUID has no place among them.
PLXMediaItemTagGroupSource::Groups storedGroups(YapDatabaseReadTransaction& transaction) {
    PLXMediaItemTagGroupSource::Groups groups;
    transaction.enumerateKeysAndObjectsInCollection(
        PLXDatabaseCollectionMediaItemTagGroups, [&](std::string_view, const Value& object, bool&) {
            auto group = std::dynamic_pointer_cast<const PLXMediaItemTagGroup>(object.object());
            if (group && group->uuid()) groups.insert_or_assign(group->uuid(), std::move(group));
        });
    return groups;
}

bool store(const std::vector<std::shared_ptr<PLXMediaItemTagGroup>>& groups,
           YapDatabaseReadWriteTransaction& transaction) {
    for (const auto& group : groups)
        if (!transaction.setObject(group, group->uuid(), PLXDatabaseCollectionMediaItemTagGroups))
            return false;
    return true;
}

}  // namespace

bool PLXMediaItemTagGroupSource::setupGroups() {
    if (!manager_.bgDatabaseConnection()) return false;
    Error error;
    if (load(error) && (!groups()->empty() || (seed(error) && load(error)))) return true;
    log("-[PLXMediaItemTagGroupSource setupGroups]", __LINE__,
        "The tag groups could not be loaded: " + error.description);
    return false;
}

// Publishes inside the transaction: the connection runs one at a time, so that of two reloads the
// one that read the newer state is published last.
bool PLXMediaItemTagGroupSource::load(Error& error) {
    const auto publish = [&](YapDatabaseReadTransaction& transaction) {
        std::shared_ptr<const Groups> read = std::make_shared<Groups>(storedGroups(transaction));
        error = transaction.error();
        if (error) return;  // some are missing
        const std::lock_guard lock(loaded_->mutex);
        loaded_->groups.swap(read);  // the old ones go away after the lock
    };
    return manager_.bgDatabaseConnection()->read(publish, &error) && !error;
}

/// Stores the default groups unless another thread or process was quicker.
bool PLXMediaItemTagGroupSource::seed(Error& error) {
    const auto defaults = detail::defaultMediaItemTagGroups();
    if (defaults.empty()) return true;
    bool isDone = false;
    const auto storeDefaults = [&](YapDatabaseReadWriteTransaction& transaction) {
        // Groups that are there and cannot be read are not replaced.
        const bool isEmpty =
            transaction.numberOfKeysInCollection(PLXDatabaseCollectionMediaItemTagGroups) == 0;
        isDone = !transaction.error() && (!isEmpty || store(defaults, transaction));
        if (isDone) return;
        error = transaction.error();
        transaction.rollback();
    };
    return manager_.bgDatabaseConnection()->readWrite(storeDefaults, &error) && isDone;
}

void PLXMediaItemTagGroupSource::databaseDidUpdate(const Notification& notification) {
    const auto* commits =
        notification.info<YapDatabaseNotifications>(PLXUIDatabaseConnectionNotificationsKey);
    if (commits && YapDatabaseConnection::hasChangeForCollection(
                       PLXDatabaseCollectionMediaItemTagGroups, *commits))
        setupGroups();
}

}  // namespace qsml
