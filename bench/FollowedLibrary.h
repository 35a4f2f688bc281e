#pragma once
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Bench.h"
#include "store/YapDatabaseNotification.h"
#include "store/views/YapDatabaseViewMappings.h"
#include "store/views/YapDatabaseViewRowChange.h"
#include "store/views/YapDatabaseViewTransaction.h"

namespace qsml::bench {

/// A list that follows the commits as a screen does: with each step of the user interface's
/// connection it learns which of its rows changed. Confined to the thread that runs the main queue.
class OpenList {
public:
    /// The manager outlives the list.
    OpenList(PLXDatabaseManager& manager, std::string_view view, std::string_view group);

    const YapDatabaseViewMappings& mappings() const { return *mappings_; }
    /// Of the last step.
    const std::vector<YapDatabaseViewRowChange>& changes() const { return changes_; }

private:
    void follow(const YapDatabaseNotifications& notifications);

    PLXDatabaseManager& manager_;
    std::shared_ptr<YapDatabaseViewMappings> mappings_;
    std::vector<YapDatabaseViewRowChange> changes_;
    NotificationCenter::Token observation_;
};

/// A library in use: everything registered, one open list of all tracks, one observer of them.
/// Confined to the thread that made it, which is the one that runs the main queue.
class FollowedLibrary {
public:
    FollowedLibrary(const std::string& path, YapDatabaseSynchronous synchronous);

    PLXDatabaseManager& manager() { return *manager_; }
    YapDatabaseConnection& background() { return *manager_->bgDatabaseConnection(); }
    YapDatabaseConnection& interface() { return *manager_->uiDatabaseConnection(); }
    const OpenList& list() const { return *list_; }
    std::size_t observed() const { return observed_; }

    /// Ends the program where the commit fails.
    void commit(const std::function<void(YapDatabaseReadWriteTransaction&)>& block);
    /// Runs the main queue until the user interface is on the newest commit.
    void follow();

private:
    std::unique_ptr<PLXDatabaseManager> manager_;
    std::unique_ptr<OpenList> list_;
    std::size_t observed_ = 0;
};

/// A view of a transaction; ends the program where it is absent.
YapDatabaseViewTransaction& viewOf(YapDatabaseReadTransaction& transaction, std::string_view name);

/// The group of all tracks.
inline constexpr std::string_view tracksGroup = "mediaItem";

}  // namespace qsml::bench
