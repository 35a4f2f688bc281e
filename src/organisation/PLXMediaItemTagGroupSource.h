#pragma once
#include <map>
#include <memory>

#include "foundation/String.h"

namespace qsml {

class PLXDatabaseManager;
class PLXMediaItemTagGroup;
struct Error;
struct Notification;

/// All tag groups of a library in memory, kept in step with it. A library without any gets the
/// default groups.
///
/// Thread-safe. Reloads run synchronous transactions on the manager's background connection, on the
/// thread that announces commits, or the one that asks; not from inside a transaction.
class QSML_EXPORT PLXMediaItemTagGroupSource {
public:
    /// By UUID.
    using Groups = std::map<String, std::shared_ptr<const PLXMediaItemTagGroup>>;

    /// The source of the shared manager's library, made on first use, which must be after its
    /// setup.
    static PLXMediaItemTagGroupSource& sharedInstance();
    /// Loads the groups. The manager must outlive the source. Made before the manager is set up, it
    /// has no groups until setupGroups() is called or some group changes.
    explicit PLXMediaItemTagGroupSource(PLXDatabaseManager& manager);
    /// Waits for a reload that runs on another thread; none begins afterwards. Not from inside a
    /// transaction, nor from a log sink.
    ~PLXMediaItemTagGroupSource();
    PLXMediaItemTagGroupSource(const PLXMediaItemTagGroupSource&) = delete;
    PLXMediaItemTagGroupSource& operator=(const PLXMediaItemTagGroupSource&) = delete;

    /// The groups as last loaded; never null. What the caller holds does not change.
    std::shared_ptr<const Groups> groups() const;
    /// A group that holds exactly this text; null when there is none. Of several, any.
    std::shared_ptr<const PLXMediaItemTagGroup> groupForTag(const String& tag) const;

    /// Loads the groups anew, and stores the default groups first where there is none at all. False
    /// when there is no library yet, or, with a log line, when it could not be read or the default
    /// groups not be stored; the groups are then those that were last read.
    bool setupGroups();
    /// Handles the manager's did-update notification: loads when a group may have changed.
    void databaseDidUpdate(const Notification& notification);

private:
    struct Loaded;
    struct Observer;
    bool load(Error& error);
    bool seed(Error& error);

    PLXDatabaseManager& manager_;
    const std::unique_ptr<Loaded> loaded_;
    const std::shared_ptr<Observer> observer_;
};

}  // namespace qsml
